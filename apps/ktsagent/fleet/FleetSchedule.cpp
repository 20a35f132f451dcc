#include "FleetSchedule.h"

#include <algorithm>
#include <random>

namespace
{

/// A number from 0 to just below 1. The distributions of the standard library differ between systems.
double Fraction(std::mt19937_64& random)
{
    constexpr double STEP = 1.0 / (std::uint64_t{1} << 53U);
    return static_cast<double>(random() >> 11U) * STEP;
}

} // namespace

FleetSchedule::FleetSchedule(const FleetPlan& plan) : m_plan(plan)
{
    std::mt19937_64 random(static_cast<std::uint64_t>(plan.nSeed));
    m_vecPhases.reserve(static_cast<std::size_t>(plan.AllChannels()));
    for (int nChannel = 0; nChannel < plan.AllChannels(); ++nChannel) {
        m_vecPhases.emplace_back(Fraction(random), nChannel);
    }
    std::sort(m_vecPhases.begin(), m_vecPhases.end());
}

std::optional<DueReport> FleetSchedule::Next()
{
    const auto [dPhase, nChannel] = m_vecPhases.at(m_nNext);
    const double dSeconds = (static_cast<double>(m_nTurn) + dPhase) / m_plan.dRate;
    if (dSeconds >= m_plan.nSeconds) { // and so are all later ones
        return std::nullopt;
    }
    const DueReport report{std::chrono::microseconds(static_cast<std::int64_t>(dSeconds * 1e6)),
                           nChannel / m_plan.nChannels, nChannel % m_plan.nChannels, m_nTurn};
    if (++m_nNext == m_vecPhases.size()) {
        m_nNext = 0;
        ++m_nTurn;
    }
    return report;
}

std::int64_t CountReports(const FleetPlan& plan)
{
    FleetSchedule schedule(plan);
    std::int64_t nReports = 0;
    while (schedule.Next()) {
        ++nReports;
    }
    return nReports;
}
