// Several processes with one folder, which fork and are killed. What a process leaves is sent by another one
// within 35 s, and no report is ever sent by two living processes. Each process sends through a proxy address
// of its own, so that the server knows who sends. KTS_OUTBOX_PROCESSES sets how many processes there are.

#include "CountingServer.h"
#include "LongRun.h"
#include "TortureTest.h"

#include <algorithm>
#include <csignal>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <random>
#include <set>
#include <system_error>

using namespace std::chrono_literals;

namespace
{

using TimePoint = std::chrono::steady_clock::time_point;

/// Watches who sends which report.
class Watcher
{
public:
    ServerStep Answer(const std::string& strSender, const WireRequest& request)
    {
        std::string strName = NameInBody(request.strBody);
        strName.resize(std::min(strName.size(), strName.find(' ')));
        const std::string strMaker = strName.substr(0, strName.find('-'));
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_setArrived.insert(strName);
        // What a process had under way when it was killed may be read late.
        if (m_setDead.count(strSender) == 0) {
            std::string& strLast = m_mapSender.try_emplace(strName, strMaker).first->second;
            m_nTwoSenders += strLast != strSender && m_setDead.count(strLast) == 0 ? 1 : 0;
            strLast = strSender;
            const auto it = m_mapOrphans.find(strMaker);
            if (it != m_mapOrphans.end()) {
                m_longest = std::max(m_longest, std::chrono::steady_clock::now() - it->second);
                m_mapOrphans.erase(it);
            }
        }
        ServerStep step{HttpReply(200, R"({"success":true})")};
        step.delay = 200ms; // so that every process has reports under way
        return step;
    }

    /// A process is about to be killed: from now on another one has to send its reports.
    void NoteDead(const std::string& strMark)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_setDead.insert(strMark);
        m_mapOrphans.emplace(strMark, std::chrono::steady_clock::now());
    }
    std::size_t Orphans() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_mapOrphans.size();
    }
    std::uint64_t TwoSenders() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_nTwoSenders;
    }
    std::chrono::milliseconds Longest() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return std::chrono::duration_cast<std::chrono::milliseconds>(m_longest);
    }
    std::uint64_t Missing(const std::string& strMark, std::uint64_t nTold) const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        std::uint64_t nMissing = 0;
        for (std::uint64_t n = 0; n < nTold; ++n) {
            nMissing += 1 - m_setArrived.count(strMark + "-" + std::to_string(n));
        }
        return nMissing;
    }

private:
    mutable std::mutex m_mutex;                     ///< guards everything below
    std::map<std::string, std::string> m_mapSender; ///< of each report, at first its maker
    std::set<std::string> m_setDead;
    std::map<std::string, TimePoint>
        m_mapOrphans; ///< makers of reports that another one has to send, since when
    std::set<std::string> m_setArrived;
    std::uint64_t m_nTwoSenders = 0;
    TimePoint::duration m_longest{0};
};

/// A process, its child, and what both have told of.
struct Member {
    std::string strMark;
    std::unique_ptr<ScriptedServer> pProxy;
    std::unique_ptr<ScriptedServer> pProxyOfChild;
    std::unique_ptr<RunningProcess> pHost;
    pid_t nChild = 0;

    std::uint64_t Told(char cOf) const
    {
        const std::string& strOutput = pHost->Output();
        return static_cast<std::uint64_t>(std::count(strOutput.begin(), strOutput.end(), cOf));
    }
};

class OutboxFamily : public TortureTest
{
protected:
    std::unique_ptr<ScriptedServer> MakeProxy(const std::string& strSender)
    {
        auto pProxy = std::make_unique<ScriptedServer>(
            [this, strSender](const WireRequest& request) { return m_watcher.Answer(strSender, request); });
        pProxy->KeepNoRequests();
        return pProxy;
    }

    Member& Start(const std::string& strMark)
    {
        Member& member = m_lstMembers.emplace_back();
        member.strMark = strMark;
        member.pProxy = MakeProxy(strMark);
        ::setenv("http_proxy", member.pProxy->Url("").c_str(), 1);
        member.pHost = std::make_unique<RunningProcess>(HostCommand("http://lab.invalid/", strMark));
        return member;
    }

