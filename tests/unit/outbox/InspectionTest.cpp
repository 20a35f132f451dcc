// What an operator's program sees and does.

#include "StoreHelp.h"

#include "outbox/Inspection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace outbox;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{

class InspectionTest : public testing::Test
{
protected:
    std::vector<InspectedReport> AllInspected()
    {
        std::vector<InspectedReport> vecReports;
        const auto Take = [&vecReports](const InspectedReport& report) {
            vecReports.push_back(report);
            return true;
        };
        EXPECT_EQ(m_inspection.ForEachWaiting(Take), "");
        return vecReports;
    }

    ReportId MustAdd(const std::string& strBody)
    {
        Report report = MakeReport(strBody);
        return m_pStore->Add(report).value();
    }

    std::shared_ptr<Machine> m_pMachine = std::make_shared<Machine>();
    std::unique_ptr<Store> m_pStore = OpenStore(m_pMachine);
    Inspection m_inspection{std::make_unique<MemoryDisk>(m_pMachine)};
};

} // namespace

TEST_F(InspectionTest, ShowsWhatWaitsInARunThatIsOwned)
{
    const ReportId first = MustAdd("1");
    MustAdd("2");
    m_pStore->End(first, Ending::Acknowledged);
    const auto mapBefore = m_pMachine->Files();
    const std::vector<InspectedReport> vecReports = AllInspected();
    ASSERT_EQ(vecReports.size(), 1U);
    EXPECT_EQ(vecReports[0].record.report.strBody, "2");
    EXPECT_EQ(vecReports[0].record.nSequence, 2U);
    EXPECT_EQ(m_inspection.Verify().nWaiting, 1U);
    EXPECT_EQ(m_inspection.MeasureWaiting().nWaiting, 1U);
    EXPECT_THAT(m_inspection.ListAbandoned(), IsEmpty());
    EXPECT_EQ(m_pMachine->Files(), mapBefore);
}

TEST_F(InspectionTest, ShowsWhatWaitsInARunWhoseOwnerIsGone)
{
    MustAdd("1");
    m_pStore.reset();
    const std::vector<InspectedReport> vecReports = AllInspected();
    ASSERT_EQ(vecReports.size(), 1U);
    EXPECT_THAT(m_inspection.ListAbandoned(), ElementsAre(vecReports[0].strRun));
    EXPECT_EQ(m_inspection.MeasureWaiting({vecReports[0].strRun}).nWaiting, 1U);
    EXPECT_EQ(m_inspection.MeasureWaiting({SOME_RUN}).nWaiting, 0U) << "a run that is gone";
}

TEST_F(InspectionTest, TakesNoLockToRead)
{
    MustAdd("1");
    m_pStore->Bury(MustAdd("2"), Ending::Dead, "no", 400);
    m_pStore.reset();
    m_pMachine->fnBefore = [](const std::string& strOperation, const std::string& strPath) {
        EXPECT_TRUE(strOperation == "list" || strOperation == "open to read" || strOperation == "read")
            << strOperation << " " << strPath;
        return std::error_code();
    };
    EXPECT_EQ(AllInspected().size(), 1U);
    EXPECT_EQ(m_inspection.MeasureWaiting().nWaiting, 1U);
    EXPECT_EQ(m_inspection.Measure().nDead, 1U);
    EXPECT_EQ(m_inspection.Verify().nDead, 1U);
    EXPECT_TRUE(m_inspection.ReadDead(m_inspection.ListDead().at(0)));
}

TEST_F(InspectionTest, TellsTheOldestOfAllRuns)
{
    StoreSettings settings = SmallSegments();
    EXPECT_FALSE(m_inspection.MeasureWaiting().optOldestMs);
    for (const std::int64_t nStoredMs : {3000, 1000, 2000}) {
        settings.fnWallMs = [nStoredMs] { return nStoredMs; };
        Report report = MakeReport("1");
        ASSERT_TRUE(OpenStore(m_pMachine, settings)->Add(report));
    }
    const WaitingUse use = m_inspection.MeasureWaiting();
    EXPECT_EQ(use.nWaiting, 3U);
    EXPECT_EQ(use.optOldestMs, 1000);
    EXPECT_EQ(use.strWhyNot, "");
}

TEST_F(InspectionTest, TellsWhatCanNotBeReadOfWhatWaits)
{
    MustAdd("1");
    for (const std::string strFailing : {"list", "read"}) {
        m_pMachine->fnBefore = [&](const std::string& strOperation, const std::string&) {
            return strOperation == strFailing ? std::make_error_code(std::errc::io_error) : std::error_code();
        };
        EXPECT_NE(m_inspection.MeasureWaiting().strWhyNot, "") << strFailing;
        EXPECT_NE(m_inspection.ForEachWaiting([](const InspectedReport&) { return true; }), "") << strFailing;
    }
}

