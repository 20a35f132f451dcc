// The environment must have no effect on a host that runs with rights that its caller lacks.

#include "HostProcess.h"
#include "LogFolder.h"
#include "OwnMounts.h"
#include "RaisedCopy.h"
#include "ScriptedServer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

namespace
{

class WithRaisedRights : public testing::Test
{
protected:
    explicit WithRaisedRights(const char* szProgram) : m_copy(szProgram)
    {
        for (const char* szName :
             {"http_proxy", "https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY", "no_proxy", "NO_PROXY"}) {
            ::unsetenv(szName);
        }
    }

    void SetUp() override
    {
        if (!m_copy.WhyNot().empty()) {
            GTEST_SKIP() << m_copy.WhyNot();
        }
        const std::vector<std::string> vecWhether = Run({"whether"});
        ASSERT_THAT(vecWhether, SizeIs(1)) << "the host does not run";
        if (vecWhether.front() != "raised") {
            GTEST_SKIP() << "the system gives no program raised rights here";
        }
    }

    /// @return what the host prints
    std::vector<std::string> Run(const std::vector<std::string>& vecArguments) const
    {
        const Departure departure = Watch(m_copy.Program(), vecArguments);
        EXPECT_TRUE(departure.bInTime);
        EXPECT_EQ(departure.nStatus, 0);
        return departure.vecLines;
    }

private:
    const RaisedCopy m_copy;

protected:
    const LogFolder m_folder; ///< of the environment
};

/// The mode in octal digits.
std::string Mode(const fs::path& path)
{
    struct stat status {
    };
    EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
    char text[8];
    std::snprintf(text, sizeof text, "%04o", status.st_mode & 07777U);
    return text;
}

} // namespace

class LogWithRaisedRights : public WithRaisedRights
{
protected:
    LogWithRaisedRights() : WithRaisedRights(RAISED_LOG_HOST)
    {
        for (const char* szName : {"HOME", "XDG_STATE_HOME"}) {
            ::setenv(szName, m_folder.Path().c_str(), 1);
        }
    }
};

TEST_F(LogWithRaisedRights, IsInAFolderOfTheSystem)
{
    EXPECT_THAT(Run({"folder"}), ElementsAre("/var/log/ktshttpagent"));
    EXPECT_TRUE(fs::is_empty(m_folder.Path()));
}

TEST_F(LogWithRaisedRights, IsWrittenThereWhateverTheEnvironmentSays)
{
    if (::geteuid() != 0) {
        GTEST_SKIP()
            << "only root can write there, and mount another folder there for a program with raised rights";
    }
    if (const std::string strWhyNot = OwnMounts(); !strWhyNot.empty()) {
        GTEST_SKIP() << strWhyNot;
    }
    if (Run({"whether"}) != std::vector<std::string>{"raised"}) {
        GTEST_SKIP() << "the system gives no program raised rights in a separate namespace";
    }
    const LogFolder system;
    ASSERT_EQ(PutInPlaceOf("/var/log", system.Path()), "");
    ::setenv("CLOG_DIR", m_folder.Path().c_str(), 1);
    ::setenv("CLOG_LEVEL", "0", 1);
    Run({"write"});
    EXPECT_EQ(Mode("/var/log/ktshttpagent"), "0700");
    EXPECT_EQ(Mode("/var/log/ktshttpagent/ktshttpagent.log"), "0600");
    EXPECT_TRUE(fs::is_empty(m_folder.Path()));
}

class TransportWithRaisedRights : public WithRaisedRights
{
protected:
    TransportWithRaisedRights() : WithRaisedRights(RAISED_TRANSPORT_HOST) {}

    const ScriptedServer m_server{Reply("from the server")};
    const ScriptedServer m_proxy{Reply("from the proxy")};

private:
    static ServerStep Reply(const std::string& strBody)
    {
        ServerStep step;
        step.strReply = HttpReply(200, strBody);
        return step;
    }
};

class TransportProxyWithRaisedRights : public TransportWithRaisedRights,
                                       public testing::WithParamInterface<const char*>
{
};

