#pragma once

#include "labserver/LabSeen.h"

#include <string>

/// A line of the log of exchanges, without a line end: when the request came (UTC), the client's address and
/// port, the method, the target, the status (0: no reply), what became of it, bytes of the request's body and
/// of the reply's, milliseconds, and the report's key or "-". Fields are separated by blanks; what is unsafe
/// in one is escaped, and so are blanks in it.
std::string LogLineOf(const LabSeen& seen);
