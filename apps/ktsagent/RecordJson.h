#pragma once

#include "ValueWriter.h"

#include <QVariant>

/// Shows what a signal carries: a truth value, a text, a list of texts or one of the records. A record is
/// shown as an object of its fields; an invalid variant as null.
/// @throws std::logic_error for a variant of any other type
void WriteVariant(ValueWriter& writer, const QVariant& varValue);
