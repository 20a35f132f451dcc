#include "FieldSlots.h"

#include <charconv>
#include <cmath>
#include <type_traits>

namespace
{

template <class Value>
std::string Expected()
{
    if constexpr (std::is_same_v<Value, std::string>) {
        return "a text";
    } else if constexpr (std::is_floating_point_v<Value>) {
        return "a number";
    } else {
        return "an integer from " + std::to_string(std::numeric_limits<Value>::min()) + " to " +
               std::to_string(std::numeric_limits<Value>::max());
    }
}

/// Reads the whole text in the notation of JSON, whatever the locale.
template <class Value>
bool ParseNumber(const std::string& strText, Value& value)
{
    Value parsed{};
    const char* const pEnd = strText.data() + strText.size();
    const auto result = std::from_chars(strText.data(), pEnd, parsed);
    if (result.ec != std::errc() || result.ptr != pEnd) {
        return false;
    }
    if constexpr (std::is_floating_point_v<Value>) {
        if (!std::isfinite(parsed)) { // "inf" and "nan" are no numbers of JSON
            return false;
        }
    }
    value = parsed;
    return true;
}

template <class Record, class Value>
FieldSlot SlotOf(Record& record, const Field<Record, Value>& field)
{
    Value& value = record.*field.pMember;
    if constexpr (std::is_same_v<Value, std::string>) {
        return {field.szName, Expected<Value>(), true, [&value](const std::string& strText) {
                    value = strText;
                    return true;
                }};
    } else {
        return {field.szName, Expected<Value>(), false,
                [&value](const std::string& strText) { return ParseNumber(strText, value); }};
    }
}

template <class Record>
FieldSlot SlotOf(Record& record, const WordField<Record>& field)
{
    const std::string strTrue = field.szTrue;
    const std::string strFalse = field.szFalse;
    bool& bValue = record.*field.pMember;
    return {field.szName, "\"" + strTrue + "\" or \"" + strFalse + "\"", true,
            [strTrue, strFalse, &bValue](const std::string& strText) {
                if (strText != strTrue && strText != strFalse) {
                    return false;
                }
                bValue = strText == strTrue;
                return true;
            }};
}

} // namespace

template <class Record>
std::vector<FieldSlot> FieldSlotsOf(Record& record)
{
    return std::apply([&](const auto&... field) { return std::vector<FieldSlot>{SlotOf(record, field)...}; },
                      FieldsOf<Record>);
}

template std::vector<FieldSlot> FieldSlotsOf(tagSRequestGetChannelCheckData&);
template std::vector<FieldSlot> FieldSlotsOf(KTSStartPlugin::tagRepoChlStatusInfo&);
template std::vector<FieldSlot> FieldSlotsOf(KTSStartPlugin::tagRepoIncubatorStatus&);
template std::vector<FieldSlot> FieldSlotsOf(tagBatteryTestData&);
