#include "HeaderLine.h"

#include <curl/curl.h>

#include <algorithm>
#include <string_view>

namespace chttpclient
{

bool IsHeaderLine(const std::string& strLine)
{
    const auto isControl = [](char c) { return (c >= '\0' && c < ' ' && c != '\t') || c == '\x7F'; };
    const std::size_t nColon = strLine.find(':');
    return nColon != std::string::npos && nColon > 0 &&
           std::none_of(strLine.begin(), strLine.end(), isControl);
}

bool IsContentType(const std::string& strLine)
{
    constexpr std::string_view BEGIN = "content-type:";
    return curl_strnequal(strLine.c_str(), BEGIN.data(), BEGIN.size()) != 0;
}

} // namespace chttpclient
