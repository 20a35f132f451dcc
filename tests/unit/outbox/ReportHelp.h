#pragma once

#include "outbox/Report.h"

#include <string>

// What several tests of the outbox's disk side use.

inline outbox::Report MakeReport(const std::string& strBody)
{
    outbox::Report report;
    report.nType = 3112;
    report.strUrl = "http://10.0.0.5:8080/saveData";
    report.strHeader = "Content-Type: application/json";
    report.strBody = strBody;
    return report;
}

/// The name of a run that no test makes.
inline const std::string SOME_RUN = "0123456789abcdef0123456789abcdef";
