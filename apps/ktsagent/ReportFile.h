#pragma once

#include "FieldSlots.h"

#include <string>
#include <vector>

/// Fills a record from a JSON file, which contains one object whose members are named like the record's
/// fields. A field that is missing in the file stays unchanged.
/// @throws std::runtime_error that names the file, and also line and column of a syntax error, or line and
///         name of a member that is unknown, has a wrong type or appears twice
void ReadReportFile(const std::string& strFile, const std::vector<FieldSlot>& vecSlots);
