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
    const char* szName;
    LabType eType;
};

/// A table of the store, with one column per field. It also defines the shape of the JSON objects that are
/// its rows.
struct LabTable {
    const char* szName;
    std::vector<LabField> vecFields;
    /// The key fields, quoted and separated by commas: a new row replaces the old one with the same key.
    /// Null: every row stays.
    const char* szUnique = nullptr;
    bool bFirstStays = false; ///< a new row with the key of an old one is refused instead
    /// Further fields that rows are looked up by, quoted and separated by commas. Null: none.
    const char* szIndex = nullptr;
};

/// Checks the member of an object that holds a field.
/// @throws LabError (400), naming the field, when it is missing or of another type
void RequireField(const Json::Value& object, const LabField& field);

/// Checks that a value is an object with all the table's fields. Further members are allowed.
/// @throws LabError (400), naming the first field at fault
void RequireRow(const Json::Value& object, const LabTable& table);
