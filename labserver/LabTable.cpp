#include "labserver/LabTable.h"

#include "labserver/LabJson.h"

namespace
{

bool Holds(const Json::Value& value, LabType eType)
{
    switch (eType) {
    case LabType::Text:
        return value.isString();
    case LabType::Integer:
        return value.isInt64();
    case LabType::Number:
        return value.isNumeric();
    case LabType::Flag:
        return value.isBool();
    case LabType::Tree:
        return value.isObject() || value.isArray();
    }
    return false;
}

const char* NameOf(LabType eType)
{
    switch (eType) {
    case LabType::Text:
        return "a text";
    case LabType::Integer:
        return "an integer";
    case LabType::Number:
        return "a number";
    case LabType::Flag:
        return "true or false";
    case LabType::Tree:
        return "an object or an array";
    }
    return "";
}

} // namespace

void RequireField(const Json::Value& object, const LabField& field)
{
    const std::string strName = field.szName;
    if (!object.isMember(strName)) {
        throw LabError(400, "The member \"" + strName + "\" is missing.");
    }
    if (!Holds(object[strName], field.eType)) {
        throw LabError(400, "The member \"" + strName + "\" is not " + NameOf(field.eType) + ".");
    }
}

void RequireRow(const Json::Value& object, const LabTable& table)
{
    if (!object.isObject()) {
        throw LabError(400, "The body is not a JSON object.");
    }
    for (const LabField& field : table.vecFields) {
        RequireField(object, field);
    }
}
