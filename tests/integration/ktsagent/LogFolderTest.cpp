// The log is where ktsagent says that it is.

#include "KtsagentProcess.h"
#include "ScriptedServer.h"

#include <gmock/gmock.h>

#include <filesystem>

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

namespace
{

class NamedLogFolder : public KtsagentProcess
{
protected:
    NamedLogFolder()
    {
        for (const char* szName : {"CLOG_DIR", "XDG_STATE_HOME", "HOME"}) {
            qunsetenv(szName);
        }
    }

    /// Runs a request that fails, which is logged.
    /// @return what it prints for the user
    std::string Fail() const
    {
        const RefusingPort port;
        const KtsagentRun run = Run({"support-ver", "--server", Loopback(port.Port()), "--t", "1"});
        EXPECT_EQ(run.nExit, 1) << run.strErr;
        return run.strErr;
    }

    void ExpectLog(const QString& strFolder) const
    {
        const std::string strPath = m_folder.filePath(strFolder).toStdString();
        EXPECT_THAT(Fail(), EndsWith(" (log: " + strPath + ")\n"));
        EXPECT_TRUE(std::filesystem::exists(strPath + "/ktshttpagent.log"));
    }
};

} // namespace

TEST_F(NamedLogFolder, IsTheOneOfTheEnvironment)
{
    qputenv("CLOG_DIR", m_folder.filePath("named").toUtf8());
    ExpectLog("named");
}

TEST_F(NamedLogFolder, IsBelowTheStateFolder)
{
    qputenv("XDG_STATE_HOME", m_folder.filePath("state").toUtf8());
    qputenv("HOME", m_folder.filePath("home").toUtf8());
    ExpectLog("state/ktshttpagent");
}

TEST_F(NamedLogFolder, IsBelowTheHomeFolderWhenTheStateFolderIsRelative)
{
    qputenv("XDG_STATE_HOME", "relative/state");
    qputenv("HOME", m_folder.path().toUtf8());
    ExpectLog(".local/state/ktshttpagent");
}

TEST_F(NamedLogFolder, IsNotNamedWhenTheEnvironmentHasNone)
{
    const std::string strSaid = Fail();
    EXPECT_THAT(strSaid, HasSubstr("set CLOG_DIR"));
    EXPECT_THAT(strSaid, Not(HasSubstr("(log: ")));
}

TEST_F(NamedLogFolder, IsSaidToBeMissingWhenItCantBeMade)
{
    qputenv("HOME", "/dev/null");
    const std::string strSaid = Fail();
    EXPECT_THAT(strSaid,
                EndsWith(" (there is no log: /dev/null/.local/state/ktshttpagent can't be written; set "
                         "CLOG_DIR)\n"));
}

// Such a log writes to a place of its own, and may lack the function that only ktsagent calls.
TEST_F(NamedLogFolder, IsNotNamedWhenTheLogIsASitesOwn)
{
    qputenv("LD_LIBRARY_PATH", OWN_LOG_FOLDER);
    const std::string strSaid = Fail();
    EXPECT_THAT(strSaid, HasSubstr("a log of the site's own: "));
    EXPECT_THAT(strSaid, Not(HasSubstr("(log: ")));
}

TEST_F(NamedLogFolder, IsUnknownToTheDoctorWhenTheLogIsASitesOwn)
{
    qputenv("LD_LIBRARY_PATH", OWN_LOG_FOLDER);
    const KtsagentRun run = Run({"doctor", "--server", "127.0.0.1:9", "--timeout", "500"});
    EXPECT_THAT(run.strOut, HasSubstr("libclog, the log, is a site's own: " OWN_LOG_FOLDER));
    EXPECT_THAT(run.strOut, HasSubstr("The log is a site's own and does not tell its folder."));
}
