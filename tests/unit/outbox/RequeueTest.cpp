// Dead letters that wait again.

#include "StoreHelp.h"

#include "outbox/Inspection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

using namespace outbox;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace
{

class RequeueTest : public testing::Test
{
protected:
    /// Stores a report that is dead at once.
    /// @return its key
    std::string Bury(const std::string& strBody, Ending eEnding = Ending::Dead)
    {
        Report report = MakeReport(strBody);
        EXPECT_TRUE(m_pStore->Bury(m_pStore->Add(report).value(), eEnding, "no", 400));
        return report.strKey;
    }

    Requeued RequeueAll() { return m_inspection.Requeue(m_inspection.ListDead()); }

    std::shared_ptr<Machine> m_pMachine = std::make_shared<Machine>();
    std::unique_ptr<Store> m_pStore = OpenStore(m_pMachine);
    Inspection m_inspection{std::make_unique<MemoryDisk>(m_pMachine)};
};

/// The keys of all that waits or is dead on a machine, after it was started again.
std::set<std::string> KeysOn(const std::shared_ptr<Machine>& pMachine)
{
    std::set<std::string> setKeys;
    Inspection inspection(std::make_unique<MemoryDisk>(pMachine));
    for (const std::string& strName : inspection.ListDead()) {
        if (const auto optLetter = inspection.ReadDead(strName)) {
            setKeys.insert(optLetter->record.report.strKey);
        }
    }
    for (const Waiting& waiting : FoundBy(pMachine)) {
        setKeys.insert(waiting.report.strKey);
    }
    return setKeys;
}

} // namespace

TEST_F(RequeueTest, MakesADeadReportWaitAgainUnderItsKey)
{
    const std::string strKey = Bury("1");
    const std::string strName = m_inspection.ListDead().at(0);
    EXPECT_THAT(m_inspection.Requeue({strName}).vecDone, ElementsAre(strName));
    EXPECT_THAT(m_inspection.ListDead(), IsEmpty());
    EXPECT_TRUE(m_pStore->Adopt());
    const auto vecWaiting = AllWaiting(*m_pStore);
    ASSERT_EQ(vecWaiting.size(), 1U);
    EXPECT_EQ(vecWaiting[0].report.strKey, strKey);
    EXPECT_EQ(vecWaiting[0].report.strBody, "1");
    const Requeued again = m_inspection.Requeue({strName});
    EXPECT_THAT(again.vecDone, IsEmpty()) << "it is gone";
    EXPECT_THAT(again.vecFailures, SizeIs(1));
}

TEST_F(RequeueTest, KeepsTheOrderInWhichTheReportsWereStored)
{
    std::vector<std::string> vecBodies;
    for (int nReport = 1; nReport <= 11; ++nReport) { // "-10" comes before "-2" in the alphabet
        vecBodies.push_back("body " + std::to_string(nReport));
        Bury(vecBodies.back());
    }
    EXPECT_THAT(RequeueAll().vecDone, SizeIs(11));
    EXPECT_TRUE(m_pStore->Adopt());
    EXPECT_EQ(BodiesOf(AllWaiting(*m_pStore)), vecBodies);
}

TEST_F(RequeueTest, NeedsOneRunForAll)
{
    Bury("1");
    Bury("2", Ending::Parked);
    m_pStore.reset();
    RequeueAll();
    EXPECT_EQ(m_inspection.Verify().nRuns, 1U);
    EXPECT_EQ(m_inspection.Verify().nWaiting, 2U);
}

TEST_F(RequeueTest, LeavesOutWhatIsNoLetter)
{
    Bury("1");
    m_pMachine->Put("dead/letter", "junk");
    const Requeued requeued = RequeueAll();
    EXPECT_THAT(requeued.vecDone, SizeIs(1));
    EXPECT_THAT(requeued.vecFailures, ElementsAre("letter: there is no such dead letter, or it is damaged"));
    EXPECT_THAT(m_inspection.ListDead(), ElementsAre("letter"));
    EXPECT_THAT(m_inspection.Requeue({"../runs", ""}).vecDone, IsEmpty());
}

TEST_F(RequeueTest, LeavesNoRunBehindForNothing)
{
    m_pStore.reset();
    m_pMachine->Put("dead/letter", "junk");
    RequeueAll();
    EXPECT_EQ(m_inspection.Verify().nRuns, 0U);
    EXPECT_THAT(m_inspection.Requeue({}).vecFailures, IsEmpty());
}

