// Hosts that are killed at random moments while they send reports through the whole library. Each tells of a
// report after its sender has returned; all reports that were told of must arrive, each with one key.
// KTS_OUTBOX_KILLS and KTS_OUTBOX_LAB_KILLS set how many hosts are killed, KTS_OUTBOX_SEED the seed.

#include "CountingServer.h"
#include "LabReader.h"
#include "LongRun.h"
#include "TortureTest.h"
#include "labserver/LabServer.h"

#include <deque>
#include <memory>
#include <random>

using namespace std::chrono_literals;

namespace fs = std::filesystem;

namespace
{

using Random = std::mt19937_64;

constexpr int KILLS_OF_A_ROUND = 20;
/// So many rounds wait for their reports, which come 30 a second, while the next hosts are killed.
constexpr std::size_t MOST_ROUNDS = 12;
constexpr std::uint64_t FAULT_EVERY = 5'000;

/// Hosts that are killed one after the other, and the one that sends what they have left.
class Round
{
public:
    using Command = std::function<std::vector<std::string>(const std::string& strMark)>;

    Round(Command fnCommand, fs::path folder) : m_fnCommand(std::move(fnCommand)), m_folder(std::move(folder))
    {
    }

    /// Starts a host and kills it at a random moment.
    /// @param nMost  the most reports that it tells of before, more or less
    void KillOne(Random& random, std::uint64_t nMost)
    {
        const std::string strMark = "k" + std::to_string(m_vecTold.size());
        RunningProcess host(m_fnCommand(strMark));
        const std::uint64_t nWindow = std::uint64_t{1} << (random() % 5);
        host.Write("endless " + std::to_string(nWindow) + "\n");
        if (random() % 8 == 0) { // perhaps while it starts
            host.ReadFor(std::chrono::milliseconds(random() % 100));
        } else {
            EXPECT_TRUE(host.ReadUntil(1 + random() % nMost)) << "the host has ended by itself";
        }
        host.Kill();
        m_vecTold.push_back(host.Output().size());
        m_nTold += m_vecTold.back();
    }

    /// Starts the host that sends what is left.
    void BeginDrain() { m_pDrain = std::make_unique<RunningProcess>(m_fnCommand("drain")); }

    /// Whether nothing waits: a run is removed when all of it has ended.
    bool IsDrained() const
    {
        std::error_code missing;
        return fs::is_empty(m_folder / "runs", missing);
    }

    /// Ends that host.
    void EndDrain()
    {
        const HostStatus status(*m_pDrain);
        EXPECT_EQ(status.nWaiting, 0U);
        EXPECT_EQ(status.nDead, 0U);
        m_pDrain->Write("end\n");
        EXPECT_EQ(m_pDrain->Await(), 0);
        fs::remove_all(m_folder);
    }

    /// How many of the reports that were told of are not there.
    std::uint64_t Missing(const ReportLedger& ledger) const
    {
        std::uint64_t nMissing = 0;
        for (std::size_t nHost = 0; nHost < m_vecTold.size(); ++nHost) {
            nMissing += ledger.Missing("k" + std::to_string(nHost), m_vecTold[nHost]);
        }
        return nMissing;
    }

    std::uint64_t Told() const { return m_nTold; }

private:
    const Command m_fnCommand;
    const fs::path m_folder;
    std::vector<std::uint64_t> m_vecTold; ///< of how many reports each host told
    std::uint64_t m_nTold = 0;
    std::unique_ptr<RunningProcess> m_pDrain;
};

class OutboxKills : public TortureTest
{
protected:
    std::unique_ptr<Round> MakeRound(const std::string& strName, const std::string& strUrl) const
    {
        return std::make_unique<Round>(
            [=](const std::string& strMark) { return HostCommand(strUrl, strMark, strName); },
            Folder(strName));
    }
};

struct CountedRound {
    std::unique_ptr<CountingServer> pServer = std::make_unique<CountingServer>(FAULT_EVERY);
    std::unique_ptr<Round> pRound;
};

struct Sums {
    std::uint64_t nTold = 0;
    std::uint64_t nMissing = 0;
    std::uint64_t nTwice = 0;
    std::uint64_t nRepeats = 0;

