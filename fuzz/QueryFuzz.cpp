// The input is a JSON text; its value becomes a query string, which is then read back member by member.

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
    } catch (const Json::Exception&) { // nested too deep for a value at all
        return std::nullopt;
    }
}

std::string TextOf(const Json::Value& value)
{
    const bool bInteger = value.type() == Json::intValue || value.type() == Json::uintValue;
    return bInteger || value.isString() ? value.asString() : std::string();
}

/// Takes a text off the begin of what is left of a query.
void Take(std::string_view& strLeft, const std::string& strText, const char* szRule)
{
    Require(strLeft.substr(0, strText.size()) == strText, szRule);
    strLeft.remove_prefix(strText.size());
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
    }
    return 0;
}