TEST_F(InspectionTest, StopsWhenItIsToldTo)
{
    MustAdd("1");
    MustAdd("2");
    int nCalls = 0;
    m_inspection.ForEachWaiting([&nCalls](const InspectedReport&) { return ++nCalls > 1; });
    EXPECT_EQ(nCalls, 1);
}

TEST_F(InspectionTest, ShowsDeadLetters)
{
    m_pStore->Bury(MustAdd("1"), Ending::Dead, "the server said no", 400);
    const std::vector<std::string> vecNames = m_inspection.ListDead();
    ASSERT_EQ(vecNames.size(), 1U);
    const auto optLetter = m_inspection.ReadDead(vecNames[0]);
    ASSERT_TRUE(optLetter);
    EXPECT_EQ(optLetter->record.report.strBody, "1");
    EXPECT_EQ(optLetter->strWhy, "the server said no");
    EXPECT_EQ(optLetter->nStatus, 400);
    EXPECT_FALSE(m_inspection.ReadDead("../" + vecNames[0]));
    EXPECT_FALSE(m_inspection.ReadDead("other"));
}

TEST_F(InspectionTest, DropsADeadLetter)
{
    m_pStore->Bury(MustAdd("1"), Ending::Parked, "", 0);
    const std::string strName = m_inspection.ListDead().at(0);
    EXPECT_EQ(m_inspection.DropDead(strName), "");
    EXPECT_THAT(m_inspection.ListDead(), IsEmpty());
    EXPECT_NE(m_inspection.DropDead(strName), "");
    EXPECT_NE(m_inspection.DropDead("../runs"), "");
}

TEST_F(InspectionTest, TellsDamage)
{
    MustAdd("first");
    MustAdd("second");
    m_pStore->Bury(MustAdd("third"), Ending::Dead, "", 0);
    m_pStore.reset();
    EXPECT_THAT(m_inspection.Verify().vecDamages, IsEmpty());
    const std::string strRun = m_inspection.ListAbandoned().at(0);
    const auto mapFiles = m_pMachine->Files();
    for (auto [strFile, strContent] : mapFiles) {
        if (const std::size_t nAt = strContent.find("first"); nAt != std::string::npos) {
            strContent[nAt] = 'F';
            m_pMachine->Put(strFile, strContent + "R1 ");
        }
    }
    m_pMachine->Put("dead/letter", "junk");
    const auto mapBefore = m_pMachine->Files();
    const Verdict verdict = m_inspection.Verify();
    EXPECT_EQ(verdict.nRuns, 1U);
    EXPECT_EQ(verdict.nWaiting, 1U);
    EXPECT_EQ(verdict.nDead, 1U);
    EXPECT_EQ(verdict.nTorn, 1U);
    ASSERT_EQ(verdict.vecDamages.size(), 2U);
    EXPECT_EQ(verdict.vecDamages.front().strFile, "runs/" + strRun + "/00000001.seg");
    EXPECT_EQ(verdict.vecDamages.front().nOffset, 0U);
    EXPECT_EQ(verdict.vecDamages.back().strFile, "dead/letter");
    EXPECT_THAT(verdict.vecErrors, IsEmpty());
    EXPECT_EQ(m_pMachine->Files(), mapBefore) << "it only looks";
    m_pMachine->fnBefore = [](const std::string& strOperation, const std::string&) {
        return strOperation == "read" ? std::make_error_code(std::errc::io_error) : std::error_code();
    };
    EXPECT_EQ(m_inspection.Verify().vecErrors.size(), 3U);
}

TEST_F(InspectionTest, ShowsWhatItCanReadIfTheDiskFails)
{
    MustAdd("1");
    MustAdd("2");
    int nOperations = 0;
    for (int nFailing = 0; nFailing <= nOperations; ++nFailing) {
        nOperations = 0;
        m_pMachine->fnBefore = [&](const std::string&, const std::string&) {
            return nOperations++ == nFailing ? std::make_error_code(std::errc::io_error) : std::error_code();
        };
        std::vector<InspectedReport> vecReports;
        const std::string strWhyNot =
            m_inspection.ForEachWaiting([&vecReports](const InspectedReport& report) {
                vecReports.push_back(report);
                return true;
            });
        EXPECT_LE(vecReports.size(), 2U) << nFailing;
        EXPECT_TRUE(vecReports.size() == 2 || !strWhyNot.empty()) << "what is missing is told of";
        for (const InspectedReport& report : vecReports) {
            EXPECT_EQ(report.record.report.strBody, std::to_string(report.record.nSequence)) << nFailing;
        }
        if (nFailing == nOperations) {
            EXPECT_EQ(vecReports.size(), 2U) << "nothing failed";
        }
    }
    EXPECT_GT(nOperations, 8);
}