TEST_F(RequeueTest, KeepsALetterThatCanNotBeMadeToWait)
{
    Bury("1");
    const std::string strName = m_inspection.ListDead().at(0);
    for (const std::string strFailing : {"create", "append", "sync", "sync folder", "make folder"}) {
        m_pMachine->fnBefore = [&](const std::string& strOperation, const std::string& strPath) {
            return strOperation == strFailing && strPath.find("dead") == std::string::npos
                       ? std::make_error_code(std::errc::no_space_on_device)
                       : std::error_code();
        };
        const Requeued requeued = m_inspection.Requeue({strName});
        EXPECT_THAT(requeued.vecDone, IsEmpty()) << strFailing;
        EXPECT_THAT(requeued.vecFailures, SizeIs(1)) << strFailing;
        m_pMachine->fnBefore = nullptr;
        EXPECT_THAT(m_inspection.ListDead(), ElementsAre(strName)) << strFailing;
        EXPECT_EQ(m_inspection.Verify().nWaiting, 0U) << strFailing;
    }
}

TEST_F(RequeueTest, KeepsAllLettersIfTheFirstOfSeveralSegmentsCanNotBeSynced)
{
    const std::string strLarge(3'000'000, 'x'); // no two of them fit into a segment
    m_pStore = OpenStore(m_pMachine, {});
    Bury(strLarge);
    Bury(strLarge);
    int nSyncs = 0;
    m_pMachine->fnBefore = [&nSyncs](const std::string& strOperation, const std::string&) {
        return strOperation == "sync" && ++nSyncs == 1 ? std::make_error_code(std::errc::io_error)
                                                       : std::error_code();
    };
    const Requeued requeued = RequeueAll();
    EXPECT_EQ(nSyncs, 1) << "after that nothing more is synced";
    EXPECT_THAT(requeued.vecDone, IsEmpty());
    EXPECT_THAT(requeued.vecFailures, SizeIs(2));
    EXPECT_THAT(m_inspection.ListDead(), SizeIs(2));
}

TEST_F(RequeueTest, HasTheReportTwiceIfALetterCanNotBeRemoved)
{
    const std::string strKey = Bury("1");
    m_pMachine->fnBefore = [](const std::string& strOperation, const std::string& strPath) {
        return strOperation == "remove file" && strPath.rfind("dead/", 0) == 0
                   ? std::make_error_code(std::errc::permission_denied)
                   : std::error_code();
    };
    EXPECT_THAT(RequeueAll().vecFailures, SizeIs(1));
    m_pMachine->fnBefore = nullptr;
    EXPECT_THAT(m_inspection.ListDead(), SizeIs(1));
    EXPECT_TRUE(m_pStore->Adopt());
    EXPECT_EQ(AllWaiting(*m_pStore).at(0).report.strKey, strKey);
}

TEST_F(RequeueTest, LosesNothingWheneverThePowerFails)
{
    std::set<std::string> setKeys;
    for (const std::string strBody : {"1", "2", "3"}) {
        setKeys.insert(Bury(strBody));
    }
    m_pStore.reset();
    int nStates = 0;
    for (std::uint64_t nSeed = 1; nSeed <= 20; ++nSeed) {
        const std::shared_ptr<Machine> pMachine = m_pMachine->Copy();
        Inspection inspection(std::make_unique<MemoryDisk>(pMachine));
        const std::vector<std::string> vecNames = inspection.ListDead();
        Machine::Random random(nSeed);
        std::vector<std::shared_ptr<Machine>> vecLeft;
        pMachine->fnBefore = [&](const std::string&, const std::string&) {
            vecLeft.push_back(pMachine->AfterPowerCut(random));
            return std::error_code();
        };
        EXPECT_THAT(inspection.Requeue(vecNames).vecDone, SizeIs(3));
        pMachine->fnBefore = nullptr;
        vecLeft.push_back(pMachine->AfterPowerCut(random));
        for (const std::shared_ptr<Machine>& pLeft : vecLeft) {
            EXPECT_EQ(KeysOn(pLeft), setKeys) << "seed " << nSeed;
            ++nStates;
        }
    }
    EXPECT_GT(nStates, 100);
}
