// What the store keeps, forgets and takes over, on a disk in memory.

#include "LongRun.h"
#include "StoreHelp.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <set>
#include <string>
#include <thread>
#include <vector>

using namespace outbox;
using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace
{

ReportId MustAdd(Store& store, const std::string& strBody)
{
    Report report = MakeReport(strBody);
    const auto optId = store.Add(report);
    EXPECT_TRUE(optId) << store.WhyNot();
    return optId.value_or(ReportId{});
}

std::string Numbered(int nNumber)
{
    return std::to_string(nNumber) + std::string(200, '.');
}

/// How many files have a name that ends like this.
std::size_t CountFiles(const Machine& machine, const std::string& strEnd)
{
    std::size_t nCount = 0;
    for (const auto& [strFile, strContent] : machine.Files()) {
        const bool bEndsSo = strFile.size() >= strEnd.size() &&
                             strFile.compare(strFile.size() - strEnd.size(), strEnd.size(), strEnd) == 0;
        nCount += bEndsSo ? 1 : 0;
    }
    return nCount;
}

std::error_code NoSpace()
{
    return std::make_error_code(std::errc::no_space_on_device);
}

class StoreTest : public testing::Test
{
protected:
    /// As if this process had been killed.
    std::vector<Waiting> FoundAfterKill() const { return FoundBy(m_pMachine->Copy()); }

    /// Makes an operation fail a number of times.
    void Fail(const std::string& strOperation, std::error_code error, int nTimes = 1'000'000)
    {
        m_pMachine->fnBefore = [=](const std::string& strHere, const std::string&) mutable {
            return strHere == strOperation && nTimes-- > 0 ? error : std::error_code();
        };
    }

    std::shared_ptr<Machine> m_pMachine = std::make_shared<Machine>();
};

} // namespace

TEST_F(StoreTest, KeepsWhatTheProcessHadNoTimeToSync)
{
    const auto pStore = OpenStore(m_pMachine);
    Report report = MakeReport("{}");
    report.strStream = "stream";
    const auto optId = pStore->Add(report);
    ASSERT_TRUE(optId);
    const std::vector<Waiting> vecFound = FoundAfterKill();
    ASSERT_EQ(vecFound.size(), 1U);
    EXPECT_EQ(vecFound[0].report.strBody, "{}");
    EXPECT_EQ(vecFound[0].report.strStream, "stream");
    EXPECT_EQ(vecFound[0].report.strKey, report.strKey);
    EXPECT_EQ(vecFound[0].report.nStoredMs, report.nStoredMs);
    EXPECT_TRUE(vecFound[0].id < *optId) << "what was found is older than what is our own";
}

TEST_F(StoreTest, GivesEachReportAKeyOfItsOwn)
{
    const auto pStore = OpenStore(m_pMachine);
    std::set<std::string> setKeys;
    for (int i = 0; i < 10; ++i) {
        Report report = MakeReport("");
        pStore->Add(report);
        setKeys.insert(report.strKey);
    }
    EXPECT_EQ(setKeys.size(), 10U);
    const std::string strKey = *setKeys.begin();
    EXPECT_EQ(strKey.find('-'), 32U) << strKey;
    EXPECT_EQ(strKey.find_first_not_of("0123456789abcdef-"), std::string::npos) << strKey;
    EXPECT_EQ(strKey.rfind('-'), 32U) << strKey;
}

TEST_F(StoreTest, GivesReportsBackInOrder)
{
    const auto pStore = OpenStore(m_pMachine);
    std::vector<std::string> vecBodies;
    for (int i = 0; i < 300; ++i) {
        MustAdd(*pStore, vecBodies.emplace_back(Numbered(i)));
    }
    EXPECT_EQ(BodiesOf(AllWaiting(*pStore)), vecBodies);
    EXPECT_EQ(BodiesOf(FoundAfterKill()), vecBodies);
    EXPECT_GT(CountFiles(*m_pMachine, ".seg"), 10U);
    EXPECT_EQ(pStore->Status().nWaiting, 300U);
}

