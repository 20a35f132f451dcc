#pragma once

#include "RecordFields.h"

#include <functional>
#include <string>
#include <vector>

/// One field of a record that is waiting to be filled from a text, of a report file or of an option.
struct FieldSlot {
    std::string strName;
    std::string strExpected; ///< what it takes, for help and messages: "a text", "a number"
    bool bText;              ///< in JSON it is written in quotation marks

    /// Puts the value into the record.
    /// @return false when the text is no value of the field, which then stays as it was
    std::function<bool(const std::string&)> fnSet;
};

/// The slots of a record, in the order of its fields. They refer to the record, which must outlive them.
/// Offered for `tagSRequestGetChannelCheckData` and the records of the reports.
template <class Record>
std::vector<FieldSlot> FieldSlotsOf(Record& record);
