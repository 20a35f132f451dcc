#pragma once

#include "FakeShelf.h"

#include "outbox/Desk.h"

#include <functional>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace outbox
{

/// Random numbers that are the same in each run of a test.
class SeededRandom final : public Random
{
public:
    explicit SeededRandom(unsigned nSeed = 1) : m_engine(nSeed) {}
    double Fraction() override { return static_cast<double>(m_engine()) / 4294967296.0; }

private:
    std::mt19937 m_engine;
};

/// What a server answers.
struct ServerReply {
    int nError = 0;
    std::string strBody = R"({"success":true,"by":"server"})";
    std::optional<std::chrono::seconds> retryAfter;
    bool bSeen = true;
};

/// No connection to the server.
inline ServerReply Down()
{
    return {-7, "", {}, false};
}

/// An answer with a status that is no success.
inline ServerReply Status(int nStatus)
{
    return {nStatus, "", {}, true};
}

/// A report as it was given to the transport.
struct Sent {
    TimePoint tpAt;
    Report report;
    void* pToken;
};

/// A call of the receiver, as the sender of a report sees it.
struct CalledBack {
    TimePoint tpAt;
    std::string strBody;
    int nType;
    void* pUserData;
    int nError;
};

/// An outbox, its host, its transport and a server, in virtual time and on one thread.
class VirtualHost
{
public:
    using Server = std::function<ServerReply(const Report&)>;

    explicit VirtualHost(const OutboxSettings& settings = {});

    /// Sends a report.
    /// @return its user data; null if the outbox did not take it
    void* Send(const std::string& strBody, const std::string& strStream = {},
               const std::string& strUrl = "http://lab:8080/report", int nType = 3102);

    /// Lets time pass. Requests are answered after `latency`.
    void Run(Milliseconds duration);
    /// Lets time pass until every report that waits has ended.
    /// @return false if that takes longer than `longest`
    bool RunUntilDrained(Milliseconds longest);

    /// Answers one request now.
    /// @return whether the outbox took the reply
    bool Reply(void* pToken, const ServerReply& reply);

    TimePoint Now() const { return m_tpNow; }
    Desk& TheDesk() { return *m_pDesk; }
    std::vector<std::string> SentBodies() const;
    /// How often the sender with this user data was called back.
    std::size_t CallsOf(const void* pUserData) const;
    /// Stops, as a host does: first the outbox, then the transport cancels what is in flight.
    void Stop();

    FakeShelf::Contents disk;
    Server server = [](const Report&) { return ServerReply(); };
    Milliseconds latency{20};
    bool bAccepts = true;                     ///< whether the transport accepts reports
    std::function<bool(void* pToken)> fnPost; ///< if set, accepts reports instead, or not
    bool bKeepsSent = true;                   ///< whether `vecSent` and `vecCalled` are filled
    std::vector<Sent> vecSent;                ///< everything that was given to the transport
    std::vector<CalledBack> vecCalled;
    std::vector<SKtsReportEnding> vecTold; ///< what the observer heard
    std::function<void(const SKtsReportEnding&)> fnObserver;
    std::size_t nMostLoaded = 0; ///< the most reports that were in memory at a time
    std::size_t nMostLoadedBytes = 0;
    std::map<std::string, unsigned> mapArrived; ///< how often the server got each key

private:
    class ThePost;
    class TheClock;

    bool Step(TimePoint tpEnd);
    void NoteCall(const std::string& strBody, int nType, void* pUserData, int nError);

    TimePoint m_tpNow{std::chrono::hours(1)};
    TimePoint m_tpTurn{}; ///< next turn of the clerk
    std::multimap<TimePoint, Sent> m_mapOnTheWay;
    ServerReply m_current; ///< the reply that is being delivered
    std::uintptr_t m_nLastUserData = 0;
    std::unique_ptr<Desk> m_pDesk;
};

} // namespace outbox
