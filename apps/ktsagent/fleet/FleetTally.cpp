#include "FleetTally.h"

void FleetTally::NoteSent(Duration delay)
{
    const std::lock_guard lock(m_mutex);
    ++m_figures.nSent;
    m_figures.nLate += delay > LATE ? 1 : 0;
}

void FleetTally::NoteEnded(Duration latency, bool bYes)
{
    const std::lock_guard lock(m_mutex);
    ++m_figures.nEnded;
    m_figures.nYes += bYes ? 1 : 0;
    m_figures.latencies.Add(std::chrono::duration_cast<Histogram::Duration>(latency));
}

FleetFigures FleetTally::Figures() const
{
    const std::lock_guard lock(m_mutex);
    return m_figures;
}
