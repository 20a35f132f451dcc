#include "ExemptHosts.h"

#if defined(_WIN32)
#include <winsock2.h>
#include <ws2tcpip.h>
#else
#include <arpa/inet.h>
#endif

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <optional>

namespace
{

constexpr std::size_t IPV4_BYTES = 4;
constexpr std::size_t IPV6_BYTES = 16;

struct Address {
    std::array<unsigned char, IPV6_BYTES> arrBytes{};
    std::size_t nBytes = 0;
};

std::optional<Address> ReadAddress(const std::string& strText)
{
    Address address;
    if (::inet_pton(AF_INET, strText.c_str(), address.arrBytes.data()) == 1) {
        address.nBytes = IPV4_BYTES;
    } else if (::inet_pton(AF_INET6, strText.c_str(), address.arrBytes.data()) == 1) {
        address.nBytes = IPV6_BYTES;
    } else {
        return std::nullopt;
    }
    return address;
}

/// Whether two addresses of a kind begin with the same bits.
bool BeginAlike(const Address& one, const Address& other, std::size_t nBits)
{
    constexpr std::size_t BITS = 8;
    for (std::size_t nByte = 0; nBits > 0; ++nByte) {
        const std::size_t nCompared = std::min(nBits, BITS);
        const auto nMask = static_cast<unsigned char>(0xffU << (BITS - nCompared));
        if (((one.arrBytes.at(nByte) ^ other.arrBytes.at(nByte)) & nMask) != 0) {
            return false;
        }
        nBits -= nCompared;
    }
    return true;
}

/// Whether an entry is an address, or a network that the address is in.
bool NamesAddress(std::string strEntry, const Address& address)
{
    constexpr std::size_t BITS = 8;
    const std::size_t nWhole = address.nBytes * BITS;
    std::size_t nBits = nWhole;
    if (const std::size_t nSlash = strEntry.find('/'); nSlash != std::string::npos) {
        const char* const pEnd = strEntry.data() + strEntry.size();
        if (std::from_chars(strEntry.data() + nSlash + 1, pEnd, nBits).ptr != pEnd || nBits > nWhole) {
            return false;
        }
        strEntry.resize(nSlash);
    }
    if (strEntry.size() >= 2 && strEntry.front() == '[' && strEntry.back() == ']') {
        strEntry = strEntry.substr(1, strEntry.size() - 2);
    }
    const std::optional<Address> optEntry = ReadAddress(strEntry);
    return optEntry && optEntry->nBytes == address.nBytes &&
           BeginAlike(*optEntry, address, nBits == 0 ? nWhole : nBits); // libcurl takes "/0" for none
}

std::string_view WithoutDots(std::string_view strName)
{
    if (!strName.empty() && strName.back() == '.') {
        strName.remove_suffix(1);
    }
    if (!strName.empty() && strName.front() == '.') {
        strName.remove_prefix(1);
    }
    return strName;
}

bool IsSame(std::string_view strOne, std::string_view strOther)
{
    return std::equal(
        strOne.begin(), strOne.end(), strOther.begin(), strOther.end(),
        [](unsigned char c1, unsigned char c2) { return std::tolower(c1) == std::tolower(c2); });
}

/// Whether an entry is a name, or a domain that the name is in.
bool NamesHost(std::string_view strEntry, std::string_view strHost)
{
    const std::string_view strDomain = WithoutDots(strEntry);
    const std::string_view strName = WithoutDots(strHost);
    if (strDomain.empty() || strDomain.size() > strName.size()) {
        return false;
    }
    const std::size_t nBegin = strName.size() - strDomain.size();
    return IsSame(strName.substr(nBegin), strDomain) && (nBegin == 0 || strName[nBegin - 1] == '.');
}

} // namespace

bool IsExempt(std::string_view strList, const std::string& strHost)
{
    constexpr std::string_view SEPARATORS = ", \t";
    if (strList == "*") {
        return true;
    }
    const std::optional<Address> optAddress = ReadAddress(strHost);
    for (std::size_t nBegin = 0; (nBegin = strList.find_first_not_of(SEPARATORS, nBegin)) != strList.npos;) {
        const std::size_t nEnd = std::min(strList.find_first_of(SEPARATORS, nBegin), strList.size());
        const std::string_view strEntry = strList.substr(nBegin, nEnd - nBegin);
        if (optAddress ? NamesAddress(std::string(strEntry), *optAddress) : NamesHost(strEntry, strHost)) {
            return true;
        }
        nBegin = nEnd;
    }
    return false;
}
