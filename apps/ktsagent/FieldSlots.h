#pragma once

#include "RecordFields.h"

#include <functional>
#include <string>
#include <vector>

/// One field of a record, to be filled from a text in a report file or an option.
struct FieldSlot {
    std::string strName;
    std::string strExpected; ///< what the field accepts, for help and messages: "a text", "a number"
    bool bText;              ///< whether JSON writes it in quotation marks

    /// Puts the value into the record.
    /// @return false if the text is not valid for the field, which then stays unchanged
    std::function<bool(const std::string&)> fnSet;
};

/// The slots of a record, in the order of its fields. They refer to the record, which must outlive them.
/// Available for `tagSRequestGetChannelCheckData` and the records of the reports.
template <class Record>
std::vector<FieldSlot> FieldSlotsOf(Record& record);
