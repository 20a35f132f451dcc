#include "VirtualHost.h"

#include <algorithm>
#include <new>
#include <utility>

namespace outbox
{

class VirtualHost::ThePost final : public Post
{
public:
    explicit ThePost(VirtualHost& host) : m_host(host) {}

    bool Send(const Report& report, void* pToken) override
    {
        if (m_host.fnPost) {
            return m_host.fnPost(pToken);
        }
        if (!m_host.bAccepts) {
            return false;
        }
        if (m_host.bKeepsSent) {
            m_host.vecSent.push_back({m_host.m_tpNow, report, pToken});
        }
        m_host.m_mapOnTheWay.emplace(m_host.m_tpNow + m_host.latency, Sent{m_host.m_tpNow, report, pToken});
        return true;
    }
    void HandBack(int nType, const std::string& strBody, void* pUserData, int nHttpError) override
    {
        m_host.NoteCall(strBody, nType, pUserData, nHttpError);
    }
    std::optional<std::chrono::seconds> RetryAfter() const override { return m_host.m_current.retryAfter; }
    bool MayHaveBeenSeen() const override { return m_host.m_current.bSeen; }

private:
    VirtualHost& m_host;
};

class VirtualHost::TheClock final : public Clock
{
public:
    explicit TheClock(const VirtualHost& host) : m_host(host) {}
    TimePoint Now() const override { return m_host.m_tpNow; }

private:
    const VirtualHost& m_host;
};

VirtualHost::VirtualHost(const OutboxSettings& settings)
{
    Desk::Means means;
    means.pShelf = std::make_unique<FakeShelf>(disk);
    means.pPost = std::make_unique<ThePost>(*this);
    means.pClock = std::make_unique<TheClock>(*this);
    means.pRandom = std::make_unique<SeededRandom>();
    means.fnObserver = [this](const SKtsReportEnding& ending) {
        vecTold.push_back(ending);
        if (fnObserver) {
            fnObserver(ending);
        }
    };
    m_pDesk = std::make_unique<Desk>(settings, std::move(means));
}

void* VirtualHost::Send(const std::string& strBody, const std::string& strStream, const std::string& strUrl,
                        int nType)
{
    Report report;
    report.nType = nType;
    report.strUrl = strUrl;
    report.strHeader = "Content-Type: application/json";
    report.strBody = strBody;
    report.strStream = strStream;
    void* const pUserData = reinterpret_cast<void*>(++m_nLastUserData);
    const bool bTaken = m_pDesk->Send(std::move(report), pUserData);
    m_tpTurn = TimePoint();
    return bTaken ? pUserData : nullptr;
}

bool VirtualHost::Step(TimePoint tpEnd)
{
    if (m_tpTurn <= m_tpNow) {
        m_tpTurn = m_pDesk->Turn();
        const Desk::Figures figures = m_pDesk->Status();
        nMostLoaded = std::max(nMostLoaded, figures.nLoaded);
        nMostLoadedBytes = std::max(nMostLoadedBytes, figures.nLoadedBytes);
        if (m_tpTurn <= m_tpNow) {
            return true;
        }
    }
    const TimePoint tpReply = m_mapOnTheWay.empty() ? TimePoint::max() : m_mapOnTheWay.begin()->first;
    const TimePoint tpNext = std::min(tpReply, m_tpTurn);
    if (tpNext > tpEnd) {
        m_tpNow = tpEnd;
        return false;
    }
    m_tpNow = std::max(m_tpNow, tpNext);
    if (tpReply <= m_tpNow) {
        const Sent sent = m_mapOnTheWay.begin()->second;
        ServerReply reply = server(sent.report);
        if (reply.nError >= 0) {
            ++mapArrived[sent.report.strKey];
        }
        Reply(sent.pToken, reply);
        m_tpTurn = TimePoint();
    }
    return true;
}

void VirtualHost::Run(Milliseconds duration)
{
    const TimePoint tpEnd = m_tpNow + duration;
    while (Step(tpEnd)) {
    }
}

bool VirtualHost::RunUntilDrained(Milliseconds longest)
{
    const TimePoint tpEnd = m_tpNow + longest;
    while (!disk.mapWaiting.empty() && Step(tpEnd)) {
    }
    return disk.mapWaiting.empty();
}

bool VirtualHost::Reply(void* pToken, const ServerReply& reply)
{
    const auto found = std::find_if(m_mapOnTheWay.begin(), m_mapOnTheWay.end(),
                                    [pToken](const auto& entry) { return entry.second.pToken == pToken; });
    if (found != m_mapOnTheWay.end()) {
        m_mapOnTheWay.erase(found);
    }
    m_current = reply;
    return m_pDesk->OnReply(reply.nError < 0 ? "" : reply.strBody, pToken, reply.nError,
                            [this](const std::string& strBody, int nType, void* pUserData, int nError) {
                                NoteCall(strBody, nType, pUserData, nError);
                            });
}

/// The call counts, even if there is no memory for its body.
void VirtualHost::NoteCall(const std::string& strBody, int nType, void* pUserData, int nError)
{
    if (bKeepsSent) {
        vecCalled.push_back({m_tpNow, {}, nType, pUserData, nError});
        try {
            vecCalled.back().strBody = strBody;
        } catch (const std::bad_alloc&) { // a test of that
        }
    }
}

std::vector<std::string> VirtualHost::SentBodies() const
{
    std::vector<std::string> vecBodies;
    for (const Sent& sent : vecSent) {
        vecBodies.push_back(sent.report.strBody);
    }
    return vecBodies;
}

std::size_t VirtualHost::CallsOf(const void* pUserData) const
{
    return static_cast<std::size_t>(
        std::count_if(vecCalled.begin(), vecCalled.end(),
                      [pUserData](const CalledBack& called) { return called.pUserData == pUserData; }));
}

void VirtualHost::Stop()
{
    m_pDesk->Stop();
    m_pDesk->CallBackStored();
    m_pDesk->NoteClerkGone();
    while (!m_mapOnTheWay.empty()) {
        Reply(m_mapOnTheWay.begin()->second.pToken, {-42, "", {}, true});
    }
}

} // namespace outbox
