// The input is a URL as the transport gets it. Checks that the URL on the wire is valid and means the same.

#include "Require.h"

#include "platform/chttpclient/UrlEncoding.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>

namespace
{

constexpr std::string_view URL_BYTES = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"
                                       "-._~:/?#@!$&'()*+,;=%";
constexpr std::string_view HEX_DIGITS = "0123456789ABCDEFabcdef";

bool IsUrlByte(char c)
{
    return URL_BYTES.find(c) != std::string_view::npos;
}

/// The part of the text that contains the host if the text is a URL; empty if there is no "://".
std::string_view Authority(std::string_view strUrl)
{
    const std::size_t nMark = strUrl.find("://");
    const std::string_view strRest = nMark == std::string_view::npos ? "" : strUrl.substr(nMark + 3);
    return strRest.substr(0, strRest.find_first_of("/?#"));
}

/// Brackets are allowed only around the host.
bool IsUrlByteOrHostBracket(std::string_view strUrl, const char& c)
{
    const std::string_view strAuthority = Authority(strUrl);
    const bool bInAuthority = &c >= strAuthority.data() && &c < strAuthority.data() + strAuthority.size();
    return IsUrlByte(c) || ((c == '[' || c == ']') && bInAuthority);
}

bool EveryPercentBeginsAnEscape(std::string_view strUrl)
{
    for (std::size_t nAt = strUrl.find('%'); nAt != std::string_view::npos; nAt = strUrl.find('%', nAt + 1)) {
        const std::string_view strDigits = strUrl.substr(nAt + 1, 2);
        if (strDigits.size() != 2 || strDigits.find_first_not_of(HEX_DIGITS) != std::string_view::npos) {
            return false;
        }
    }
    return true;
}

std::string EscapeOf(char c)
{
    char szEscape[4];
    std::snprintf(szEscape, sizeof szEscape, "%%%02X", static_cast<unsigned>(static_cast<unsigned char>(c)));
    return szEscape;
}

/// Whether the next byte of the raw text is unchanged in the encoded text. A percent sign in the encoded text
/// may be the raw byte or the beginning of its escape; it is the raw byte if the raw text continues with the
/// same escape.
bool StandsAsItself(std::string_view strRaw, std::string_view strEncoded)
{
    const std::size_t nLength = strRaw.front() == '%' ? 3 : 1;
    return strRaw.substr(0, nLength) == strEncoded.substr(0, nLength);
}

/// Whether the encoded text consists of the bytes of the raw text in order, each unchanged or as its escape.
bool MeansTheSame(std::string_view strRaw, std::string_view strEncoded)
{
    for (; !strRaw.empty(); strRaw.remove_prefix(1)) {
        const std::string strNext =
            StandsAsItself(strRaw, strEncoded) ? std::string(1, strRaw.front()) : EscapeOf(strRaw.front());
        if (strEncoded.substr(0, strNext.size()) != strNext) {
            return false;
        }
        strEncoded.remove_prefix(strNext.size());
    }
    return strEncoded.empty();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize)
{
    using chttpclient::EncodeUrl;
    const std::string strUrl(reinterpret_cast<const char*>(pData), nSize);
    const std::string strEncoded = EncodeUrl(strUrl);
    Require(std::all_of(strEncoded.begin(), strEncoded.end(),
                        [&](const char& c) { return IsUrlByteOrHostBracket(strEncoded, c); }),
            "only bytes that a URL may hold, where it may hold them");
    Require(EveryPercentBeginsAnEscape(strEncoded), "every percent sign begins an escape");
    Require(strEncoded.size() >= strUrl.size(), "no byte is lost");
    Require(EncodeUrl(strEncoded) == strEncoded, "an encoded URL is left alone");
    Require(MeansTheSame(strUrl, strEncoded), "each byte stands there as itself or as its escape");
    return 0;
}
