#include "DutiesWorld.h"

#include <algorithm>
#include <sstream>
#include <utility>

using chttpclient::Duties;
using chttpclient::ExchangeList;
using At = World::Worker::At;

namespace
{

ExchangeList Exchange(int nNumber)
{
    ExchangeList exchange(1);
    exchange.front().nType = nNumber;
    return exchange;
}

template <class Numbers>
void Add(std::ostream& key, const Numbers& numbers)
{
    key << '[';
    for (const int nNumber : numbers) {
        key << nNumber << ' ';
    }
    key << ']';
}

} // namespace

std::vector<int> NumbersOf(const ExchangeList& exchanges)
{
    std::vector<int> vecNumbers;
    for (const auto& exchange : exchanges) {
        vecNumbers.push_back(exchange.nType);
    }
    return vecNumbers;
}

std::string World::Key() const
{
    std::ostringstream key;
    for (const Worker& worker : workers) {
        key << 'w' << static_cast<int>(worker.at) << worker.bKnowsDrain << worker.bHasSent
            << static_cast<int>(worker.eWake);
        Add(key, NumbersOf(worker.exchanges));
    }
    for (const Sender& sender : senders) {
        key << 's' << sender.nSent << static_cast<int>(sender.eWake);
    }
    key << 'x' << static_cast<int>(stop) << static_cast<int>(eStopWake) << bPollEnds << bIdleTimeOver
        << duties.IsLed();
    Duties copy = duties;
    Add(key, NumbersOf(copy.TakeIncoming()));
    while (copy.HasFinished()) {
        Add(key, NumbersOf(copy.TakeFinished()));
    }
    Add(key, NumbersOf(inFlight));
    Add(key, ended);
    key << nDelivered << bWrongDelivery;
    return key.str();
}

void World::GoOn(Worker& worker, bool bIdleTime)
{
    switch (duties.Next(bIdleTime)) {
    case Duties::Duty::Lead:
        BeginRound(worker);
        break;
    case Duties::Duty::Deliver:
        worker.at = At::Receiver;
        worker.exchanges = duties.TakeFinished();
        worker.bHasSent = false;
        break;
    case Duties::Duty::None:
        worker.at = At::Asleep;
        break;
    case Duties::Duty::Leave:
        worker.at = At::Gone;
        break;
    }
}

void World::BeginRound(Worker& worker)
{
    worker.at = At::Round;
    worker.exchanges = duties.TakeIncoming();
    worker.bKnowsDrain = duties.DrainEnd() != Duties::Clock::time_point::max();
}

void World::BeginTaken(Worker& worker)
{
    inFlight.splice(inFlight.end(), worker.exchanges);
    worker.at = inFlight.empty() ? At::RoundEnd : At::Poll;
}

void World::End(Worker& worker, int nNumber)
{
    inFlight.remove_if([nNumber](const auto& exchange) { return exchange.nType == nNumber; });
    worker.exchanges = Exchange(nNumber);
    worker.at = At::RoundEnd;
}

void World::EndAll(Worker& worker)
{
    worker.exchanges = std::exchange(inFlight, {});
    worker.at = At::RoundEnd;
}

Duties::Wake World::EndRound(Worker& worker)
{
    for (const int nNumber : NumbersOf(worker.exchanges)) {
        ended.push_back(nNumber);
    }
    return duties.EndRound(worker.exchanges, !inFlight.empty());
}

void World::AfterRound(Worker& worker)
{
    if (duties.IsLed()) {
        BeginRound(worker);
    } else {
        GoOn(worker, false);
    }
}

void World::Delivered(Worker& worker)
{
    bWrongDelivery = ended.empty() || ended.front() != worker.exchanges.front().nType;
    ended.pop_front();
    ++nDelivered;
    worker.exchanges.clear();
    duties.EndDelivery();
    GoOn(worker, false);
}

Duties::Wake World::Send(int nNumber)
{
    ExchangeList exchange = Exchange(nNumber);
    auto eWake = Duties::Wake::Nobody;
    if (duties.Accept(exchange, eWake)) {
        return eWake;
    }
    if (AreGone()) {
        workers.front().at = At::BeforeLock;
    }
    ended.push_back(nNumber);
    return duties.Refuse(exchange);
}

// If both workers sleep they are alike, so it does not matter which one wakes up.
void World::Wake(Duties::Wake eWake)
{
    if (eWake == Duties::Wake::Leader) {
        bPollEnds = true;
    } else if (eWake == Duties::Wake::Sleeper) {
        const auto sleeper = std::find_if(workers.begin(), workers.end(),
                                          [](const Worker& worker) { return worker.at == At::Asleep; });
        if (sleeper != workers.end()) {
            sleeper->at = At::BeforeLock;
        }
    }
}

void World::DrainBegins()
{
    eStopWake = duties.Drain(Duties::Clock::time_point());
    stop = Stop::Waking;
}

void World::DrainEnds()
{
    duties.Dismiss();
    for (Worker& worker : workers) {
        worker.at = worker.at == At::Asleep ? At::BeforeLock : worker.at;
    }
    stop = Stop::Stopping;
}

bool World::AreGone() const
{
    return std::all_of(workers.begin(), workers.end(),
                       [](const Worker& worker) { return worker.at == At::Gone; });
}
