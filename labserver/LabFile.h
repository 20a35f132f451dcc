#pragma once

#include <string>

/// The bytes of a file.
/// @throws std::runtime_error when it can't be read
std::string ContentOf(const std::string& strFile);
