#include "IdleRace.h"

#include "DelayingRelay.h"
#include "LogFolder.h"
#include "Nginx.h"

#include <ktshttpagent/chttpclient.h>

#include <algorithm>
#include <condition_variable>
#include <cstdlib>
#include <fstream>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <vector>

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace
{

// Together fewer than the connections that the transport keeps, so that only their age closes them.
constexpr std::size_t DENSE_LANES = 40;
constexpr std::size_t SPREAD_LANES = 10;
constexpr std::size_t LANES = DENSE_LANES + SPREAD_LANES;
constexpr auto MARGIN = 40ms; ///< before and after the moments at which a report could be lost
constexpr auto PATIENCE = 60s;

/// The callback of one report, awaited by its sender.
class Outcome
{
public:
    void Set(int nError)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_tpSet = Clock::now();
        m_nError = nError;
        m_bSet = true;
        m_condition.notify_all();
    }

    int Wait(Clock::time_point& tpSet)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        if (!m_condition.wait_for(lock, PATIENCE, [this] { return m_bSet; })) {
            std::abort(); // the transport still has our address
        }
        tpSet = m_tpSet;
        return m_nError;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_condition;
    bool m_bSet = false;
    int m_nError = 0;
    Clock::time_point m_tpSet;
};

/// How long after a reply a lane sends its next report.
Clock::duration Pause(const RaceTrack& track, std::size_t nLane, std::size_t nRound, std::size_t nRounds)
{
    const double dShift = static_cast<double>(nRound) / static_cast<double>(nRounds);
    if (nLane < DENSE_LANES) {
        const Clock::duration window = track.roundTrip + 2 * MARGIN;
        const double dPart = (static_cast<double>(nLane) + dShift) / DENSE_LANES;
        const Clock::duration begin = track.serverIdle - track.roundTrip - MARGIN;
        return begin + std::chrono::duration_cast<Clock::duration>(dPart * window);
    }
    const double dPart = (static_cast<double>(nLane - DENSE_LANES) + dShift) / SPREAD_LANES;
    return std::chrono::duration_cast<Clock::duration>(dPart * track.serverIdle);
}

class Race
{
public:
    Race(const RaceTrack& track, std::size_t nRounds)
        : m_track(track),
          m_nRounds(nRounds),
          m_nginx(m_folder.Path(), Listen(), Server()),
          m_relay(Nginx::ADDRESS, m_nginx.Port(), track.roundTrip / 2, LANES)
    {
    }

    RaceResult Run()
    {
        ::setenv("CHTTPCLIENT_CA_FILE", (m_folder.Path() / "ca.pem").c_str(), 1);
        CHttpClientSetResponseCallBack([](const std::string& /*body*/, int /*nType*/, void* pUserData,
                                          int nError) { static_cast<Outcome*>(pUserData)->Set(nError); });
        if (!CHttpClientInit()) {
            throw std::runtime_error("the transport does not start");
        }
        std::vector<std::thread> vecLanes;
        for (std::size_t nLane = 0; nLane < LANES; ++nLane) {
            vecLanes.emplace_back([this, nLane] { RunLane(nLane); });
        }
        for (std::thread& lane : vecLanes) {
            lane.join();
        }
        CHttpClientUnInit();
        CHttpClientSetResponseCallBack(nullptr);
        m_result.nConnections = m_relay.Accepted();
        CountReceived();
        return m_result;
    }

private:
    std::string Listen()
    {
        if (!m_track.bTls) {
            return "";
        }
        if (!MakeCertificates(m_folder.Path(), "IP:127.0.0.1", "2")) {
            throw std::runtime_error("no certificates");
        }
        return " ssl";
    }

    std::string Server() const
    {
        const std::string strPlain = "keepalive_timeout " + std::to_string(m_track.serverIdle.count()) +
                                     "ms; keepalive_requests 1000000; access_log targets.log target;\n"
                                     "location / { return 200 'taken'; }";
        return m_track.bTls ? "ssl_certificate server.pem; ssl_certificate_key server.key;\n" + strPlain
                            : strPlain;
    }

    void RunLane(std::size_t nLane)
    {
        Send(nLane, 0, Clock::now());
        for (std::size_t nRound = 0; nRound < m_nRounds; ++nRound) {
            Send(nLane, nRound + 1, m_vecLastReply[nLane] + Pause(m_track, nLane, nRound, m_nRounds));
        }
    }

    void Send(std::size_t nLane, std::size_t nReport, Clock::time_point tpWhen)
    {
        std::this_thread::sleep_until(tpWhen);
        Outcome outcome;
        const std::string strUrl = (m_track.bTls ? "https" : "http") + std::string("://127.0.0.1:") +
                                   std::to_string(m_relay.Port(nLane)) + "/lane" + std::to_string(nLane) +
                                   "/report" + std::to_string(nReport);
        CHttpClientSendRequest(3104, strUrl, "{}", &outcome, true, true, "Content-Type: application/json");
        const int nError = outcome.Wait(m_vecLastReply[nLane]);
        const std::lock_guard<std::mutex> lock(m_mutex);
        ++m_result.nSends;
        if (nError != 0) {
            ++m_result.mapFailures[nError];
        }
    }

    /// Counts the targets in nginx's log, each of which is that of one report.
    void CountReceived()
    {
        std::map<std::string, std::size_t> mapSeen;
        std::ifstream log(m_folder.Path() / "targets.log");
        for (std::string strTarget; std::getline(log, strTarget);) {
            ++mapSeen[strTarget];
        }
        m_result.nReceived = mapSeen.size();
        m_result.nReceivedTwice = static_cast<std::size_t>(
            std::count_if(mapSeen.begin(), mapSeen.end(), [](const auto& seen) { return seen.second > 1; }));
    }

    const RaceTrack m_track;
    const std::size_t m_nRounds;
    const LogFolder m_folder;
    const Nginx m_nginx;
    const DelayingRelay m_relay;
    std::vector<Clock::time_point> m_vecLastReply = std::vector<Clock::time_point>(LANES);

    std::mutex m_mutex; ///< guards the result
    RaceResult m_result;
};

} // namespace

std::size_t RaceResult::Failures() const
{
    std::size_t nFailures = 0;
    for (const auto& [nError, nCount] : mapFailures) {
        nFailures += nCount;
    }
    return nFailures;
}

std::string RaceResult::FailuresInWords() const
{
    std::string strWords;
    for (const auto& [nError, nCount] : mapFailures) {
        strWords +=
            (strWords.empty() ? "" : ", ") + std::to_string(nError) + " (" + std::to_string(nCount) + ')';
    }
    return strWords.empty() ? "-" : strWords;
}

RaceResult RunIdleRace(const RaceTrack& track, std::size_t nRounds)
{
    return Race(track, nRounds).Run();
}