TEST_F(StoreTest, FindsAnyReportOfALargeSegment)
{
    const auto pStore = OpenStore(m_pMachine, {});
    std::vector<ReportId> vecIds;
    for (int i = 0; i < 300; ++i) {
        vecIds.push_back(MustAdd(*pStore, Numbered(i)));
    }
    for (const int i : {298, 0, 62, 63, 64, 65, 127, 128, 200}) {
        const auto optNext = pStore->Next(vecIds[static_cast<std::size_t>(i)]);
        ASSERT_TRUE(optNext);
        EXPECT_EQ(optNext->report.strBody, Numbered(i + 1));
    }
    EXPECT_FALSE(pStore->Next(vecIds.back()));
}

TEST_F(StoreTest, ForgetsWhatHasEnded)
{
    const auto pStore = OpenStore(m_pMachine);
    const ReportId first = MustAdd(*pStore, "1");
    MustAdd(*pStore, "2");
    const ReportId third = MustAdd(*pStore, "3");
    pStore->End(first, Ending::Acknowledged);
    pStore->End(third, Ending::Dropped);
    pStore->End(third, Ending::Dropped);
    pStore->End({77, 1}, Ending::Dropped);
    EXPECT_THAT(BodiesOf(AllWaiting(*pStore)), ElementsAre("2"));
    EXPECT_THAT(BodiesOf(FoundAfterKill()), ElementsAre("2"));
    EXPECT_EQ(pStore->Status().nWaiting, 1U);
}

TEST_F(StoreTest, RemovesASegmentOfWhichAllHasEnded)
{
    const auto pStore = OpenStore(m_pMachine);
    std::vector<ReportId> vecIds;
    for (int i = 0; i < 30; ++i) {
        vecIds.push_back(MustAdd(*pStore, Numbered(i)));
    }
    const std::size_t nBefore = CountFiles(*m_pMachine, ".seg");
    EXPECT_GT(nBefore, 3U);
    for (const ReportId id : vecIds) {
        pStore->End(id, Ending::Acknowledged);
    }
    EXPECT_EQ(CountFiles(*m_pMachine, ".seg"), 1U) << "the one to which is written stays";
    EXPECT_EQ(CountFiles(*m_pMachine, ".ack"), 1U);
}

TEST_F(StoreTest, LeavesNothingBehindIfAllHasEnded)
{
    {
        const auto pStore = OpenStore(m_pMachine);
        pStore->End(MustAdd(*pStore, "1"), Ending::Acknowledged);
    }
    EXPECT_THAT(m_pMachine->Files(), IsEmpty());
}

TEST_F(StoreTest, RemovesTheRunOfAnotherProcessWhenAllOfItHasEnded)
{
    {
        const auto pStore = OpenStore(m_pMachine);
        MustAdd(*pStore, "1");
        MustAdd(*pStore, "2");
    }
    const auto pNext = OpenStore(m_pMachine);
    EXPECT_TRUE(pNext->Adopt());
    EXPECT_FALSE(pNext->Adopt()) << "there is nothing more";
    for (const Waiting& waiting : AllWaiting(*pNext)) {
        EXPECT_NE(CountFiles(*m_pMachine, "lock"), 0U);
        pNext->End(waiting.id, Ending::Acknowledged);
    }
    EXPECT_THAT(m_pMachine->Files(), IsEmpty());
}

TEST_F(StoreTest, TakesRunsInTheOrderOfTheirAge)
{
    std::int64_t nMs = 1'000'000;
    StoreSettings settings = SmallSegments();
    settings.fnWallMs = [&nMs] { return nMs; };
    std::vector<std::string> vecBodies;
    for (int i = 0; i < 8; ++i) {
        const auto pStore = OpenStore(m_pMachine, settings);
        MustAdd(*pStore, vecBodies.emplace_back(std::to_string(i)));
        nMs += 1000;
    }
    EXPECT_EQ(BodiesOf(FoundBy(m_pMachine)), vecBodies);
}

