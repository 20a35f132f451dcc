// What the store makes of files that somebody changed, and of a disk that refuses things one after the other.

#include "StoreHelp.h"

#include "outbox/Folder.h"
#include "outbox/Record.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <initializer_list>
#include <string>
#include <vector>

using namespace outbox;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace
{

const std::error_code DISK_FULL = std::make_error_code(std::errc::no_space_on_device);
const std::error_code DISK_BROKEN = std::make_error_code(std::errc::io_error);
const std::error_code NO_DESCRIPTORS = std::make_error_code(std::errc::too_many_files_open);

/// A file that ends earlier than it did.
class EmptyFile : public DiskFile
{
public:
    std::error_code Append(std::string_view /*bytes*/) override { return DISK_FULL; }
    std::error_code Read(std::uint64_t /*nOffset*/, std::size_t /*nBytes*/,
                         std::string& strBytes) const override
    {
        strBytes.clear();
        return {};
    }
    std::error_code Sync() override { return {}; }
    std::error_code KeepReserved(std::uint64_t /*nBytes*/) override { return {}; }
};

class StoreDamage : public testing::Test
{
protected:
    static ReportId Keep(Store& store, const std::string& strBody)
    {
        Report report = MakeReport(strBody);
        const auto optId = store.Add(report);
        EXPECT_TRUE(optId) << store.WhyNot();
        return optId.value_or(ReportId{});
    }

    /// Reports of a process that is gone.
    void KeepAsAnotherProcess(std::initializer_list<const char*> bodies)
    {
        const auto pStore = OpenStore(m_pMachine, SmallSegments(1U << 20U));
        for (const char* szBody : bodies) {
            Keep(*pStore, szBody);
        }
    }

    /// The files whose path contains this text.
    std::vector<std::string> FilesWith(const std::string& strPart) const
    {
        std::vector<std::string> vecFiles;
        for (const auto& [strFile, strContent] : m_pMachine->Files()) {
            if (strFile.find(strPart) != std::string::npos) {
                vecFiles.push_back(strFile);
            }
        }
        return vecFiles;
    }

    /// Replaces a text in all files.
    void Replace(const std::string& strText, const std::string& strBy)
    {
        for (auto [strFile, strContent] : m_pMachine->Files()) {
            if (const std::size_t nAt = strContent.find(strText); nAt != std::string::npos) {
                strContent.replace(nAt, strText.size(), strBy);
                m_pMachine->Put(strFile, strContent);
            }
        }
    }

    /// Lets two records of equal length change places in their file.
    void Swap(const std::string& strFile, std::size_t nFirst, std::size_t nSecond)
    {
        const std::string strContent = m_pMachine->Files().at(strFile);
        std::vector<std::string> vecRecords;
        for (std::size_t nAt = 0; nAt < strContent.size();) {
            const std::size_t nEnd = std::min(strContent.find("R1 ", nAt + 1), strContent.size());
            vecRecords.push_back(strContent.substr(nAt, nEnd - nAt));
            nAt = nEnd;
        }
        std::swap(vecRecords.at(nFirst), vecRecords.at(nSecond));
        std::string strSwapped;
        for (const std::string& strRecord : vecRecords) {
            strSwapped += strRecord;
        }
        m_pMachine->Put(strFile, strSwapped);
    }

    /// Makes an operation on files whose path contains this text fail a number of times.
    void Refuse(const std::string& strOperation, const std::string& strPart, std::error_code error,
                int nTimes = 1'000'000)
    {
        m_pMachine->fnBefore = [=](const std::string& strHere, const std::string& strPath) mutable {
            const bool bMeant = strHere == strOperation && strPath.find(strPart) != std::string::npos;
            return bMeant && nTimes-- > 0 ? error : std::error_code();
        };
    }

    std::shared_ptr<Machine> m_pMachine = std::make_shared<Machine>();
};

TEST_F(StoreDamage, LeavesFilesOfOthersAlone)
{
    KeepAsAnotherProcess({"1"});
    const std::string strFolder = FilesWith(".seg").at(0).substr(0, 5 + 32);
    MemoryDisk disk(m_pMachine);
    disk.MakeFolder("runs/other");
    const std::vector<std::string> vecOthers{"runs/" + SOME_RUN, "runs/other/00000001.seg",
                                             strFolder + "/abcdefgh.seg", strFolder + "/00000001.txt"};
    for (const std::string& strFile : vecOthers) {
        m_pMachine->Put(strFile, "R1 of somebody else");
    }
    const auto pStore = OpenStore(m_pMachine);
    EXPECT_TRUE(pStore->Adopt());
    const std::vector<Waiting> vecWaiting = AllWaiting(*pStore);
    EXPECT_THAT(BodiesOf(vecWaiting), ElementsAre("1"));
    pStore->End(vecWaiting.at(0).id, Ending::Acknowledged);
    for (const std::string& strFile : vecOthers) {
        EXPECT_THAT(FilesWith(strFile), SizeIs(1)) << strFile;
    }
    EXPECT_EQ(pStore->Status().nBad, 0U);
}

TEST_F(StoreDamage, IsSetAsideOnceAndWhole)
{
    KeepAsAnotherProcess({"first", "second"});
    Replace("second", "Second");
    FoundBy(m_pMachine);
    ASSERT_THAT(FilesWith("bad/"), SizeIs(1));
    const std::string strFile = FilesWith("bad/").at(0);
    const std::string strContent = m_pMachine->Files().at(strFile);
    EXPECT_THAT(strContent, HasSubstr("Second"));
    for (const std::string& strThere : {strContent, strContent.substr(1), strContent + "x", std::string()}) {
        m_pMachine->Put(strFile, strThere); // an earlier copy, which may have been interrupted
        EXPECT_THAT(BodiesOf(FoundBy(m_pMachine)), ElementsAre("first"));
        EXPECT_THAT(FilesWith("bad/"), ElementsAre(strFile));
        EXPECT_EQ(m_pMachine->Files().at(strFile), strContent);
    }
}

TEST_F(StoreDamage, IsInTheFolderForItOrStaysInItsSegmentWhateverFails)
{
    KeepAsAnotherProcess({"first", "second", "third", "fourth", "fifth"});
    Replace("second", "Second");
    Replace("fourth", "Fourth");
    const auto fnTry = [](const std::shared_ptr<Machine>& pMachine, int nFailing) {
        int nOperations = 0;
        pMachine->fnBefore = [&](const std::string&, const std::string&) {
            return nOperations++ == nFailing ? DISK_BROKEN : std::error_code();
        };
        {
            const auto pStore = OpenStore(pMachine);
            pStore->Adopt();
            for (const Waiting& waiting : AllWaiting(*pStore)) {
                pStore->End(waiting.id, Ending::Acknowledged);
            }
        }
        pMachine->fnBefore = nullptr;
        return nOperations;
    };
    for (int nRound = 0; nRound < 2; ++nRound) { // in the second one it has been set aside before
        int nOperations = 0;
        for (int nFailing = 0; nFailing <= nOperations; ++nFailing) {
            const std::shared_ptr<Machine> pMachine = m_pMachine->Copy();
            nOperations = fnTry(pMachine, nFailing);
            std::string strAll;
            for (const auto& [strFile, strContent] : pMachine->Files()) {
                strAll += strContent;
            }
            EXPECT_THAT(strAll, HasSubstr("Second")) << nFailing;
            EXPECT_THAT(strAll, HasSubstr("Fourth")) << nFailing;
        }
        EXPECT_GT(nOperations, 20);
        FoundBy(m_pMachine);
    }
}

TEST_F(StoreDamage, CantBeSetAsideFromAFileThatBecameShorter)
{
    MemoryDisk disk(m_pMachine);
    Folder folder(disk, {});
    ASSERT_FALSE(folder.Prepare());
    const RecordScan::Piece piece{RecordScan::Kind::Bad, 0, 10, {}};
    EXPECT_EQ(folder.SetAside(EmptyFile(), piece, "piece.bin"), DISK_BROKEN);
}

TEST_F(StoreDamage, AreRecordsWhoseNumbersDontGrowOrGrowTooMuch)
{
    KeepAsAnotherProcess({"1"});
    const std::string strFile = FilesWith(".seg").at(0);
    const std::string strRun = strFile.substr(5, 32);
    std::string strContent;
    const std::pair<std::uint64_t, const char*> RECORDS[] = {
        {1, "1"}, {1, "again"}, {2, "2"}, {2 + (std::uint64_t{1} << 20U), "far away"}, {3, "3"}};
    for (const auto& [nSequence, szBody] : RECORDS) {
        Report report = MakeReport(szBody);
        report.strKey = "key";
        strContent += WriteRecord(strRun, nSequence, report);
    }
    m_pMachine->Put(strFile, strContent);
    EXPECT_THAT(BodiesOf(FoundBy(m_pMachine)), ElementsAre("1", "2", "3"));
    EXPECT_THAT(FilesWith("bad/"), SizeIs(2));
}

TEST_F(StoreDamage, IsWhatStandsInThePlaceOfAnotherReport)
{
    KeepAsAnotherProcess({"1", "2", "3"});
    const auto pStore = OpenStore(m_pMachine);
    ASSERT_TRUE(pStore->Adopt());
    pStore->End(AllWaiting(*pStore).at(2).id, Ending::Acknowledged);
    Swap(FilesWith(".seg").at(0), 0, 1);
    EXPECT_THAT(BodiesOf(AllWaiting(*pStore)), ElementsAre("2")) << "the third one has ended before";
    EXPECT_EQ(pStore->Status().nBad, 1U);
}

TEST_F(StoreDamage, IsNotWhatEndsWhileItIsRead)
{
    const auto pStore = OpenStore(m_pMachine);
    const ReportId first = Keep(*pStore, "1");
    Keep(*pStore, "2");
    m_pMachine->fnBefore = [&](const std::string& strOperation, const std::string&) {
        if (strOperation == "read") {
            pStore->End(first, Ending::Acknowledged);
        }
        return std::error_code();
    };
    const auto optNext = pStore->Next({});
    m_pMachine->fnBefore = nullptr;
    ASSERT_TRUE(optNext);
    EXPECT_EQ(optNext->report.strBody, "2");
}

TEST_F(StoreDamage, IsNotAShortageOfTheSystem)
{
    KeepAsAnotherProcess({"1", "2"});
    const auto pStore = OpenStore(m_pMachine);
    ASSERT_TRUE(pStore->Adopt());
    for (const std::errc eShortage :
         {std::errc::too_many_files_open, std::errc::too_many_files_open_in_system,
          std::errc::not_enough_memory}) {
        Refuse("open to read", ".seg", std::make_error_code(eShortage));
        EXPECT_FALSE(pStore->Next({}));
        m_pMachine->fnBefore = nullptr;
        EXPECT_THAT(BodiesOf(AllWaiting(*pStore)), ElementsAre("1", "2"));
    }
    EXPECT_EQ(pStore->Status().nBad, 0U);
}

TEST_F(StoreDamage, IsNotWhatCantBeReadAtFirst)
{
    for (int nProcess = 0; nProcess < 2; ++nProcess) {
        const auto pStore = OpenStore(m_pMachine, SmallSegments(800));
        for (int nReport = 0; nReport < 10; ++nReport) {
            Keep(*pStore, std::to_string(nReport) + std::string(200, '.'));
        }
    }
    const auto pStore = OpenStore(m_pMachine);
    Refuse("open to read", ".seg", NO_DESCRIPTORS);
    EXPECT_TRUE(pStore->Adopt()) << "the runs are ours now";
    EXPECT_FALSE(pStore->Adopt()) << "they still can't be read";
    EXPECT_THAT(pStore->Status().strLastError, HasSubstr(NO_DESCRIPTORS.message()));
    Refuse("open to read", "00000001.seg", NO_DESCRIPTORS);
    EXPECT_TRUE(pStore->Adopt());
    EXPECT_THAT(AllWaiting(*pStore), SizeIs(testing::AllOf(testing::Ge(1U), testing::Lt(20U))));
    m_pMachine->fnBefore = nullptr;
    EXPECT_TRUE(pStore->Adopt());
    EXPECT_THAT(AllWaiting(*pStore), SizeIs(20));
    EXPECT_FALSE(pStore->Adopt()) << "everything has been read";
    EXPECT_EQ(pStore->Status().nBad, 0U);
}

TEST_F(StoreDamage, IsSaidIfNothingCanBeSyncedOrWrittenAnew)
{
    const auto pStore = OpenStore(m_pMachine);
    Keep(*pStore, "1");
    m_pMachine->fnBefore = [](const std::string& strOperation, const std::string&) {
        return strOperation == "sync" || strOperation == "create" ? DISK_FULL : std::error_code();
    };
    EXPECT_FALSE(pStore->Sync());
    EXPECT_THAT(pStore->Status().strLastError, HasSubstr("nothing can be written anew"));
    m_pMachine->fnBefore = nullptr;
    EXPECT_TRUE(pStore->Sync());
    EXPECT_THAT(BodiesOf(AllWaiting(*pStore)), ElementsAre("1"));
}

TEST_F(StoreDamage, IsNoneIfAllEndsWhileASyncFails)
{
    const auto pStore = OpenStore(m_pMachine);
    const ReportId id = Keep(*pStore, "1");
    m_pMachine->fnBefore = [&](const std::string& strOperation, const std::string& strPath) {
        if (strOperation != "sync" || strPath.find(".seg") == std::string::npos) {
            return std::error_code();
        }
        pStore->End(id, Ending::Acknowledged);
        return DISK_BROKEN;
    };
    static_cast<void>(pStore->Sync()); // there is nothing that could be written anew
    m_pMachine->fnBefore = nullptr;
    EXPECT_TRUE(pStore->Sync());
    EXPECT_THAT(FilesWith(".seg"), IsEmpty());
    Keep(*pStore, "2");
    EXPECT_THAT(BodiesOf(AllWaiting(*pStore)), ElementsAre("2"));
}

TEST_F(StoreDamage, StaysWhereItIsWhenTheOtherReportsAreWrittenAnew)
{
    KeepAsAnotherProcess({"1", "2", "3", "4"});
    const auto pStore = OpenStore(m_pMachine);
    Refuse("open to append", ".seg", DISK_BROKEN); // so it can't be synced, and is in doubt
    ASSERT_TRUE(pStore->Adopt());
    const std::string strFile = FilesWith(".seg").at(0);
    Swap(strFile, 2, 3);
    std::string strContent = m_pMachine->Files().at(strFile);
    strContent[strContent.find("\n2\n") + 1] = 'x';
    m_pMachine->Put(strFile, strContent);
    m_pMachine->fnBefore = nullptr;
    EXPECT_TRUE(pStore->Sync());
    EXPECT_THAT(FilesWith(".seg"), SizeIs(2));
    EXPECT_THAT(BodiesOf(AllWaiting(*pStore)), ElementsAre("1", "4"));
    EXPECT_EQ(pStore->Status().nBad, 2U);
}

TEST_F(StoreDamage, IsNoneIfReportsCantBeReadToBeWrittenAnew)
{
    KeepAsAnotherProcess({"1", "2"});
    const auto pStore = OpenStore(m_pMachine);
    Refuse("open to append", ".seg", DISK_BROKEN);
    ASSERT_TRUE(pStore->Adopt());
    for (const char* szFailing : {"open to read", "read", "append"}) {
        Refuse(szFailing, ".seg", DISK_BROKEN);
        EXPECT_FALSE(pStore->Sync()) << szFailing;
        EXPECT_THAT(FilesWith(".seg"), SizeIs(1)) << szFailing;
    }
    m_pMachine->fnBefore = nullptr;
    EXPECT_TRUE(pStore->Sync());
    EXPECT_THAT(BodiesOf(AllWaiting(*pStore)), ElementsAre("1", "2"));
}

TEST_F(StoreDamage, IsNoReportThatStandsInTwoFiles)
{
    const auto pStore = OpenStore(m_pMachine, SmallSegments(1200));
    std::vector<std::string> vecBodies;
    for (int nReport = 0; nReport < 6; ++nReport) {
        vecBodies.push_back(std::to_string(nReport) + std::string(200, '.'));
        Keep(*pStore, vecBodies.back());
    }
    pStore->End(AllWaiting(*pStore).at(1).id, Ending::Acknowledged);
    vecBodies.erase(vecBodies.begin() + 1);
    std::vector<Waiting> vecFound;
    int nSyncs = 0;
    m_pMachine->fnBefore = [&](const std::string& strOperation, const std::string& strPath) {
        if (strOperation != "sync" || strPath.find(".seg") == std::string::npos) {
            return std::error_code();
        }
        if (++nSyncs == 2) { // both files are there
            vecFound = FoundBy(m_pMachine->Copy());
        }
        return nSyncs == 1 ? DISK_BROKEN : std::error_code();
    };
    EXPECT_TRUE(pStore->Sync());
    EXPECT_EQ(BodiesOf(vecFound), vecBodies) << "each once";
    EXPECT_EQ(BodiesOf(AllWaiting(*pStore)), vecBodies);
}

TEST_F(StoreDamage, OfAMissingFileOfEndingsIsMended)
{
    KeepAsAnotherProcess({"1", "2"});
    m_pMachine->Take(FilesWith(".ack").at(0));
    const auto pStore = OpenStore(m_pMachine);
    ASSERT_TRUE(pStore->Adopt());
    Refuse("create", ".ack", DISK_FULL, 1);
    pStore->End(AllWaiting(*pStore).at(0).id, Ending::Acknowledged);
    EXPECT_THAT(FilesWith(".ack"), IsEmpty());
    EXPECT_TRUE(pStore->Sync());
    EXPECT_THAT(BodiesOf(FoundBy(m_pMachine->Copy())), ElementsAre("2"));
}

TEST_F(StoreDamage, OfAnEndingThatIsWrittenInPartsTwiceIsMended)
{
    const auto pStore = OpenStore(m_pMachine);
    const ReportId first = Keep(*pStore, "1");
    Keep(*pStore, "2");
    Refuse("append", ".ack", DISK_FULL, 2);
    pStore->End(first, Ending::Acknowledged);
    EXPECT_TRUE(pStore->Sync());
    EXPECT_TRUE(pStore->Sync());
    EXPECT_THAT(BodiesOf(FoundBy(m_pMachine->Copy())), ElementsAre("2"));
}

TEST_F(StoreDamage, OfFilesThatAreGoneAlreadyHindersNoRemoval)
{
    for (const char* szGone : {".seg", ".ack"}) {
        {
            const auto pStore = OpenStore(m_pMachine);
            pStore->End(Keep(*pStore, "1"), Ending::Acknowledged);
            m_pMachine->Take(FilesWith(szGone).at(0));
        }
        EXPECT_THAT(m_pMachine->Files(), IsEmpty()) << szGone;
    }
}

TEST_F(StoreDamage, IsNotANewFolderThatAnotherProcessTakes)
{
    Refuse("lock", "", std::make_error_code(std::errc::no_such_file_or_directory), 1);
    {
        const auto pStore = OpenStore(m_pMachine);
        Keep(*pStore, "1"); // at the second try
    }
    auto tpNow = std::chrono::steady_clock::now();
    StoreSettings settings = SmallSegments();
    settings.fnNow = [&tpNow] { return tpNow; };
    const auto pStore = OpenStore(m_pMachine, settings);
    Refuse("lock", "", std::make_error_code(std::errc::device_or_resource_busy));
    Report report = MakeReport("2");
    EXPECT_FALSE(pStore->Add(report));
    EXPECT_THAT(pStore->WhyNot(), HasSubstr("no new folder: "));
    m_pMachine->fnBefore = nullptr;
    EXPECT_FALSE(pStore->Add(report)) << "it is tried again a second later";
    tpNow += std::chrono::seconds(1);
    EXPECT_TRUE(pStore->Add(report));
}

TEST_F(StoreDamage, IsNotARunThatAnotherProcessRemovesMeanwhile)
{
    KeepAsAnotherProcess({"1"});
    const auto pStore = OpenStore(m_pMachine);
    Refuse("lock", "", std::make_error_code(std::errc::no_such_file_or_directory));
    EXPECT_FALSE(pStore->Adopt());
    EXPECT_EQ(pStore->Status().strLastError, "");
}

TEST_F(StoreDamage, OfAFirstLineIsFoundWhenTheReportIsRead)
{
    KeepAsAnotherProcess({"1", "2", "3"});
    const std::string strFile = FilesWith(".seg").at(0);
    const std::string strWhole = m_pMachine->Files().at(strFile);
    int nOperations = 0;
    for (int nFailing = 0; nFailing <= nOperations; ++nFailing) { // also if it can't be examined at first
        const std::shared_ptr<Machine> pMachine = m_pMachine->Copy();
        const auto pStore = OpenStore(pMachine);
        ASSERT_TRUE(pStore->Adopt());
        pMachine->Put(strFile, "X" + strWhole.substr(1));
        nOperations = 0;
        pMachine->fnBefore = [&](const std::string&, const std::string&) {
            return nOperations++ == nFailing ? DISK_BROKEN : std::error_code();
        };
        AllWaiting(*pStore);
        pMachine->fnBefore = nullptr;
        EXPECT_THAT(BodiesOf(AllWaiting(*pStore)), ElementsAre("2", "3")) << nFailing;
        EXPECT_THAT(BodiesOf(FoundBy(pMachine->Copy())), ElementsAre("2", "3")) << nFailing;
    }
    EXPECT_GT(nOperations, 5);
}

TEST_F(StoreDamage, IsNoneIfReportsEndWhileTheyAreWrittenAnew)
{
    const auto pStore = OpenStore(m_pMachine);
    const ReportId first = Keep(*pStore, "1");
    const ReportId second = Keep(*pStore, "2");
    int nSyncs = 0;
    m_pMachine->fnBefore = [&](const std::string& strOperation, const std::string& strPath) {
        if (strOperation != "sync" || strPath.find(".seg") == std::string::npos) {
            return std::error_code();
        }
        if (++nSyncs == 2) { // both files are there
            EXPECT_EQ(pStore->Status().nWaiting, 2U);
            EXPECT_TRUE(pStore->Bury(first, Ending::Dead, "no", 400));
            pStore->End(second, Ending::Acknowledged);
            EXPECT_EQ(pStore->Status().nWaiting, 0U);
        }
        return nSyncs == 1 ? DISK_BROKEN : std::error_code();
    };
    EXPECT_TRUE(pStore->Sync());
    EXPECT_THAT(AllWaiting(*pStore), IsEmpty());
    EXPECT_THAT(FoundBy(m_pMachine->Copy()), IsEmpty());
    EXPECT_THAT(FilesWith("dead/"), SizeIs(1));
    EXPECT_FALSE(pStore->Bury({77, 1}, Ending::Dead, "no", 400)) << "a report of no run";
}

TEST_F(StoreDamage, IsNoneIfStoresEndInAnotherOrderThanTheyBegan)
{
    auto pFirst = OpenStore(m_pMachine);
    auto pSecond = OpenStore(m_pMachine);
    auto pThird = OpenStore(m_pMachine);
    Keep(*pSecond, "2");
    pSecond.reset();
    Keep(*pFirst, "1");
    pFirst.reset();
    Keep(*pThird, "3");
    EXPECT_THAT(AllWaiting(*pThird), SizeIs(1));
    EXPECT_TRUE(pThird->Adopt());
    EXPECT_THAT(AllWaiting(*pThird), SizeIs(3));
}

TEST_F(StoreDamage, CanOnlyTouchALimitedNumberOfReportsOfAFile)
{
    const auto pStore = OpenStore(m_pMachine, {});
    for (std::uint64_t nReport = 0; nReport < Segment::MOST_RECORDS; ++nReport) {
        Keep(*pStore, "");
    }
    EXPECT_THAT(FilesWith(".seg"), SizeIs(1));
    Keep(*pStore, "");
    EXPECT_THAT(FilesWith(".seg"), SizeIs(2));
}

} // namespace
