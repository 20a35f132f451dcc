#pragma once

#include <chrono>
#include <cstdint>
#include <string>

// For tests that are short in the normal runs, and long if environment variables say so: ./dev
// outbox-torture.

/// The number in an environment variable, or else the default.
std::uint64_t NumberFromEnvironment(const char* szName, std::uint64_t nDefault);

/// The seed of a test with random numbers: `KTS_OUTBOX_SEED`, or else a new one. A test that fails prints it.
std::uint64_t Seed();

/// Adds a line to the file that `KTS_OUTBOX_FIGURES` names, for the table of a long run; does nothing without
/// that variable.
void NoteFigure(const std::string& strWhat, const std::string& strFigure);

/// Counts the cases that a test tries. Their number is in an environment variable; if `KTS_OUTBOX_SECONDS` is
/// set, no case is begun after so many seconds, but always one.
class Cases
{
public:
    Cases(const char* szVariable, std::uint64_t nDefault);

    bool HasNext() const;
    void Next(std::uint64_t nCases = 1) { m_nDone += nCases; }
    std::uint64_t Done() const { return m_nDone; }
    std::uint64_t Wanted() const { return m_nWanted; }
    /// "2000 of 10000".
    std::string Reached() const;

private:
    const std::uint64_t m_nWanted;
    const std::chrono::steady_clock::time_point m_tpEnd;
    std::uint64_t m_nDone = 0;
};
