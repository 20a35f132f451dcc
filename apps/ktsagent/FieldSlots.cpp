#include "FieldSlots.h"

#include "NumberText.h"

#include <type_traits>

namespace
{

template <class Record, class Value>
FieldSlot SlotOf(Record& record, const Field<Record, Value>& field)
{
    Value& value = record.*field.pMember;
    if constexpr (std::is_same_v<Value, std::string>) {
        return {field.szName, "a text", true, [&value](const std::string& strText) {
                    value = strText;
                    return true;
                }};
    } else {
        return {field.szName, ExpectedNumber<Value>(), false,
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
                      FIELDS_OF<Record>);
}

template std::vector<FieldSlot> FieldSlotsOf(tagSRequestGetChannelCheckData&);
template std::vector<FieldSlot> FieldSlotsOf(KTSStartPlugin::tagRepoChlStatusInfo&);
template std::vector<FieldSlot> FieldSlotsOf(KTSStartPlugin::tagRepoIncubatorStatus&);
template std::vector<FieldSlot> FieldSlotsOf(tagBatteryTestData&);
