// What "ktsagent doctor" says about the outbox.

#include "DoctorProcess.h"

#include "labserver/LabServer.h"
#include "outbox/Disk.h"
#include "outbox/Store.h"

#include <chrono>
#include <filesystem>
#include <fstream>

using testing::AllOf;
using testing::HasSubstr;

namespace
{

class DoctorOfTheOutbox : public DoctorProcess
{
protected:
    DoctorOfTheOutbox() : m_strFolder(m_folder.filePath("outbox"))
    {
        qputenv("KTSHTTPAGENT_OUTBOX", m_strFolder.toUtf8());
    }

    /// Stores a report, and buries it if it shall be a dead letter.
    void Leave(const std::string& strUrl, std::chrono::milliseconds age, bool bDead = false) const
    {
        std::string strWhyNot;
        auto pDisk = outbox::OpenDisk(std::filesystem::u8path(m_strFolder.toStdString()), strWhyNot);
        ASSERT_NE(pDisk, nullptr) << strWhyNot;
        const auto now = std::chrono::system_clock::now().time_since_epoch();
        outbox::StoreSettings settings;
        settings.fnWallMs = [nMs = std::chrono::duration_cast<std::chrono::milliseconds>(now - age).count()] {
            return nMs;
        };
        outbox::Store store(std::move(pDisk), std::move(settings));
        outbox::Report report;
        report.nType = 3102;
        report.strUrl = strUrl;
        report.strBody = "{}";
        const auto id = store.Add(report);
        ASSERT_TRUE(id);
        EXPECT_TRUE(!bDead || store.Bury(*id, outbox::Ending::Dead, "the server said no", 400));
    }

    std::string Says(const QString& strMark) const
    {
        const KtsagentRun run = Examine("127.0.0.1:9", {"--timeout", "500"});
        return Sentences(run.Object(), "outbox", strMark);
    }

    const QString m_strFolder;
};

} // namespace

TEST_F(DoctorOfTheOutbox, SaysThatThereIsNone)
{
    qunsetenv("KTSHTTPAGENT_OUTBOX");
    EXPECT_EQ(Says("ok"), "There is no outbox: each report is sent once.");
}

TEST_F(DoctorOfTheOutbox, MakesNoFolder)
{
    EXPECT_THAT(Says("ok"), HasSubstr("does not exist yet; the first host makes it."));
    EXPECT_FALSE(QFileInfo::exists(m_strFolder));
}

TEST_F(DoctorOfTheOutbox, FindsAFileInItsPlace)
{
    std::ofstream(m_strFolder.toStdString()) << "no folder";
    ExpectFailure(Examine("127.0.0.1:9", {"--timeout", "500"}), "outbox", "is not a folder");
}

TEST_F(DoctorOfTheOutbox, FindsAFolderThatIsNone)
{
    QDir().mkpath(m_strFolder);
    ExpectFailure(Examine("127.0.0.1:9", {"--timeout", "500"}), "outbox", "is no outbox");
}

TEST_F(DoctorOfTheOutbox, CountsWhatWaits)
{
    Leave("http://127.0.0.1:9/x", std::chrono::seconds(30));
    Leave("http://127.0.0.1:9/x", std::chrono::seconds(0));
    EXPECT_THAT(Says("ok"), HasSubstr(" 2 reports wait for the server, the oldest for 3"));
    EXPECT_EQ(Says("warning"), "");
}

TEST_F(DoctorOfTheOutbox, CountsNothingInAnEmptyOne)
{
    Leave("http://127.0.0.1:9/x", std::chrono::seconds(0), true);
    EXPECT_THAT(Says("ok"), HasSubstr(" 0 reports wait for the server."));
}

TEST_F(DoctorOfTheOutbox, WarnsOfDamage)
{
    Leave("http://127.0.0.1:9/x", std::chrono::seconds(0));
    WriteFile("outbox/bad/piece.bin", "damaged");
    EXPECT_EQ(Says("warning"), "1 damaged piece was set aside.");
}

TEST_F(DoctorOfTheOutbox, SaysWhatItCanNotRead)
{
    Leave("http://127.0.0.1:9/x", std::chrono::seconds(0));
    const QString strRun = QDir(m_strFolder + "/runs").entryList(QDir::Dirs | QDir::NoDotAndDotDot).value(0);
    WriteFile("outbox/runs/" + strRun + "/00000002.seg/file", "a folder in the place of a segment");
    EXPECT_THAT(Says("FAILED"), HasSubstr("Not all of it can be read: runs/" + strRun.toStdString() + ": "));
}

TEST_F(DoctorOfTheOutbox, WarnsOfALongWaitAndOfDeadLetters)
{
    Leave("http://127.0.0.1:9/x", std::chrono::hours(1));
    Leave("http://127.0.0.1:9/x", std::chrono::seconds(0), true);
    EXPECT_THAT(Says("warning"), AllOf(HasSubstr(" 1 report waits for the server, the oldest for 36"),
                                       HasSubstr("1 report is a dead letter.")));
}

TEST_F(DoctorOfTheOutbox, SendsNoReportThatWaitsThere)
{
    LabServer server;
    const std::string strServer = "127.0.0.1:" + std::to_string(server.Start());
    Leave("http://" + strServer + "/vomd/system/incubatorStatus.action", std::chrono::seconds(0));
    const KtsagentRun run = Examine(QString::fromStdString(strServer));
    EXPECT_THAT(Sentences(run.Object(), "outbox", "ok"), HasSubstr(" 1 report waits"));
    for (const LabExchange& exchange : server.Exchanges()) {
        EXPECT_NE(exchange.strMethod, "POST") << exchange.strTarget;
    }
    EXPECT_THAT(Says("ok"), HasSubstr(" 1 report waits")) << "and it waits still";
}
