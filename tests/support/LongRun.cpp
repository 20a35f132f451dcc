#include "LongRun.h"

#include <cstdlib>
#include <fstream>
#include <random>

std::uint64_t NumberFromEnvironment(const char* szName, std::uint64_t nDefault)
{
    const char* const szValue = std::getenv(szName);
    return szValue == nullptr ? nDefault : std::strtoull(szValue, nullptr, 10);
}

std::uint64_t Seed()
{
    return NumberFromEnvironment("KTS_OUTBOX_SEED", std::random_device()());
}

void NoteFigure(const std::string& strWhat, const std::string& strFigure)
{
    if (const char* const szFile = std::getenv("KTS_OUTBOX_FIGURES")) {
        std::ofstream(szFile, std::ios::app) << strWhat << '\t' << strFigure << '\n';
    }
}

Cases::Cases(const char* szVariable, std::uint64_t nDefault)
    : m_nWanted(NumberFromEnvironment(szVariable, nDefault)),
      m_tpEnd(std::chrono::steady_clock::now() +
              std::chrono::seconds(NumberFromEnvironment("KTS_OUTBOX_SECONDS", 1'000'000)))
{
}

bool Cases::HasNext() const
{
    return m_nDone == 0 || (m_nDone < m_nWanted && std::chrono::steady_clock::now() < m_tpEnd);
}

std::string Cases::Reached() const
{
    return std::to_string(m_nDone) + " of " + std::to_string(m_nWanted);
}
