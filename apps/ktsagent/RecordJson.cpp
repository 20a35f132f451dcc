#include "RecordJson.h"

#include "RecordFields.h"

#include <ktshttpagent/ResultVariants.h>

#include <QStringList>

#include <stdexcept>
#include <type_traits>
#include <vector>

namespace
{

template <class Value>
void WriteValue(ValueWriter& writer, const Value& value);

template <class Record, class Value>
void WriteField(ValueWriter& writer, const Record& record, const Field<Record, Value>& field)
{
    writer.Key(field.szName);
    WriteValue(writer, record.*field.pMember);
}

template <class List>
void WriteList(ValueWriter& writer, const List& lst)
{
    writer.StartList();
    for (const auto& element : lst) {
        WriteValue(writer, element);
    }
    writer.EndList();
}

template <class Record>
void WriteRecord(ValueWriter& writer, const Record& record)
{
    writer.StartObject();
    std::apply([&](const auto&... field) { (WriteField(writer, record, field), ...); }, FIELDS_OF<Record>);
    writer.EndObject();
}

template <class Value>
inline constexpr bool IS_LIST = std::is_same_v<Value, QStringList>;
template <class Element>
inline constexpr bool IS_LIST<std::vector<Element>> = true;

template <class Value>
void WriteValue(ValueWriter& writer, const Value& value)
{
    if constexpr (std::is_same_v<Value, bool>) {
        writer.Bool(value);
    } else if constexpr (std::is_integral_v<Value>) {
        writer.Integer(value);
    } else if constexpr (std::is_same_v<Value, std::string>) {
        writer.Text(value);
    } else if constexpr (std::is_same_v<Value, QString>) {
        writer.Text(value.toStdString());
    } else if constexpr (IS_LIST<Value>) {
        WriteList(writer, value);
    } else {
        WriteRecord(writer, value);
    }
}

template <class Value>
bool WriteIf(ValueWriter& writer, const QVariant& varValue)
{
    if (varValue.userType() != qMetaTypeId<Value>()) {
        return false;
    }
    WriteValue(writer, varValue.value<Value>());
    return true;
}

template <class... Values>
bool WriteFirstThatFits(ValueWriter& writer, const QVariant& varValue)
{
    return (WriteIf<Values>(writer, varValue) || ...);
}

} // namespace

void WriteVariant(ValueWriter& writer, const QVariant& varValue)
{
    if (!varValue.isValid()) {
        writer.Null();
    } else if (!WriteFirstThatFits<bool, QString, QStringList, USER_INFO, SResponseGetProject,
                                   SResponseGetBatteryStatus, SResponseGetAutoExport, SResponseGetFtpFilePath,
                                   SRequestGetChannelCheckData>(writer, varValue)) {
        throw std::logic_error(std::string("no way to show a ") + varValue.typeName());
    }
}
