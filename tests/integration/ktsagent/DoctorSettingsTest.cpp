// What "ktsagent doctor" says about the site's settings, which are files here, and about the log.

#include "DoctorProcess.h"
#include "ScriptedServer.h"

#include <fstream>

using testing::HasSubstr;

namespace
{

constexpr const char* PLUGIN = "HKEY_LOCAL_MACHINE/SOFTWARE/ZORVAL/BRELK/KTSStartPlugin";
constexpr const char* NOBODY = "127.0.0.1:9"; // the stages before the connection do not need a server

class DoctorOfSettings : public DoctorProcess
{
protected:
    std::string WriteProfile(const std::string& strText) const
    {
        return WriteFile(QString(PLUGIN) + ".ini", strText).toStdString();
    }
};

/// With the transport's settings for blocking calls.
class DoctorOfEqualSettings : public DoctorProcess
{
protected:
    DoctorOfEqualSettings()
    {
        qunsetenv("no_proxy");
        qputenv("KTSHTTPAGENT_SYNC_SETTINGS", "transport");
    }
};

class DoctorOfTheLog : public DoctorProcess
{
protected:
    KtsagentRun ExamineWithout(std::initializer_list<const char*> lstVariables) const
    {
        for (const char* szName : lstVariables) {
            qunsetenv(szName);
        }
        return Examine(NOBODY);
    }
};

} // namespace

TEST_F(DoctorOfSettings, FindsTheLineThatBreaksAFile)
{
    const std::string strFile =
        WriteProfile("; the paths\nHttpUrlGetSupportVer=api/ver\nHttpUrlGetSyxm api/p\n");
    const KtsagentRun run = Examine(NOBODY);
    ExpectFailure(run, "settings", strFile + ", line 3, can't be parsed");
    EXPECT_THAT(run.strOut, testing::Not(HasSubstr("api/ver"))); // it is not in force
}

TEST_F(DoctorOfSettings, FindsAMisspeltName)
{
    WriteProfile("HttpUrlGetSuportVer=api/ver\n");
    ExpectFailure(Examine(NOBODY), "settings", "it is probably a misspelt \"HttpUrlGetSupportVer\"");
}

TEST_F(DoctorOfSettings, FindsANameWithALetterTooMuch)
{
    WriteProfile("HttpUrlGetSupportVerr=api/ver\n");
    ExpectFailure(Examine(NOBODY), "settings", "it is probably a misspelt \"HttpUrlGetSupportVer\"");
}

TEST_F(DoctorOfSettings, FindsAFolderInThePlaceOfAFile)
{
    std::filesystem::create_directories(m_folder.filePath(QString(PLUGIN) + ".ini").toStdString());
    ExpectFailure(Examine(NOBODY), "settings", "can't be read; nothing in it is in force.");
}

TEST_F(DoctorOfSettings, FindsANameThatStandsInASection)
{
    WriteProfile("[Paths]\nHttpUrlGetSupportVer=api/ver\n");
    ExpectFailure(Examine(NOBODY), "settings",
                  "\"Paths/HttpUrlGetSupportVer\" in " + m_folder.path().toStdString());
}

TEST_F(DoctorOfSettings, OnlyWarnsOfANameThatResemblesNone)
{
    WriteProfile("Colour=blue\n");
    const KtsagentRun run = Examine(NOBODY);
    ExpectFailure(run, "connection", "accepts no connection");
    EXPECT_THAT(Sentences(run.Object(), "settings", "warning"), HasSubstr("\"Colour\" in "));
}

TEST_F(DoctorOfSettings, FindsAValueOfUseTlsThatIsNoWord)
{
    WriteProfile("UseTls=perhaps\n");
    const KtsagentRun run = Examine(NOBODY);
    ExpectFailure(run, "settings", "UseTls is \"perhaps\", not one of 1, true, on, yes");
    EXPECT_EQ(run.Object()["server"], "https://127.0.0.1:9/");
}

TEST_F(DoctorOfSettings, NamesTheValuesInForceAndTheirFile)
{
    const std::string strFile = WriteProfile("HttpUrlGetSupportVer=api/ver\n");
    const std::string strSaid = Sentences(Examine(NOBODY).Object(), "settings", "ok");
    EXPECT_THAT(strSaid, HasSubstr("HttpUrlGetSupportVer is \"api/ver\", from " + strFile));
    EXPECT_THAT(strSaid, HasSubstr(strFile + " is read."));
}

// Qt itself does not read this variable.
TEST_F(DoctorOfEqualSettings, FindsADeadProxyOfBothInterfaces)
{
    const RefusingPort port;
    qputenv("all_proxy", "http://user:secret@" + Loopback(port.Port()).toLatin1());

    const KtsagentRun run = Examine("laboratory.invalid:80");

    const std::string strUses = " uses the proxy http://" + Loopback(port.Port()).toStdString() +
                                " (variable all_proxy); no connection to it can be made";
    ExpectFailure(run, "proxy", "The asynchronous interface (libcurl)" + strUses);
    ExpectFailure(run, "proxy", "The blocking interface (Qt)" + strUses);
    EXPECT_EQ(run.strOut.find("secret"), std::string::npos);
}