TEST_F(StoreTest, TakesNoMoreRunsAtOnceThanItMayKeepFilesOpen)
{
    for (int i = 0; i < 120; ++i) {
        MustAdd(*OpenStore(m_pMachine), std::to_string(i));
    }
    const auto pNext = OpenStore(m_pMachine);
    EXPECT_TRUE(pNext->Adopt());
    EXPECT_FALSE(pNext->Adopt());
    const std::vector<Waiting> vecWaiting = AllWaiting(*pNext);
    EXPECT_EQ(vecWaiting.size(), 100U);
    for (const Waiting& waiting : vecWaiting) {
        pNext->End(waiting.id, Ending::Acknowledged);
    }
    EXPECT_TRUE(pNext->Adopt());
    EXPECT_EQ(AllWaiting(*pNext).size(), 20U);
}

TEST_F(StoreTest, TakesNoRunOfALivingProcess)
{
    const auto pOwner = OpenStore(m_pMachine);
    MustAdd(*pOwner, "1");
    const auto pOther = OpenStore(m_pMachine);
    EXPECT_FALSE(pOther->Adopt());
    EXPECT_THAT(AllWaiting(*pOther), IsEmpty());
    EXPECT_FALSE(pOwner->Adopt());
    EXPECT_EQ(AllWaiting(*pOwner).size(), 1U) << "its own is not taken twice";
}

TEST_F(StoreTest, TriesAgainASecondAfterTheDiskWasFull)
{
    auto tpNow = std::chrono::steady_clock::now();
    StoreSettings settings = SmallSegments();
    settings.fnNow = [&tpNow] { return tpNow; };
    const auto pStore = OpenStore(m_pMachine, settings);
    int nTries = 0;
    m_pMachine->fnBefore = [&nTries](const std::string& strHere, const std::string& strPath) {
        const bool bTry = strHere == "create" && strPath.find(".seg") != std::string::npos;
        nTries += bTry ? 1 : 0;
        return bTry ? NoSpace() : std::error_code();
    };
    Report report = MakeReport("1");
    EXPECT_FALSE(pStore->Add(report));
    EXPECT_THAT(pStore->WhyNot(), HasSubstr(NoSpace().message()));
    EXPECT_EQ(report.strKey, "") << "without a place it has no key";
    EXPECT_FALSE(pStore->Add(report));
    EXPECT_EQ(nTries, 1);
    m_pMachine->fnBefore = nullptr;
    tpNow += 1s;
    EXPECT_TRUE(pStore->Add(report));
    EXPECT_EQ(FoundAfterKill().size(), 1U);
}

TEST_F(StoreTest, FillsTheReservedRoomOfAFullDisk)
{
    const auto pStore = OpenStore(m_pMachine);
    MustAdd(*pStore, "1");
    Fail("create", NoSpace());
    Report large = MakeReport(std::string(3000, 'x'));
    EXPECT_FALSE(pStore->Add(large));
    MustAdd(*pStore, "2");
    EXPECT_THAT(BodiesOf(FoundAfterKill()), ElementsAre("1", "2"));
}

TEST_F(StoreTest, LeavesRoomToOthers)
{
    StoreSettings settings = SmallSegments();
    auto tpNow = std::chrono::steady_clock::now();
    settings.fnNow = [&tpNow] { return tpNow += 1s; };
    settings.limits.nFree = 1'000'000;
    m_pMachine->nFreeBytes = 1'100'000;
    const auto pStore = OpenStore(m_pMachine, settings);
    Report report = MakeReport("1");
    EXPECT_FALSE(pStore->Add(report));
    EXPECT_THAT(pStore->WhyNot(), HasSubstr("1100000 bytes free"));
    m_pMachine->nFreeBytes = 1'000'000 + 2000 + 480'000;
    EXPECT_TRUE(pStore->Add(report));
}

