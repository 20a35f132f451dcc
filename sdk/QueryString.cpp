#include "QueryString.h"

#include <array>
#include <atomic>
#include <string_view>

namespace VelCSDK
{
namespace
{

std::atomic<bool> g_bEscape = false;

/// For each value of a byte, whether it is not encoded in an escaped value. Some characters that a query may
/// contain are encoded all the same: & # + % =, which have a meaning there; ";", which some servers treat as
/// "&"; and "?", because some servers refuse a second one.
constexpr std::array<bool, 256> PlainBytes()
{
    std::array<bool, 256> plain{};
    for (const char c : std::string_view("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"
                                         "-._~!$'()*,/:@")) {
        plain[static_cast<unsigned char>(c)] = true;
    }
    return plain;
}

constexpr std::array<bool, 256> PLAIN = PlainBytes();

std::string Escaped(const std::string& strText)
{
    constexpr std::string_view HEX_DIGITS = "0123456789ABCDEF";
    std::string strEscaped;
    strEscaped.reserve(strText.size());
    for (const char c : strText) {
        const auto byte = static_cast<unsigned char>(c);
        if (PLAIN[byte]) {
            strEscaped += c;
        } else {
            strEscaped += '%';
            strEscaped += HEX_DIGITS[byte >> 4U];
            strEscaped += HEX_DIGITS[byte & 0x0FU];
        }
    }
    return strEscaped;
}

std::string QueryValue(const Json::Value& value, bool bEscape)
{
    switch (value.type()) {
    case Json::stringValue:
        return bEscape ? Escaped(value.asString()) : value.asString();
    case Json::intValue:
        return std::to_string(value.asLargestInt());
    case Json::uintValue:
        return std::to_string(value.asLargestUInt());
    default:
        return {};
    }
}

} // namespace

void SetQueryEscaping(bool bEscape) noexcept
{
    g_bEscape = bEscape;
}

bool HasQueryEscaping() noexcept
{
    return g_bEscape;
}

std::string BuildQueryString(const Json::Value& object)
{
    std::string strQuery = "?";
    if (!object.isObject()) {
        return strQuery;
    }
    const bool bEscape = g_bEscape; // read once, so that all values of the query are treated alike
    for (auto member = object.begin(); member != object.end(); ++member) {
        if (strQuery.size() > 1) {
            strQuery += '&';
        }
        strQuery += member.name();
        strQuery += '=';
        strQuery += QueryValue(*member, bEscape);
    }
    return strQuery;
}

} // namespace VelCSDK