TEST_F(DoctorOfEqualSettings, FindsADeadProxyOfBothWithQtsOwnSettingsToo)
{
    qunsetenv("KTSHTTPAGENT_SYNC_SETTINGS");
    const RefusingPort port;
    qputenv("http_proxy", "http://user:secret@" + Loopback(port.Port()).toLatin1());

    const KtsagentRun run = Examine("laboratory.invalid:80");

    const std::string strProxy = Loopback(port.Port()).toStdString();
    ExpectFailure(run, "proxy", "(libcurl) uses the proxy http://" + strProxy + " (variable http_proxy); ");
    ExpectFailure(run, "proxy", "(Qt) uses the proxy " + strProxy + " (the system's, as Qt finds it); ");
    EXPECT_EQ(run.strOut.find("secret"), std::string::npos);
}

TEST_F(DoctorOfEqualSettings, AsksThroughTheProxyOnBothInterfaces)
{
    const ScriptedServer proxy(ServerStep{HttpReply(200, R"({"success":true,"code":0})")});
    qputenv("all_proxy", Loopback(proxy.Port()).toLatin1());

    const KtsagentRun run = Examine("laboratory.invalid:80", {"--paths", "support-ver"});

    EXPECT_THAT(Sentences(run.Object(), "paths", "ok"), HasSubstr("on both interfaces"));
    EXPECT_EQ(Sentences(run.Object(), "proxy", "warning"), "");
}

TEST_F(DoctorOfEqualSettings, FindsADeadSocksProxy)
{
    const RefusingPort port;
    qputenv("all_proxy", "socks5://" + Loopback(port.Port()).toLatin1());
    ExpectFailure(Examine("laboratory.invalid:80"), "proxy",
                  "The blocking interface (Qt) uses the proxy socks5://" +
                      Loopback(port.Port()).toStdString() + " (variable all_proxy); ");
}

TEST_F(DoctorOfEqualSettings, TrustsTheSystemsAuthoritiesWithoutAFileOfOthers)
{
    const ScriptedServer server(ServerStep{"no TLS", ServerStep::Ending::Close});
    ExpectFailure(Examine("https://" + Loopback(server.Port()), {"--timeout", "6000"}), "tls",
                  "The blocking interface (Qt) makes no TLS connection: ");
}

TEST_F(DoctorOfEqualSettings, FindsAProxyThatQtDoesNotKnow)
{
    const RefusingPort port;
    qputenv("http_proxy", "socks4://" + Loopback(port.Port()).toLatin1());
    ExpectFailure(Examine("laboratory.invalid:80"), "proxy",
                  "The blocking interface (Qt) can't use the proxy socks4://" +
                      Loopback(port.Port()).toStdString() +
                      " (variable http_proxy): Qt does not know this kind of proxy.");
}

TEST_F(DoctorOfTheLog, FindsAFolderThatCantBeMade)
{
    const std::string strFile = WriteFile("file", "").toStdString();
    qputenv("CLOG_DIR", QByteArray::fromStdString(strFile + "/log"));
    ExpectFailure(Examine(NOBODY), "log", "can't be written: " + strFile + " is not a folder");
}

TEST_F(DoctorOfTheLog, FindsAnotherThingInThePlaceOfTheFile)
{
    std::filesystem::create_symlink("/dev/null", m_log.File());
    ExpectFailure(Examine(NOBODY), "log", "ktshttpagent.log is not a regular file");
}

TEST_F(DoctorOfTheLog, FindsAFolderInThePlaceOfTheFile)
{
    std::filesystem::create_directory(m_log.File());
    ExpectFailure(Examine(NOBODY), "log", "ktshttpagent.log is not a regular file");
}

TEST_F(DoctorOfTheLog, FindsAFolderInWhichNothingCanBeMade)
{
    qputenv("CLOG_DIR", "/proc"); // not even by the administrator
    ExpectFailure(Examine(NOBODY), "log", "can't be written: nothing can be made in /proc (");
}

TEST_F(DoctorOfTheLog, PassesAFolderWithoutALog)
{
    qputenv("CLOG_LEVEL", "0");
    EXPECT_THAT(Sentences(Examine(NOBODY).Object(), "log", "ok"), HasSubstr("its files take 0 KiB"));
    EXPECT_FALSE(std::filesystem::exists(m_log.File()));
}

TEST_F(DoctorOfTheLog, WarnsIfThereIsNotEnoughRoom)
{
    qputenv("CLOG_FILE_BYTES", "1000000000000");
    qputenv("CLOG_FILES", "1000");
    EXPECT_THAT(Sentences(Examine(NOBODY).Object(), "log", "warning"), HasSubstr(" are free."));
}

TEST_F(DoctorOfTheLog, FindsThatThereIsNoHome)
{
    ExpectFailure(ExamineWithout({"CLOG_DIR", "XDG_STATE_HOME", "HOME"}), "log", "HOME is not set");
}

TEST_F(DoctorOfTheLog, FindsThatTheHomeIsNoFolder)
{
    qputenv("HOME", "/dev/null");
    ExpectFailure(ExamineWithout({"CLOG_DIR", "XDG_STATE_HOME"}), "log", "/dev/null is not a folder");
}

TEST_F(DoctorOfTheLog, SaysHowMuchItTakes)
{
    std::ofstream(m_log.File(1)) << std::string(std::size_t{3} * 1024 * 1024, 'x');
    EXPECT_THAT(Sentences(Examine(NOBODY).Object(), "log", "ok"), HasSubstr("its files take 3 MiB"));
}
