#pragma once

#include <json/json.h>
#include <string>
#include <vector>

/// What a member of a JSON object may be, and how its column keeps it.
enum class LabType {
    Text,
    Integer, ///< 64 bits, signed
    Number,
    Flag, ///< true or false
    Tree, ///< an object or an array, kept as its JSON text
};

struct LabField {
    const char* pszName;
    LabType eType;
};

/// A table of the store, one column a field; at the same time the shape of the JSON objects that are its
/// rows.
struct LabTable {
    const char* pszName;
    std::vector<LabField> vecFields;
    /// Fields, quoted and separated by commas, of which no two rows share the values: a new row replaces the
    /// old one. Null: every row stays.
    const char* pszUnique = nullptr;
};

/// Checks a value that stands for a field.
/// @throws LabError (400), naming the field, when it is missing or of another type
void RequireField(const Json::Value& object, const LabField& field);

/// Checks that a value is an object with all the table's fields. Further members are no fault.
/// @throws LabError (400), naming the first field at fault
void RequireRow(const Json::Value& object, const LabTable& table);