    void StartFamily()
    {
        Member& member = Start("p" + std::to_string(m_lstMembers.size()));
        member.pProxyOfChild = MakeProxy(member.strMark + "c");
        std::string strChild = member.pHost->Ask("child " + member.pProxyOfChild->Url(""));
        strChild.erase(std::remove(strChild.begin(), strChild.end(), 'c'), strChild.end()); // its child tells
        member.nChild = static_cast<pid_t>(std::stol(strChild));
        member.pHost->Write("endless 16\n");
        EXPECT_TRUE(member.pHost->ReadUntil(".") && member.pHost->ReadUntil("c"));
        m_vecLiving.push_back(&member);
    }

    /// Kills the oldest process, its child before or after it.
    void KillOne(bool bChildFirst)
    {
        Member& member = *m_vecLiving.front();
        m_vecLiving.erase(m_vecLiving.begin());
        const auto fnKillChild = [&] {
            m_watcher.NoteDead(member.strMark + "c");
            ::kill(member.nChild, SIGKILL);
        };
        if (bChildFirst) {
            fnKillChild();
        }
        m_watcher.NoteDead(member.strMark);
        member.pHost->Kill();
        if (!bChildFirst) {
            fnKillChild();
        }
        EXPECT_EQ(member.pHost->Await(), SIGKILL); // reads what its child has told
    }

    Watcher m_watcher;
    std::list<Member> m_lstMembers;
    std::vector<Member*> m_vecLiving;
};

} // namespace

TEST_F(OutboxFamily, SendsWhatItsDeadLeaveAndNeverSendsAReportFromTwoProcesses)
{
#if defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the sanitizer ends the child of a fork that starts threads";
#endif
    const std::uint64_t nSeed = Seed();
    SCOPED_TRACE("KTS_OUTBOX_SEED=" + std::to_string(nSeed));
    std::mt19937_64 random(nSeed);
    const std::uint64_t nProcesses = NumberFromEnvironment("KTS_OUTBOX_PROCESSES", 3);
    const std::uint64_t nAtOnce = nProcesses / 3;
    const bool bLong = nProcesses > 3;
    for (std::uint64_t n = 0; n < nProcesses; ++n) {
        StartFamily();
    }
    Cases cases("KTS_OUTBOX_FAMILY_KILLS", 2);
    while (cases.HasNext() && !HasFailure()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(random() % 300));
        for (std::uint64_t n = 0; n < nAtOnce; ++n) {
            KillOne(random() % 2 == 0);
            cases.Next();
        }
        // A process that starts looks at once for what others have left; the others do so every 30 s.
        if (bLong) {
            EXPECT_TRUE(WaitUntil([&] { return m_watcher.Orphans() == 0; }));
        }
        for (std::uint64_t n = 0; n < nAtOnce; ++n) {
            StartFamily();
        }
    }
    if (bLong) {
        EXPECT_LE(m_watcher.Longest(), 35s);
    }
    while (!m_vecLiving.empty()) {
        KillOne(true);
    }
    Start("last");
    std::error_code missing;
    EXPECT_TRUE(WaitUntil([&] { return std::filesystem::is_empty(Folder() / "runs", missing); }, 30min));
    std::uint64_t nTold = 0;
    std::uint64_t nMissing = 0;
    for (const Member& member : m_lstMembers) {
        nTold += member.Told('.') + member.Told('c');
        nMissing += m_watcher.Missing(member.strMark, member.Told('.')) +
                    m_watcher.Missing(member.strMark + "c", member.Told('c'));
    }
    EXPECT_GT(nTold, 0U);
    EXPECT_EQ(nMissing, 0U);
    EXPECT_EQ(m_watcher.TwoSenders(), 0U);
    NoteFigure("processes with one folder",
               std::to_string(nProcesses) + " with a child each, " + cases.Reached() + " kills, " +
                   std::to_string(nTold) + " reports told of, " + std::to_string(nMissing) + " lost, " +
                   std::to_string(m_watcher.TwoSenders()) + " from two senders; taken over after " +
                   std::to_string(m_watcher.Longest().count()) + " ms at most");
}
