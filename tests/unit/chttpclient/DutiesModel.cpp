#include "DutiesModel.h"

#include "DutiesWorld.h"

#include <algorithm>
#include <unordered_set>
#include <utility>
#include <vector>

using At = World::Worker::At;
using Wake = chttpclient::Duties::Wake;
using Lost = Scenario::Lost;

namespace
{

constexpr int ANSWER_TO = 100; ///< what a receiver sends has the number of its own exchange, plus this

bool Leads(const World::Worker& worker)
{
    return worker.at == At::Round || worker.at == At::Poll || worker.at == At::RoundEnd;
}

/// Tries all orders of the steps of one scenario.
class Search
{
public:
    explicit Search(const Scenario& scenario) : m_scenario(scenario)
    {
        Visit(World());
        while (!m_vecToDo.empty() && m_result.strFault.empty()) {
            const World world = std::move(m_vecToDo.back());
            m_vecToDo.pop_back();
            StepAll(world);
        }
    }

    ModelResult Result() const { return m_result; }

private:
    void Fault(const std::string& strWhat, const World& world)
    {
        m_result.strFault = strWhat + ": " + world.Key();
    }

    void Visit(World world)
    {
        if (m_setSeen.insert(world.Key()).second) {
            ++m_result.nStates;
            CheckAlways(world);
            m_vecToDo.push_back(std::move(world));
        }
    }

    template <class Change>
    void Try(World world, Change fnChange)
    {
        m_bAnyStep = true;
        fnChange(world);
        Visit(std::move(world));
    }

    void CheckAlways(const World& world)
    {
        const auto& [one, other] = world.workers;
        if (Leads(one) && Leads(other)) {
            Fault("two threads lead", world);
        }
        if (one.at == At::Receiver && other.at == At::Receiver) {
            Fault("two threads deliver", world);
        }
        if (world.bWrongDelivery) {
            Fault("not delivered once each, in the order of the ends", world);
        }
    }

    /// In a state without a further step everything must be done but what never ends.
    void CheckAtRest(const World& world)
    {
        const bool bBlocked = std::any_of(world.workers.begin(), world.workers.end(),
                                          [](const auto& worker) { return worker.at == At::Receiver; });
        const std::size_t nBegun = world.nDelivered + world.ended.size() + world.inFlight.size();
        const std::size_t nSilent = m_scenario.bStop ? 0 : m_scenario.setSilent.size();
        if (nBegun < static_cast<std::size_t>(m_scenario.nEachSends) * world.senders.size()) {
            Fault("a request is not begun", world);
        } else if (world.inFlight.size() > nSilent) {
            Fault("an exchange does not end", world);
        } else if (!bBlocked && !world.ended.empty()) {
            Fault("an exchange is not delivered", world);
        } else if (m_scenario.bStop && !bBlocked && world.stop != World::Stop::Done) {
            Fault("the stop does not return", world);
        }
    }

    void StepAll(const World& world)
    {
        m_bAnyStep = false;
        for (std::size_t nWorker = 0; nWorker < world.workers.size(); ++nWorker) {
            StepWorker(world, nWorker);
        }
        for (std::size_t nSender = 0; nSender < world.senders.size(); ++nSender) {
            StepSender(world, nSender);
        }
        if (m_scenario.bStop) {
            StepStop(world);
        }
        if (!m_bAnyStep) {
            CheckAtRest(world);
        }
    }

    void StepWorker(const World& world, std::size_t nWorker)
    {
        const auto one = [nWorker](World& next) -> World::Worker& { return next.workers.at(nWorker); };
        switch (world.workers.at(nWorker).at) {
        case At::Asleep:
            if (m_scenario.bIdleTime && !world.bIdleTimeOver && world.stop == World::Stop::NotYet) {
                Try(world, [one](World& next) {
                    next.bIdleTimeOver = true;
                    next.GoOn(one(next), true);
                });
            }
            break;
        case At::BeforeLock:
            Try(world, [one](World& next) { next.GoOn(one(next), false); });
            break;
        case At::Round: {
            World begun = world;
            begun.BeginTaken(one(begun));
            StepNetwork(begun, nWorker);
            Try(begun, [](World&) {});
            break;
        }
        case At::Poll:
            StepNetwork(world, nWorker);
            if (world.bPollEnds) {
                Try(world, [one](World& next) {
                    next.bPollEnds = false;
                    one(next).at = At::RoundEnd;
                });
            }
            break;
        case At::RoundEnd:
            Try(world, [this, one](World& next) {
                const Wake eWake = next.EndRound(one(next));
                next.Wake(m_scenario.lost == Lost::OfSleeperByLeader ? Wake::Nobody : eWake);
                next.AfterRound(one(next));
            });
            break;
        case At::Receiver:
            StepReceiver(world, nWorker);
            break;
        case At::Gone:
            break;
        }
    }

