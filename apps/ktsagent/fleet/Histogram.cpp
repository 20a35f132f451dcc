#include "Histogram.h"

#include <algorithm>
#include <cmath>

namespace
{

/// Classes from one power of two to the next.
constexpr std::size_t HALF = 128;

} // namespace

void Histogram::Add(Duration duration)
{
    const Duration kept = std::clamp(duration, Duration(0), LONGEST);
    ++m_arCounts.at(ClassOf(static_cast<std::uint64_t>(kept.count())));
    ++m_nCount;
    m_max = std::max(m_max, kept);
}

Histogram::Duration Histogram::Percentile(double dPart) const
{
    const double dRank = std::ceil(std::clamp(dPart, 0.0, 1.0) * static_cast<double>(m_nCount));
    const auto nRank = std::max<std::uint64_t>(static_cast<std::uint64_t>(dRank), 1);
    std::uint64_t nSeen = 0;
    for (std::size_t nClass = 0; nClass < CLASSES; ++nClass) {
        nSeen += m_arCounts.at(nClass);
        if (nSeen >= nRank) {
            return std::min(Duration(HighestOf(nClass)), m_max);
        }
    }
    return m_max;
}

/// The classes up to 255 are their values. Above that, each power of two is divided into 128 classes: the
/// highest 8 bits of a value choose among them.
std::size_t Histogram::ClassOf(std::uint64_t nValue)
{
    std::size_t nShift = 0;
    while ((nValue >> nShift) >= 2 * HALF) {
        ++nShift;
    }
    return HALF * nShift + static_cast<std::size_t>(nValue >> nShift);
}

std::uint64_t Histogram::HighestOf(std::size_t nClass)
{
    if (nClass < 2 * HALF) {
        return nClass;
    }
    const std::size_t nShift = nClass / HALF - 1;
    const std::uint64_t nHighestBits = nClass - HALF * nShift;
    return ((nHighestBits + 1) << nShift) - 1;
}
