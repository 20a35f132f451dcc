#include "Courier.h"

#include <algorithm>
#include <new>

namespace outbox
{
namespace
{

constexpr unsigned MOST_TRIES_OF_POISON = 3;
constexpr unsigned MOST_TRIES_AFTER_A_NO = 5;

// The second try of a report that the server does not accept comes soon: its stream waits for it.
constexpr Milliseconds FIRST_WAIT_OF_POISON{200};
constexpr Milliseconds FIRST_WAIT_AFTER_A_NO{1'000};
constexpr unsigned GROWTH_AFTER_A_NO = 5;

bool IsRefusal(Verdict eVerdict)
{
    return eVerdict == Verdict::Poison || eVerdict == Verdict::SaidNo;
}

/// When the report itself is tried again; its server and its place may have to wait for longer.
Milliseconds WaitOf(Verdict eVerdict, const Retries::Note& note, Random& random)
{
    if (eVerdict == Verdict::WrongPlace) {
        return Backoff(note.nTries, LONGEST_WAIT, random);
    }
    if (!IsRefusal(eVerdict)) {
        return Backoff(note.nTries, LONGEST_BACKOFF, random);
    }
    Milliseconds wait = eVerdict == Verdict::Poison ? FIRST_WAIT_OF_POISON : FIRST_WAIT_AFTER_A_NO;
    for (unsigned nRefusal = 1; nRefusal < note.nRefusals; ++nRefusal) {
        wait *= eVerdict == Verdict::Poison ? 2 : GROWTH_AFTER_A_NO;
    }
    const double dPart = 0.5 + random.Fraction() / 2; // so that many don't come back together
    return Milliseconds(static_cast<Milliseconds::rep>(static_cast<double>(wait.count()) * dPart));
}

} // namespace

Fate Courier::Decide(const Flight& flight, Judgement judgement) const
{
    const Retries::Note* const pNote = m_retries.Find(flight.id);
    const unsigned nRefusals = pNote == nullptr ? 1 : pNote->nRefusals + 1;
    switch (judgement.eVerdict) {
    case Verdict::Acknowledged:
        return Fate::Acknowledged;
    case Verdict::Hopeless:
        return Fate::Buried;
    case Verdict::Poison:
        return nRefusals >= MOST_TRIES_OF_POISON ? Fate::Buried : Fate::Waits;
    case Verdict::SaidNo:
        return nRefusals >= MOST_TRIES_AFTER_A_NO ? Fate::Buried : Fate::Waits;
    case Verdict::TryLater:
    case Verdict::WrongPlace:
    case Verdict::NotEnded:
        break;
    }
    return judgement.bUnclear && !m_settings.bRepeatSeen ? Fate::Parked : Fate::Waits;
}

void Courier::End(Flight& flight, Judgement judgement, Fate eFate, bool bAnswered, Milliseconds retryAfter,
                  TimePoint tpNow) noexcept
{
    Lane& lane = *flight.pLane;
    TellGates(flight, judgement.eVerdict, bAnswered, retryAfter, tpNow);
    --lane.nInFlight;
    m_nFlightBytes -= flight.nBytes;
    if (eFate == Fate::Waits) {
        Return(flight, judgement.eVerdict, tpNow);
    } else {
        m_retries.Forget(flight.id);
    }
    if (m_vecEnded.size() < m_vecEnded.capacity()) {
        m_vecEnded.push_back(flight.id);
    } else {
        m_bEndedMore = true;
    }
    m_mapFlight.erase(flight.id);
}

/// Lets server and place learn from an attempt. What was read for a place that is closed now is dropped.
void Courier::TellGates(Flight& flight, Verdict eVerdict, bool bAnswered, Milliseconds retryAfter,
                        TimePoint tpNow)
{
    Place* const pPlace = flight.pPlace;
    Server* const pServer = pPlace->pServer;
    switch (eVerdict) {
    case Verdict::Acknowledged:
    case Verdict::SaidNo:
    case Verdict::Poison:
        pServer->gate.Succeed(flight.nServerBegin);
        pPlace->gate.Succeed(flight.nPlaceBegin);
        return;
    case Verdict::Hopeless:
        pServer->gate.Leave();
        pPlace->gate.Leave();
        return;
    case Verdict::WrongPlace:
        if (bAnswered) {
            pServer->gate.Succeed(flight.nServerBegin);
        } else {
            pServer->gate.Leave();
        }
        pPlace->gate.Fail(flight.nPlaceBegin, tpNow, Milliseconds(0), m_random);
        Drop([pPlace](const Held& held) { return held.pPlace == pPlace; });
        return;
    case Verdict::TryLater:
    case Verdict::NotEnded:
        break;
    }
    pPlace->gate.Leave();
    pServer->gate.Fail(flight.nServerBegin, tpNow, retryAfter, m_random);
    Drop([pServer](const Held& held) { return held.pPlace->pServer == pServer; });
}

/// Notes the failure of a report, so that it waits for a time of its own while others pass. If there is no
/// room for that, it is read again in its turn.
void Courier::Return(Flight& flight, Verdict eVerdict, TimePoint tpNow) noexcept
{
    Lane& lane = *flight.pLane;
    if (lane.bOrdered) { // what comes after it waits for it
        lane.pPlace = flight.pPlace;
        Drop([&lane](const Held& held) { return held.pLane == &lane; });
    }
    try {
        if (Retries::Note* const pNote = m_retries.Add(flight.id, lane)) {
            ++pNote->nTries;
            pNote->nRefusals += IsRefusal(eVerdict) ? 1 : 0;
            m_retries.Wait(flight.id, tpNow + WaitOf(eVerdict, *pNote, m_random));
            return;
        }
    } catch (const std::bad_alloc&) { // as if there were no room
        m_retries.Forget(flight.id);
    }
    m_backlog.Return(lane, flight.id);
}

void Courier::Drop(const std::function<bool(const Held&)>& fnWhich)
{
    m_backlog.Drop(fnWhich, [this](ReportId id) { m_retries.WaitAgain(id); });
}

} // namespace outbox
