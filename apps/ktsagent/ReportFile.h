#pragma once

#include "FieldSlots.h"

#include <string>
#include <vector>

/// Fills a record from a JSON file: one object, whose members are named like the record's fields. A field
/// that the file lacks stays as it was.
/// @throws std::runtime_error naming the file, and with it line and column of a syntax error, or line and
///         name of a member that is unknown, has a wrong type or appears twice
void ReadReportFile(const std::string& strFile, const std::vector<FieldSlot>& vecSlots);
