#include "UrlEncoding.h"

#include <array>

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

/// Whether a byte may stand in no URL, by its value.
constexpr std::array<bool, 256> ForbiddenBytes()
{
    std::array<bool, 256> forbidden{};
    for (std::size_t nByte = 0; nByte < forbidden.size(); ++nByte) {
        forbidden[nByte] = nByte <= 0x20 || nByte >= 0x7F;
    }
    for (const char c : std::string_view("\"<>\\^`{|}")) {
        forbidden[static_cast<unsigned char>(c)] = true;
    }
    return forbidden;
}

constexpr std::array<bool, 256> FORBIDDEN = ForbiddenBytes();

bool NeedsEncoding(std::string_view strUrl, std::size_t nAt)
{
    return strUrl[nAt] == '%' ? !BeginsEscape(strUrl.substr(nAt))
                              : FORBIDDEN[static_cast<unsigned char>(strUrl[nAt])];
}

/// Where the next byte that needs encoding stands, from `nFrom` on; the length of the text for none.
std::size_t FindEncodable(std::string_view strUrl, std::size_t nFrom)
{
    std::size_t nAt = nFrom;
    while (nAt < strUrl.size() && !NeedsEncoding(strUrl, nAt)) {
        ++nAt;
    }
    return nAt;
}

} // namespace

std::string EncodeUrl(std::string_view strUrl)
{
    std::size_t nAt = FindEncodable(strUrl, 0);
    std::string strEncoded(strUrl.substr(0, nAt)); // mostly that is all
    while (nAt < strUrl.size()) {
        const auto byte = static_cast<unsigned char>(strUrl[nAt]);
        strEncoded += '%';
        strEncoded += HEX_DIGITS[byte >> 4U];
        strEncoded += HEX_DIGITS[byte & 0x0FU];
        const std::size_t nPlain = nAt + 1;
        nAt = FindEncodable(strUrl, nPlain);
        strEncoded += strUrl.substr(nPlain, nAt - nPlain);
    }
    return strEncoded;
}

} // namespace chttpclient