TEST_P(TransportProxyWithRaisedRights, IsNotTakenFromTheEnvironment)
{
    ::setenv(GetParam(), m_proxy.Url("").c_str(), 1);
    EXPECT_THAT(Run({"get", m_server.Url("/")}), ElementsAre("0 from the server"));
    EXPECT_THAT(m_proxy.Requests(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Variables, TransportProxyWithRaisedRights,
                         testing::Values("http_proxy", "all_proxy", "ALL_PROXY"),
                         [](const auto& variable) { return std::string(variable.param); });

TEST_F(TransportWithRaisedRights, TakesNoSettingFromTheEnvironment)
{
    ::setenv("CHTTPCLIENT_MAX_REPLY_BYTES", "1", 1);
    EXPECT_THAT(Run({"get", m_server.Url("/")}), ElementsAre("0 from the server"));
}

class TransportTlsProxyWithRaisedRights : public TransportProxyWithRaisedRights
{
};

// Nobody listens there, so there is no answer; the test checks that no proxy was asked.
TEST_P(TransportTlsProxyWithRaisedRights, IsNotTakenFromTheEnvironment)
{
    ::setenv(GetParam(), m_proxy.Url("").c_str(), 1);
    const auto nPort = ScriptedServer(ServerStep{}).Port();
    EXPECT_THAT(Run({"get", "https://127.0.0.1:" + std::to_string(nPort) + "/"}), SizeIs(1));
    EXPECT_THAT(m_proxy.Requests(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Variables, TransportTlsProxyWithRaisedRights,
                         testing::Values("https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"),
                         [](const auto& variable) { return std::string(variable.param); });

// libcurl opens the file when it is initialised, and writes its session keys to it.
TEST_F(TransportWithRaisedRights, WritesNoKeysForItsCaller)
{
    const fs::path keys = m_folder.Path() / "keys";
    ::setenv("SSLKEYLOGFILE", keys.c_str(), 1);
    EXPECT_THAT(Run({"get", m_server.Url("/")}), SizeIs(1));
    EXPECT_FALSE(fs::exists(keys));
}

#if defined(RAISED_QT_HOST)

class QtWithRaisedRights : public WithRaisedRights
{
protected:
    QtWithRaisedRights() : WithRaisedRights(RAISED_QT_HOST)
    {
        ::setenv("http_proxy", m_proxy.Url("").c_str(), 1);
    }

    /// This machine, at an address that Qt does not recognise as local.
    std::string ServerUrl() const { return "http://0.0.0.0:" + std::to_string(m_server.Port()) + "/"; }

    const ServerStep m_yes{HttpReply(200, "{}")};
    const ScriptedServer m_server{m_yes};
    const ScriptedServer m_proxy{m_yes};
};

TEST_F(QtWithRaisedRights, ReadsTheEndpointSettingsOfTheMachine)
{
    ::setenv("KTSHTTPAGENT_SETTINGS_ROOT", m_folder.Path().c_str(), 1);
    EXPECT_THAT(Run({"setting"}), ElementsAre(StartsWith("/etc/xdg/ktshttpagent/")));
}

TEST_F(QtWithRaisedRights, AsksNoProxyOfTheEnvironment)
{
    EXPECT_THAT(Run({"get", ServerUrl()}), ElementsAre("answered"));
    EXPECT_THAT(m_proxy.Requests(), IsEmpty());
    EXPECT_THAT(m_server.Requests(), SizeIs(1));
}

TEST_F(QtWithRaisedRights, DownloadsByNoProxyOfTheEnvironment)
{
    EXPECT_THAT(Run({"download", ServerUrl(), (m_folder.Path() / "file").string()}), ElementsAre("answered"));
    EXPECT_THAT(m_proxy.Requests(), IsEmpty());
    EXPECT_THAT(m_server.Requests(), SizeIs(1));
}

TEST_F(QtWithRaisedRights, AsksTheProxyThatItsHostNames)
{
    const ScriptedServer named{m_yes};
    EXPECT_THAT(Run({"get", ServerUrl(), std::to_string(named.Port())}), ElementsAre("answered"));
    EXPECT_THAT(named.Requests(), SizeIs(1));
    EXPECT_THAT(m_server.Requests(), IsEmpty());
}

#endif