TEST_F(StoreTest, StaysBelowItsLimit)
{
    StoreSettings settings = SmallSegments();
    settings.limits.nBytes = std::uint64_t{3} * 482'000;
    const auto pStore = OpenStore(m_pMachine, settings);
    Report report = MakeReport(std::string(1500, 'x'));
    EXPECT_TRUE(pStore->Add(report));
    EXPECT_TRUE(pStore->Add(report));
    EXPECT_TRUE(pStore->Add(report));
    EXPECT_FALSE(pStore->Add(report));
    EXPECT_THAT(pStore->WhyNot(), HasSubstr("may hold 1446000"));
    EXPECT_LE(pStore->Status().nBytes, settings.limits.nBytes);
    EXPECT_EQ(pStore->Status().strLastError, pStore->WhyNot());
}

TEST_F(StoreTest, TakesLittleRoomForTheReportsOfManyHostsThatHaveEnded)
{
    StoreSettings settings = SmallSegments(1U << 20U);
    for (int i = 0; i < 150; ++i) { // more than are taken over at once
        const auto pKilled = OpenStore(m_pMachine, settings);
        MustAdd(*pKilled, Numbered(i));
    }
    const auto pNext = OpenStore(m_pMachine, settings);
    ASSERT_GT(pNext->Status().nBytes, 150U << 20U);
    int nTaken = 0;
    m_pMachine->fnBefore = [&nTaken](const std::string& strHere, const std::string&) {
        nTaken += strHere == "lock" ? 1 : 0;
        return std::error_code();
    };
    EXPECT_TRUE(pNext->Adopt());
    EXPECT_EQ(nTaken, 150);
    EXPECT_LT(pNext->Status().nBytes, 150U * 1000);
    EXPECT_FALSE(pNext->Adopt());
    EXPECT_EQ(nTaken, 150) << "runs without reserved room are left alone";
    EXPECT_EQ(AllWaiting(*pNext).size(), 100U);
    EXPECT_EQ(FoundAfterKill().size(), 100U);
}

TEST_F(StoreTest, KeepsRoomForTheEndingsOfReportsThatAreTakenOver)
{
    MustAdd(*OpenStore(m_pMachine), "1");
    const auto pNext = OpenStore(m_pMachine);
    EXPECT_TRUE(pNext->Adopt());
    std::size_t nContent = 0;
    for (const auto& [strFile, strContent] : m_pMachine->Files()) {
        nContent += strContent.size();
    }
    EXPECT_EQ(pNext->Status().nBytes, nContent + 48); // an ending takes at most 48 bytes
}

TEST_F(StoreTest, RefusesAReportThatIsTooLarge)
{
    const auto pStore = OpenStore(m_pMachine, {});
    Report report = MakeReport(std::string(MOST_RECORD_BYTES, 'x'));
    EXPECT_FALSE(pStore->Add(report));
    EXPECT_EQ(pStore->WhyNot(), "the report is too large");
    report = MakeReport("");
    report.strUrl.assign(1U << 20U, 'x');
    EXPECT_FALSE(pStore->Add(report));
}

