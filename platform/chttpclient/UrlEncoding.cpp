#include "UrlEncoding.h"

#include "platform/text/UrlParts.h"

#include <array>
#include <optional>

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

/// For each value of a byte, whether it is forbidden in a URL after the authority.
constexpr std::array<bool, 256> ForbiddenBytes()
{
    std::array<bool, 256> forbidden{};
    for (std::size_t nByte = 0; nByte < forbidden.size(); ++nByte) {
        forbidden[nByte] = nByte <= 0x20 || nByte >= 0x7F;
    }
    for (const char c : std::string_view("\"<>[\\]^`{|}")) {
        forbidden[static_cast<unsigned char>(c)] = true;
    }
    return forbidden;
}

constexpr std::array<bool, 256> FORBIDDEN = ForbiddenBytes();

/// The length in bytes of a URL's scheme and authority; the authority may hold an IPv6 address in brackets.
std::size_t LengthToAuthority(std::string_view strUrl)
{
    const std::optional<UrlParts> parts = SplitUrl(strUrl);
    return parts ? static_cast<std::size_t>(parts->strAuthority.data() - strUrl.data()) +
                       parts->strAuthority.size()
                 : 0;
}

/// A text, and which of its bytes need encoding.
class RawUrl
{
public:
    explicit RawUrl(std::string_view strUrl) : m_strUrl(strUrl), m_nToAuthority(LengthToAuthority(strUrl)) {}

    /// The position of the next byte that needs encoding, from `nFrom` on; the length of the text if there is
    /// none.
    std::size_t FindEncodable(std::size_t nFrom) const
    {
        std::size_t nAt = nFrom;
        while (nAt < m_strUrl.size() && !NeedsEncoding(nAt)) {
            ++nAt;
        }
        return nAt;
    }

private:
    bool NeedsEncoding(std::size_t nAt) const
    {
        const char c = m_strUrl[nAt];
        if (c == '%') {
            return !BeginsEscape(m_strUrl.substr(nAt));
        }
        return FORBIDDEN[static_cast<unsigned char>(c)] && (nAt >= m_nToAuthority || (c != '[' && c != ']'));
    }

    const std::string_view m_strUrl;
    const std::size_t m_nToAuthority;
};

} // namespace

std::string EncodeUrl(std::string_view strUrl)
{
    const RawUrl url(strUrl);
    std::size_t nAt = url.FindEncodable(0);
    std::string strEncoded(strUrl.substr(0, nAt)); // usually the whole URL
    while (nAt < strUrl.size()) {
        const auto byte = static_cast<unsigned char>(strUrl[nAt]);
        strEncoded += '%';
        strEncoded += HEX_DIGITS[byte >> 4U];
        strEncoded += HEX_DIGITS[byte & 0x0FU];
        const std::size_t nPlain = nAt + 1;
        nAt = url.FindEncodable(nPlain);
        strEncoded += strUrl.substr(nPlain, nAt - nPlain);
    }
    return strEncoded;
}

} // namespace chttpclient