    void Add(const Round& round, const ReportLedger& ledger)
    {
        nTold += round.Told();
        nMissing += round.Missing(ledger);
        nTwice += ledger.Twice() + ledger.Mixed() + ledger.WithoutKey();
        nRepeats += ledger.Repeats();
    }
    void Note(const std::string& strWhat, const Cases& cases) const
    {
        NoteFigure(strWhat, cases.Reached() + " kills, " + std::to_string(nTold) + " reports told of, " +
                                std::to_string(nMissing) + " lost, " + std::to_string(nTwice) +
                                " twice behind keys, " + std::to_string(nRepeats) + " sent again");
    }
};

} // namespace

TEST_F(OutboxKills, LoseNoReportAndCountNoneTwice)
{
    const std::uint64_t nSeed = Seed();
    SCOPED_TRACE("KTS_OUTBOX_SEED=" + std::to_string(nSeed));
    Random random(nSeed);
    const std::uint64_t nMost = NumberFromEnvironment("KTS_OUTBOX_REPORTS_OF_A_HOST", 300);
    Cases cases("KTS_OUTBOX_KILLS", 6);
    std::deque<CountedRound> rounds;
    Sums sums;
    const auto fnFinish = [&] {
        const CountedRound& oldest = rounds.front();
        EXPECT_TRUE(WaitUntil([&] { return oldest.pRound->IsDrained(); })) << "reports still wait";
        oldest.pRound->EndDrain();
        sums.Add(*oldest.pRound, oldest.pServer->Ledger());
        rounds.pop_front();
    };
    for (int nRound = 0; cases.HasNext() && !HasFailure(); ++nRound) {
        CountedRound& round = rounds.emplace_back();
        round.pRound = MakeRound("round-" + std::to_string(nRound), round.pServer->Url());
        for (int nKill = 0; nKill < KILLS_OF_A_ROUND && cases.HasNext() && !HasFailure(); ++nKill) {
            round.pRound->KillOne(random, nMost);
            cases.Next();
        }
        round.pRound->BeginDrain();
        if (rounds.size() > MOST_ROUNDS) {
            fnFinish();
        }
    }
    while (!rounds.empty()) {
        fnFinish();
    }
    sums.Note("kill -9", cases);
    EXPECT_GT(sums.nTold, cases.Done()) << "the hosts did nothing that could be lost";
    EXPECT_EQ(sums.nMissing, 0U);
    EXPECT_EQ(sums.nTwice, 0U);
}

TEST_F(OutboxKills, WhileTheyTalkToTheLabServerLoseNoReportAndStoreNoneTwice)
{
    const std::uint64_t nSeed = Seed();
    SCOPED_TRACE("KTS_OUTBOX_SEED=" + std::to_string(nSeed));
    Random random(nSeed);
    Cases cases("KTS_OUTBOX_LAB_KILLS", 4);
    Sums sums;
    for (int nRound = 0; cases.HasNext() && !HasFailure(); ++nRound) {
        LabServer server;
        const std::string strUrl = "http://127.0.0.1:" + std::to_string(server.Start()) + "/";
        const auto pRound = MakeRound("lab-" + std::to_string(nRound), strUrl);
        for (int nKill = 0; nKill < KILLS_OF_A_ROUND && cases.HasNext() && !HasFailure(); ++nKill) {
            pRound->KillOne(random, 60);
            cases.Next();
        }
        pRound->BeginDrain();
        EXPECT_TRUE(WaitUntil([&] { return pRound->IsDrained(); })) << "reports still wait";
        pRound->EndDrain();
        ReportLedger ledger;
        const std::uint64_t nStored = ReadLab(server.Port(), ledger);
        EXPECT_EQ(nStored, ledger.Reports()) << "a report is stored twice";
        sums.Add(*pRound, ledger);
    }
    sums.Note("kill -9, lab server", cases);
    EXPECT_GT(sums.nTold, cases.Done());
    EXPECT_EQ(sums.nMissing, 0U);
    EXPECT_EQ(sums.nTwice, 0U);
}