TEST_F(StoreTest, KeepsAReportThatIsLargerThanASegment)
{
    const auto pStore = OpenStore(m_pMachine);
    MustAdd(*pStore, "1");
    MustAdd(*pStore, std::string(50'000, 'x'));
    MustAdd(*pStore, "3");
    EXPECT_THAT(BodiesOf(FoundAfterKill()), ElementsAre("1", std::string(50'000, 'x'), "3"));
}

TEST_F(StoreTest, WritesAnewWhatAFailedSyncLeavesInDoubt)
{
    const auto pStore = OpenStore(m_pMachine);
    const ReportId first = MustAdd(*pStore, "1");
    MustAdd(*pStore, "2");
    pStore->End(first, Ending::Acknowledged);
    std::vector<std::string> vecSynced;
    m_pMachine->fnBefore = [&vecSynced](const std::string& strHere, const std::string& strPath) {
        if (strHere != "sync" || strPath.find(".seg") == std::string::npos) {
            return std::error_code();
        }
        vecSynced.push_back(strPath);
        return vecSynced.size() == 1 ? std::make_error_code(std::errc::io_error) : std::error_code();
    };
    EXPECT_TRUE(pStore->Sync());
    EXPECT_EQ(vecSynced.size(), 2U);
    EXPECT_NE(vecSynced.front(), vecSynced.back()) << "the same file is never synced again";
    EXPECT_EQ(CountFiles(*m_pMachine, ".seg"), 1U);
    const std::uint64_t nSeed = Seed();
    SCOPED_TRACE("KTS_OUTBOX_SEED=" + std::to_string(nSeed));
    Machine::Random random(nSeed);
    EXPECT_THAT(BodiesOf(FoundBy(m_pMachine->AfterPowerCut(random))), ElementsAre("2"));
    MustAdd(*pStore, "3");
    EXPECT_THAT(BodiesOf(AllWaiting(*pStore)), ElementsAre("2", "3"));
}

TEST_F(StoreTest, SaysSoIfNothingCanBeSynced)
{
    const auto pStore = OpenStore(m_pMachine);
    MustAdd(*pStore, "1");
    Fail("sync", std::make_error_code(std::errc::io_error));
    EXPECT_FALSE(pStore->Sync());
    EXPECT_FALSE(pStore->Sync());
    EXPECT_THAT(pStore->Status().strLastError, HasSubstr("sync"));
    EXPECT_THAT(BodiesOf(FoundAfterKill()), ElementsAre("1")) << "and not twice";
    m_pMachine->fnBefore = nullptr;
    EXPECT_TRUE(pStore->Sync());
    EXPECT_TRUE(pStore->Sync());
    EXPECT_THAT(BodiesOf(AllWaiting(*pStore)), ElementsAre("1"));
}

TEST_F(StoreTest, CountsAnEndingWhileItsRecordIsWrittenAnew)
{
    const auto pStore = OpenStore(m_pMachine);
    const ReportId first = MustAdd(*pStore, "1");
    MustAdd(*pStore, "2");
    int nSyncs = 0;
    m_pMachine->fnBefore = [&](const std::string& strHere, const std::string& strPath) {
        if (strHere != "sync" || strPath.find(".seg") == std::string::npos) {
            return std::error_code();
        }
        if (++nSyncs == 2) {
            EXPECT_EQ(AllWaiting(*pStore).size(), 2U) << "each once, although both are there";
            pStore->End(first, Ending::Acknowledged);
        }
        return nSyncs == 1 ? std::make_error_code(std::errc::io_error) : std::error_code();
    };
    EXPECT_TRUE(pStore->Sync());
    EXPECT_THAT(BodiesOf(AllWaiting(*pStore)), ElementsAre("2"));
    EXPECT_THAT(BodiesOf(FoundAfterKill()), ElementsAre("2"));
}

TEST_F(StoreTest, SyncsTheNamesOfTheRunsOnce)
{
    const auto pStore = OpenStore(m_pMachine);
    MustAdd(*pStore, "1");
    EXPECT_TRUE(pStore->Sync());
    std::vector<std::string> vecFolders;
    m_pMachine->fnBefore = [&vecFolders](const std::string& strHere, const std::string& strPath) {
        if (strHere == "sync folder") {
            vecFolders.push_back(strPath);
        }
        return std::error_code();
    };
    MustAdd(*pStore, "2");
    EXPECT_TRUE(pStore->Sync());
    EXPECT_THAT(vecFolders, ::testing::IsEmpty()) << "they have not changed";
}

TEST_F(StoreTest, NeverSyncsIfItIsToldNotTo)
{
    StoreSettings settings = SmallSegments();
    settings.bSync = false;
    const auto pStore = OpenStore(m_pMachine, settings);
    Fail("sync", std::make_error_code(std::errc::io_error));
    MustAdd(*pStore, "1");
    EXPECT_TRUE(pStore->Sync());
}

TEST_F(StoreTest, WritesALetterBeforeAReportIsDead)
{
    const auto pStore = OpenStore(m_pMachine);
    const ReportId id = MustAdd(*pStore, "1");
    Fail("create", NoSpace(), 1);
    EXPECT_FALSE(pStore->Bury(id, Ending::Dead, "no", 400));
    EXPECT_EQ(AllWaiting(*pStore).size(), 1U);
    EXPECT_TRUE(pStore->Bury(id, Ending::Dead, "no", 400));
    EXPECT_FALSE(pStore->Bury(id, Ending::Dead, "no", 400)) << "it has ended";
    EXPECT_THAT(AllWaiting(*pStore), IsEmpty());
    EXPECT_EQ(pStore->Status().nDead, 1U);
    EXPECT_EQ(CountFiles(*m_pMachine, ".rec"), 1U);
}

TEST_F(StoreTest, SetsDamageAsideAndGoesOnBehindIt)
{
    {
        const auto pStore = OpenStore(m_pMachine, SmallSegments(1U << 20U));
        for (const char* szBody : {"first", "second", "third"}) {
            MustAdd(*pStore, szBody);
        }
    }
    for (auto [strFile, strContent] : m_pMachine->Files()) {
        if (const std::size_t nAt = strContent.find("second"); nAt != std::string::npos) {
            strContent[nAt] = 'S';
            m_pMachine->Put(strFile, strContent + "R1 12345678 1");
        }
    }
    const auto pNext = OpenStore(m_pMachine);
    EXPECT_TRUE(pNext->Adopt());
    EXPECT_THAT(BodiesOf(AllWaiting(*pNext)), ElementsAre("first", "third"));
    EXPECT_EQ(pNext->Status().nBad, 1U);
    EXPECT_EQ(pNext->Status().nTorn, 1U);
    EXPECT_EQ(CountFiles(*m_pMachine, ".bin"), 1U);
    for (const auto& [strFile, strContent] : m_pMachine->Files()) {
        if (strFile.find("bad/") == 0) {
            EXPECT_THAT(strContent, HasSubstr("Second"));
        }
    }
}

TEST_F(StoreTest, KeepsASegmentWhoseDamageCanNotBeSetAside)
{
    {
        const auto pStore = OpenStore(m_pMachine);
        MustAdd(*pStore, "first");
    }
    const auto mapFiles = m_pMachine->Files();
    for (const auto& [strFile, strContent] : mapFiles) {
        if (strFile.find(".seg") != std::string::npos) {
            m_pMachine->Put(strFile, strContent + "junk");
        }
    }
    {
        Fail("create", NoSpace());
        const auto pNext = OpenStore(m_pMachine);
        EXPECT_TRUE(pNext->Adopt());
        for (const Waiting& waiting : AllWaiting(*pNext)) {
            pNext->End(waiting.id, Ending::Acknowledged);
        }
        EXPECT_EQ(CountFiles(*m_pMachine, ".seg"), 1U);
    }
    m_pMachine->fnBefore = nullptr;
    EXPECT_THAT(FoundBy(m_pMachine), IsEmpty());
    EXPECT_EQ(CountFiles(*m_pMachine, ".seg"), 0U);
    EXPECT_EQ(CountFiles(*m_pMachine, ".bin"), 1U);
}

TEST_F(StoreTest, FindsDamageInItsOwnFilesToo)
{
    const auto pStore = OpenStore(m_pMachine, SmallSegments(1500));
    for (int i = 0; i < 12; ++i) {
        MustAdd(*pStore, Numbered(i));
    }
    m_pMachine->fnBefore = nullptr;
    for (auto [strFile, strContent] : m_pMachine->Files()) {
        if (const std::size_t nAt = strContent.find(Numbered(0)); nAt != std::string::npos) {
            strContent[nAt] = 'x';
            pStore->Sync(); // what is closed is opened again
            m_pMachine->Put(strFile, strContent);
        }
    }
    const std::vector<Waiting> vecWaiting = AllWaiting(*pStore);
    EXPECT_EQ(vecWaiting.size(), 11U);
    EXPECT_EQ(vecWaiting.front().report.strBody, Numbered(1));
    EXPECT_EQ(pStore->Status().nBad, 1U);
}

TEST_F(StoreTest, TakesAShortageForNoDamage)
{
    {
        const auto pStore = OpenStore(m_pMachine);
        for (int i = 0; i < 20; ++i) {
            MustAdd(*pStore, Numbered(i));
        }
    }
    const auto pNext = OpenStore(m_pMachine);
    Fail("open to read", std::make_error_code(std::errc::too_many_files_open));
    EXPECT_TRUE(pNext->Adopt()) << "the run is ours, although it can't be read yet";
    EXPECT_FALSE(pNext->Next({}));
    m_pMachine->fnBefore = nullptr;
    EXPECT_TRUE(pNext->Adopt());
    EXPECT_EQ(AllWaiting(*pNext).size(), 20U);
    Fail("open to read", std::make_error_code(std::errc::too_many_files_open), 1);
    EXPECT_FALSE(pNext->Next({}));
    EXPECT_TRUE(pNext->Next({}));
    Fail("read", std::make_error_code(std::errc::io_error), 1);
    EXPECT_TRUE(pNext->Next({})) << "another segment can be read";
    m_pMachine->fnBefore = nullptr;
    EXPECT_EQ(AllWaiting(*pNext).size(), 20U);
    EXPECT_EQ(CountFiles(*m_pMachine, ".bin"), 0U);
}

TEST_F(StoreTest, WritesAnEndingLaterIfTheDiskRefusesIt)
{
    const auto pStore = OpenStore(m_pMachine);
    const ReportId first = MustAdd(*pStore, "1");
    MustAdd(*pStore, "2");
    Fail("append", NoSpace(), 1);
    pStore->End(first, Ending::Acknowledged); // a half of the line is written
    EXPECT_EQ(AllWaiting(*pStore).size(), 1U);
    EXPECT_TRUE(pStore->Sync());
    EXPECT_THAT(BodiesOf(FoundAfterKill()), ElementsAre("2"));
}

TEST_F(StoreTest, TellsTheAgeOfTheOldest)
{
    std::int64_t nMs = 5'000'000;
    StoreSettings settings = SmallSegments();
    settings.fnWallMs = [&nMs] { return nMs; };
    const auto pStore = OpenStore(m_pMachine, settings);
    EXPECT_EQ(pStore->Status().oldest, 0ms);
    MustAdd(*pStore, "1");
    nMs += 90'000;
    MustAdd(*pStore, "2");
    EXPECT_EQ(pStore->Status().oldest, 90s);
    nMs = 0; // the clock was set back
    EXPECT_EQ(pStore->Status().oldest, 0ms);
}

TEST_F(StoreTest, MayBeUsedFromSeveralThreads)
{
    const auto pStore = OpenStore(m_pMachine);
    constexpr int REPORTS = 300;
    std::atomic<int> nEnded{0};
    const auto Add = [&] {
        for (int i = 0; i < REPORTS; ++i) {
            MustAdd(*pStore, Numbered(i));
        }
    };
    std::thread first(Add);
    std::thread second(Add);
    std::thread clerk([&] {
        for (ReportId after; nEnded < 2 * REPORTS;) {
            pStore->Sync();
            const auto optNext = pStore->Next(after);
            after = optNext ? optNext->id : ReportId{};
            if (optNext) {
                pStore->End(optNext->id, Ending::Acknowledged);
                ++nEnded;
            }
            static_cast<void>(pStore->Status());
        }
    });
    first.join();
    second.join();
    clerk.join();
    EXPECT_EQ(nEnded, 2 * REPORTS) << "each report was there once";
    EXPECT_EQ(pStore->Status().nWaiting, 0U);
}
