#include "UrlEncoding.h"

namespace chttpclient
{
namespace
{

constexpr std::string_view HEX_DIGITS = "0123456789ABCDEF";

bool IsHexDigit(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
}

bool BeginsEscape(std::string_view strText)
{
    return strText.size() >= 3 && strText[0] == '%' && IsHexDigit(strText[1]) && IsHexDigit(strText[2]);
}

bool IsForbidden(char c)
{
    constexpr std::string_view FORBIDDEN = "\"<>\\^`{|}";
    const auto byte = static_cast<unsigned char>(c);
    return byte <= 0x20 || byte >= 0x7F || FORBIDDEN.find(c) != std::string_view::npos;
}

bool NeedsEncoding(std::string_view strUrl, std::size_t nAt)
{
    return strUrl[nAt] == '%' ? !BeginsEscape(strUrl.substr(nAt)) : IsForbidden(strUrl[nAt]);
}

} // namespace

std::string EncodeUrl(std::string_view strUrl)
{
    std::string strEncoded;
    strEncoded.reserve(strUrl.size());
    for (std::size_t nAt = 0; nAt < strUrl.size(); ++nAt) {
        if (!NeedsEncoding(strUrl, nAt)) {
            strEncoded += strUrl[nAt];
            continue;
        }
        const auto byte = static_cast<unsigned char>(strUrl[nAt]);
        strEncoded += '%';
        strEncoded += HEX_DIGITS[byte >> 4U];
        strEncoded += HEX_DIGITS[byte & 0x0FU];
    }
    return strEncoded;
}

} // namespace chttpclient
