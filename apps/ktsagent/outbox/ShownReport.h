#pragma once

#include "ValueWriter.h"

#include "outbox/DeadLetter.h"
#include "outbox/Report.h"

#include <cstdint>
#include <string>

// How a report and a dead letter of an outbox are shown.

/// How long ago a time was, in seconds; never below 0, whatever the clock says.
/// @param nMs  milliseconds since 1970 (UTC)
std::int64_t SecondsSince(std::int64_t nMs);

/// Where it is sent to, without a user name and a password.
std::string ShownUrl(const outbox::Report& report);

/// The report on one line, escaped, without a line end.
std::string LineOf(const outbox::Report& report);

/// Why and when it ended, likewise.
std::string CauseOf(const outbox::DeadLetter& letter);

/// Writes everything but the body as members of an object that has been started.
void WriteHead(ValueWriter& writer, const outbox::Report& report);

/// Writes why and when it ended, likewise.
void WriteCause(ValueWriter& writer, const outbox::DeadLetter& letter);
