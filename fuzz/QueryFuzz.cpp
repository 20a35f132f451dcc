// The input is a JSON text. Its value is converted to a query string, which is then read back member by
// member.

#include "Require.h"

#include "sdk/QueryString.h"

#include <json/reader.h>

#include <cstdint>
#include <optional>

namespace
{

std::optional<Json::Value> Parse(const std::string& strJson)
{
    Json::Value value;
    try {
        return Json::Reader().parse(strJson, value) ? std::make_optional(value) : std::nullopt;
    } catch (const Json::Exception&) { // nested too deep to be read
        return std::nullopt;
    }
}

std::string TextOf(const Json::Value& value)
{
    const bool bInteger = value.type() == Json::intValue || value.type() == Json::uintValue;
    return bInteger || value.isString() ? value.asString() : std::string();
}

/// Removes a text from the beginning of the rest of a query.
void Take(std::string_view& strLeft, const std::string& strText, const char* szRule)
{
    Require(strLeft.substr(0, strText.size()) == strText, szRule);
    strLeft.remove_prefix(strText.size());
}

/// Decodes an escaped value as a server does; fails if it contains a character that should have been escaped.
std::string Decoded(std::string_view strValue)
{
    constexpr std::string_view PLAIN = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"
                                       "-._~!$'()*,/:@";
    constexpr std::string_view DIGITS = "0123456789ABCDEF";
    std::string strText;
    for (std::size_t nAt = 0; nAt < strValue.size(); ++nAt) {
        if (strValue[nAt] != '%') {
            Require(PLAIN.find(strValue[nAt]) != std::string_view::npos, "what means something is escaped");
            strText += strValue[nAt];
            continue;
        }
        const std::string_view strDigits = strValue.substr(nAt + 1, 2);
        Require(strDigits.size() == 2 && strDigits.find_first_not_of(DIGITS) == std::string_view::npos,
                "a percent sign begins an escape");
        strText += static_cast<char>(16 * DIGITS.find(strDigits[0]) + DIGITS.find(strDigits[1]));
        nAt += 2;
    }
    return strText;
}

/// Checks that the values of an escaped query arrive unchanged; the names are those of the object.
void CheckEscapedQuery(std::string_view strLeft, const Json::Value& object)
{
    std::string strMark = "?";
    Take(strLeft, object.empty() ? strMark : "", "a query without members is a question mark");
    for (auto member = object.begin(); member != object.end(); ++member) {
        Take(strLeft, strMark + member.name() + "=", "a name is written verbatim");
        const std::string_view strValue = strLeft.substr(0, strLeft.find('&'));
        Require(Decoded(strValue) == TextOf(*member), "a server that decodes a value has the text");
        strLeft.remove_prefix(strValue.size());
        strMark = "&";
    }
    Require(strLeft.empty(), "nothing follows the last member");
}

void CheckQuery(std::string_view strLeft, const Json::Value& object)
{
    Take(strLeft, "?", "a query begins with a question mark");
    std::optional<std::string> strBefore;
    for (auto member = object.begin(); member != object.end(); ++member) {
        Take(strLeft, strBefore ? "&" : "", "an ampersand stands between two members");
        Require(!strBefore || *strBefore < member.name(), "the names ascend");
        Take(strLeft, member.name() + "=", "a name is written verbatim");
        Take(strLeft, TextOf(*member), "texts and integers are written, all else is nothing");
        strBefore = member.name();
    }
    Require(strLeft.empty(), "nothing follows the last member");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize)
{
    const std::optional<Json::Value> value = Parse(std::string(reinterpret_cast<const char*>(pData), nSize));
    if (value) {
        const Json::Value object = value->isObject() ? *value : Json::Value(Json::objectValue);
        CheckQuery(VelCSDK::BuildQueryString(*value), object);
        VelCSDK::SetQueryEscaping(true);
        CheckEscapedQuery(VelCSDK::BuildQueryString(*value), object);
        VelCSDK::SetQueryEscaping(false);
    }
    return 0;
}
