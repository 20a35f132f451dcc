#pragma once

#include "ValueWriter.h"

#include <QVariant>

/// Writes the value of a signal's argument: a bool, a text, a list of texts or one of the records. A record
/// is written as an object of its fields, an invalid variant as null.
/// @throws std::logic_error for a variant of any other type
void WriteVariant(ValueWriter& writer, const QVariant& varValue);