TEST_F(InspectionTest, TakesOnlyPlainNamesOfLetters)
{
    m_pMachine->Put("dead/.hidden", "text");
    for (const char* szName : {"", ".hidden", "../runs", "..\\runs", "a/b"}) {
        EXPECT_FALSE(m_inspection.ReadDead(szName)) << szName;
        EXPECT_NE(m_inspection.DropDead(szName), "") << szName;
    }
    EXPECT_EQ(m_pMachine->Files().count("dead/.hidden"), 1U);
    MemoryDisk(m_pMachine).MakeFolder("dead/folder");
    EXPECT_THAT(m_inspection.ListDead(), ElementsAre(".hidden")) << "a folder is no letter";
}

TEST_F(InspectionTest, TellsWhatTheDiskRefuses)
{
    m_pStore->Bury(MustAdd("1"), Ending::Dead, "no", 400);
    MustAdd("2");
    const std::string strLetter = m_inspection.ListDead().at(0);
    m_pStore.reset();
    const std::error_code REFUSED = std::make_error_code(std::errc::permission_denied);
    std::string strRefused;
    m_pMachine->fnBefore = [&](const std::string& strOperation, const std::string& strPath) {
        return strOperation + " " + strPath.substr(0, 4) == strRefused ? REFUSED : std::error_code();
    };
    strRefused = "remove file dead";
    EXPECT_EQ(m_inspection.DropDead(strLetter), REFUSED.message());
    strRefused = "list runs";
    EXPECT_THAT(m_inspection.Verify().vecErrors, ElementsAre("runs: " + REFUSED.message()));
    strRefused = "open to read dead";
    EXPECT_THAT(m_inspection.Verify().vecErrors, ElementsAre("dead/" + strLetter + ": " + REFUSED.message()));
    strRefused = "sync folder dead";
    EXPECT_EQ(m_inspection.DropDead(strLetter), REFUSED.message());
}

TEST_F(InspectionTest, TakesWhatIsGoneMeanwhileForSent)
{
    MustAdd("1");
    m_pStore->Bury(MustAdd("2"), Ending::Dead, "no", 400);
    const std::error_code GONE = std::make_error_code(std::errc::no_such_file_or_directory);
    std::string strGone;
    m_pMachine->fnBefore = [&](const std::string& strOperation, const std::string& strPath) {
        return strOperation == "open to read" && strPath.rfind(strGone, 0) == 0 ? GONE : std::error_code();
    };
    for (const char* szGone : {"runs", "dead"}) {
        strGone = szGone;
        EXPECT_EQ(m_inspection.ForEachWaiting([](const InspectedReport&) { return true; }), "") << szGone;
        EXPECT_EQ(m_inspection.MeasureWaiting().strWhyNot, "") << szGone;
        EXPECT_THAT(m_inspection.Verify().vecErrors, IsEmpty()) << szGone;
        EXPECT_THAT(m_inspection.Verify().vecDamages, IsEmpty()) << szGone;
    }
}

TEST_F(InspectionTest, CountsWhatWaitsEvenIfItsAgeCanNotBeRead)
{
    MustAdd("1");
    int nReads = 0;
    const auto FailFrom = [&](const std::string& strFailing, int nFirst) {
        nReads = 0;
        m_pMachine->fnBefore = [&nReads, strFailing, nFirst](const std::string& strOperation,
                                                             const std::string&) {
            return strOperation == strFailing && ++nReads >= nFirst
                       ? std::make_error_code(std::errc::io_error)
                       : std::error_code();
        };
    };
    for (const std::string strFailing : {"open to read", "read"}) {
        FailFrom(strFailing, 1'000'000);
        ASSERT_TRUE(m_inspection.MeasureWaiting().optOldestMs);
        FailFrom(strFailing, nReads); // the last one is that of the record
        const WaitingUse use = m_inspection.MeasureWaiting();
        EXPECT_EQ(use.nWaiting, 1U) << strFailing;
        EXPECT_FALSE(use.optOldestMs) << strFailing;
    }
}

TEST_F(InspectionTest, CountsARunAsAbandonedWhoseLockCanNotBeTried)
{
    MustAdd("1");
    EXPECT_THAT(m_inspection.ListAbandoned(), IsEmpty()) << "it has an owner";
    m_pMachine->fnBefore = [](const std::string& strOperation, const std::string&) {
        return strOperation == "lock" ? std::make_error_code(std::errc::permission_denied)
                                      : std::error_code();
    };
    EXPECT_EQ(m_inspection.ListAbandoned().size(), 1U);
}
