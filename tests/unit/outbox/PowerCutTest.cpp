// The states in which a disk can be after a power cut: any part of what was not synced is there, torn or
// missing. What was synced must be found, and no state may keep a process from starting.
// KTS_OUTBOX_STATES sets their number, KTS_OUTBOX_SEED the first seed.

#include "LongRun.h"
#include "StoreHelp.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

using namespace outbox;

namespace
{

/// What a host knows about its reports.
struct Oracle {
    std::map<std::string, std::string> mapBodies; ///< of everything that was kept, by key
    std::set<std::string> setAdded;               ///< kept, and not synced yet
    std::set<std::string> setSynced;              ///< kept, synced, and not ended
};

/// A host that works, until the power fails at one of the operations of its disk.
class Host
{
public:
    explicit Host(std::uint64_t nSeed) : m_random(nSeed)
    {
        m_nCutAt = Below(400);
        m_bSyncFails = Below(2) == 0;
        m_pMachine->fnBefore = [this](const std::string& strOperation, const std::string&) {
            if (m_nOperations++ == m_nCutAt) {
                m_pLeft = m_pMachine->AfterPowerCut(m_random);
                m_atCut = m_oracle;
            }
            const bool bFails = m_bSyncFails && strOperation == "sync" && Below(8) == 0;
            return bFails ? std::make_error_code(std::errc::io_error) : std::error_code();
        };
    }

    void WorkUntilPowerCut()
    {
        StoreSettings settings = SmallSegments(1000 + Below(2000));
        settings.fnNow = [this] { return m_tpNow += std::chrono::seconds(1); };
        auto pStore = OpenStore(m_pMachine, settings);
        while (m_pLeft == nullptr) {
            switch (Below(8)) {
            case 0:
                Sync(*pStore);
                break;
            case 1:
            case 2:
                EndOne(*pStore);
                break;
            case 3:
                if (Below(8) == 0) {
                    pStore.reset();
                    pStore = OpenStore(m_pMachine, settings);
                    GoOn(*pStore);
                }
                break;
            default:
                Add(*pStore);
            }
        }
    }

    std::shared_ptr<Machine> Left() const { return m_pLeft; }
    const Oracle& AtCut() const { return m_atCut; }

private:
    std::uint64_t Below(std::uint64_t nBound)
    {
        return std::uniform_int_distribution<std::uint64_t>(0, nBound - 1)(m_random);
    }

    void Add(Store& store)
    {
        Report report = MakeReport(std::string(Below(400), 'b') + std::to_string(m_nBodies++));
        if (store.Add(report)) {
            m_oracle.setAdded.insert(report.strKey);
            m_oracle.mapBodies[report.strKey] = report.strBody;
        }
    }

    /// Another process takes over.
    void GoOn(Store& store)
    {
        store.Adopt();
        if (m_bSyncFails) { // the disk may have forgotten what the process before could not sync
            m_oracle.setAdded.clear();
        }
    }

    void Sync(Store& store)
    {
        const std::set<std::string> setBefore = m_oracle.setAdded;
        if (store.Sync()) {
            m_oracle.setSynced.insert(setBefore.begin(), setBefore.end());
            m_oracle.setAdded.clear();
        }
    }

    void EndOne(Store& store)
    {
        if (const auto optNext = store.Next({})) {
            // Told before, because the power may fail in the middle of it.
            m_oracle.setSynced.erase(optNext->report.strKey);
            m_oracle.setAdded.erase(optNext->report.strKey);
            store.End(optNext->id, Ending::Acknowledged);
        }
    }

    Machine::Random m_random;
    std::shared_ptr<Machine> m_pMachine = std::make_shared<Machine>();
    std::shared_ptr<Machine> m_pLeft;
    Oracle m_oracle;
    Oracle m_atCut;
    std::chrono::steady_clock::time_point m_tpNow;
    std::uint64_t m_nOperations = 0;
    std::uint64_t m_nCutAt = 0;
    bool m_bSyncFails = false;
    int m_nBodies = 0;
};

/// Starts a process on what is left, and checks what it finds.
void Check(const Host& host)
{
    const auto pStore = OpenStore(host.Left());
    pStore->Adopt();
    std::set<std::string> setFound;
    for (const Waiting& waiting : AllWaiting(*pStore)) {
        const std::string& strKey = waiting.report.strKey;
        EXPECT_TRUE(setFound.insert(strKey).second) << "twice: " << strKey;
        const auto it = host.AtCut().mapBodies.find(strKey);
        if (it != host.AtCut().mapBodies.end()) { // or the power failed while it was added
            EXPECT_EQ(waiting.report.strBody, it->second);
        }
    }
    for (const std::string& strKey : host.AtCut().setSynced) {
        EXPECT_EQ(setFound.count(strKey), 1U) << "lost: " << strKey;
    }
    Report report = MakeReport("after");
    EXPECT_TRUE(pStore->Add(report)) << pStore->WhyNot();
    EXPECT_TRUE(pStore->Sync());
}

} // namespace

TEST(PowerCut, LosesNothingThatWasSynced)
{
    const std::uint64_t nFirst = Seed();
    std::uint64_t nSynced = 0;
    Cases cases("KTS_OUTBOX_STATES", 300);
    for (; cases.HasNext() && !HasFailure(); cases.Next()) {
        SCOPED_TRACE("KTS_OUTBOX_SEED=" + std::to_string(nFirst + cases.Done()));
        Host host(nFirst + cases.Done());
        host.WorkUntilPowerCut();
        Check(host);
        nSynced += host.AtCut().setSynced.size();
    }
    NoteFigure("power loss", cases.Reached() + " states, " + std::to_string(nSynced) + " synced reports");
    EXPECT_GT(nSynced, cases.Done()) << "the hosts did nothing that could be lost";
}
