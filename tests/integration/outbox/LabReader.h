#pragma once

#include "ReportLedger.h"

/// Asks a lab server in this process for the states of incubators that it has stored.
/// @param ledger  gets each of them, and each of its repeats, with its key
/// @return how many it has stored
std::uint64_t ReadLab(int nPort, ReportLedger& ledger);
