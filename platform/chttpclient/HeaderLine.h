#pragma once

#include <string>

namespace chttpclient
{

/// Whether a line is "Name: value" and holds no byte that could end it early.
bool IsHeaderLine(const std::string& strLine);

/// Whether a header line has the name Content-Type.
bool IsContentType(const std::string& strLine);

} // namespace chttpclient
