#pragma once

#include "outbox/Report.h"

#include <cstdint>
#include <cstdlib>
#include <random>
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

inline std::uint64_t NumberFromEnvironment(const char* szName, std::uint64_t nDefault)
{
    const char* const szValue = std::getenv(szName);
    return szValue == nullptr ? nDefault : std::strtoull(szValue, nullptr, 10);
}

/// The seed of a test with random numbers: `KTS_OUTBOX_SEED`, or else a new one. A test that fails prints it.
inline std::uint64_t Seed()
{
    return NumberFromEnvironment("KTS_OUTBOX_SEED", std::random_device()());
}

/// The name of a run that no test makes.
inline const std::string SOME_RUN = "0123456789abcdef0123456789abcdef";