    /// One exchange ends, or the drain time does.
    void StepNetwork(const World& world, std::size_t nLeader)
    {
        for (const int nNumber : NumbersOf(world.inFlight)) {
            if (m_scenario.setSilent.count(nNumber) == 0) {
                Try(world, [=](World& next) { next.End(next.workers.at(nLeader), nNumber); });
            }
        }
        if (world.workers.at(nLeader).bKnowsDrain && !world.inFlight.empty()) {
            Try(world, [=](World& next) { next.EndAll(next.workers.at(nLeader)); });
        }
    }

    void StepReceiver(const World& world, std::size_t nWorker)
    {
        const World::Worker& worker = world.workers.at(nWorker);
        const int nNumber = worker.exchanges.front().nType;
        if (worker.eWake != Wake::Nobody) {
            Try(world, [=](World& next) { WakeAsSender(next, next.workers.at(nWorker).eWake); });
        } else if (m_scenario.setSending.count(nNumber) != 0 && !worker.bHasSent) {
            Try(world, [=](World& next) {
                next.workers.at(nWorker).bHasSent = true;
                next.workers.at(nWorker).eWake = next.Send(ANSWER_TO + nNumber);
            });
        } else if (m_scenario.setBlocking.count(nNumber) == 0) {
            Try(world, [=](World& next) { next.Delivered(next.workers.at(nWorker)); });
        }
    }

    void StepSender(const World& world, std::size_t nSender)
    {
        const World::Sender& sender = world.senders.at(nSender);
        if (sender.eWake != Wake::Nobody) {
            Try(world, [=](World& next) { WakeAsSender(next, next.senders.at(nSender).eWake); });
        } else if (sender.nSent < m_scenario.nEachSends) {
            Try(world, [=](World& next) {
                const int nFirst = static_cast<int>(nSender) * m_scenario.nEachSends;
                next.senders.at(nSender).eWake = next.Send(nFirst + next.senders.at(nSender).nSent++);
            });
        }
    }

    void WakeAsSender(World& world, Wake& eOwed) const
    {
        const Wake eWake = std::exchange(eOwed, Wake::Nobody);
        const bool bLost = (eWake == Wake::Sleeper && m_scenario.lost == Lost::OfSleeperBySender) ||
                           (eWake == Wake::Leader && m_scenario.lost == Lost::OfLeaderBySender);
        world.Wake(bLost ? Wake::Nobody : eWake);
    }

    void StepStop(const World& world)
    {
        switch (world.stop) {
        case World::Stop::NotYet:
            Try(world, [](World& next) { next.DrainBegins(); });
            break;
        case World::Stop::Waking:
            Try(world, [this](World& next) {
                next.Wake(m_scenario.lost == Lost::OfLeaderByStop ? Wake::Nobody : next.eStopWake);
                next.stop = World::Stop::Draining;
            });
            break;
        case World::Stop::Draining:
            if (world.duties.IsDrained()) {
                Try(world, [](World& next) { next.DrainEnds(); });
            }
            break;
        case World::Stop::Stopping:
            if (world.AreGone()) {
                Try(world, [](World& next) { next.stop = World::Stop::Done; });
            }
            break;
        case World::Stop::Done:
            break;
        }
    }

    const Scenario m_scenario;
    ModelResult m_result;
    std::unordered_set<std::string> m_setSeen;
    std::vector<World> m_vecToDo;
    bool m_bAnyStep = false; ///< from the state that is being looked at
};

} // namespace

ModelResult CheckEveryOrder(const Scenario& scenario)
{
    return Search(scenario).Result();
}
