#pragma once

#include "platform/chttpclient/Duties.h"

#include <array>
#include <cstddef>
#include <deque>
#include <string>
#include <vector>

/// The state of a model of the transport's threads around the real `Duties`: two workers, two senders, one
/// thread that stops the transport, a network. Each function is what a thread of `Workers` does between
/// taking the lock and releasing it, or one thing that it does without the lock.
struct World {
    using Duties = chttpclient::Duties;
    using Exchanges = chttpclient::ExchangeList;

    struct Worker {
        enum class At { Asleep, BeforeLock, Round, Poll, RoundEnd, Receiver, Gone };
        At at = At::Asleep;
        Exchanges exchanges = {};                  ///< taken, ended, or being delivered
        bool bKnowsDrain = false;                  ///< of this round
        bool bHasSent = false;                     ///< its receiver sent a request
        Duties::Wake eWake = Duties::Wake::Nobody; ///< to be done by its receiver
    };
    struct Sender {
        int nSent = 0;
        Duties::Wake eWake = Duties::Wake::Nobody; ///< to be done
    };
    enum class Stop { NotYet, Waking, Draining, Stopping, Done };

    World() { duties.Open(); }

    Duties duties;
    std::array<Worker, 2> workers;
    std::array<Sender, 2> senders;
    Stop stop = Stop::NotYet;
    Duties::Wake eStopWake = Duties::Wake::Nobody;
    bool bPollEnds = false; ///< somebody woke the leader
    bool bIdleTimeOver = false;
    Exchanges inFlight = {};
    std::deque<int> ended = {}; ///< not yet delivered, in the order of their ends
    std::size_t nDelivered = 0;
    bool bWrongDelivery = false; ///< of another one than that which ended first

    /// The same text for the same state. The members of `Duties` that are not in it follow from those that
    /// are.
    std::string Key() const;

    /// What a worker without a duty does next.
    void GoOn(Worker& worker, bool bIdleTimeOver);

    /// The leader begins what it has taken; it waits for the network if anything is in flight.
    void BeginTaken(Worker& worker);

    /// Exchanges in flight end in the leader's round.
    void End(Worker& worker, int nNumber);
    void EndAll(Worker& worker);

    /// @return whom the leader must wake; it wakes them under the lock
    Duties::Wake EndRound(Worker& worker);
    /// What the leader does after `EndRound`.
    void AfterRound(Worker& worker);

    void Delivered(Worker& worker);

    /// A request that comes too late is refused, by a new thread if there is none.
    /// @return whom the sender must wake
    Duties::Wake Send(int nNumber);

    void Wake(Duties::Wake eWake);

    void DrainBegins();
    void DrainEnds();

    bool AreGone() const;

private:
    void BeginRound(Worker& worker);
};

/// The numbers of exchanges.
std::vector<int> NumbersOf(const chttpclient::ExchangeList& exchanges);
