// Servers named by host and port, as used by a host of the SDK without the agent.

#include "SdkFixture.h"

#include "sdk/ServerUrl.h"

namespace
{

std::string UrlOf(const char* szHost, int nPort)
{
    IVelClientSDk& client = *VelCSDK::SDKFactory::GetInstance();
    client.SetServerAddr(szHost, nPort);
    client.GetUserInfo(1);
    std::string strUrl = RecordingTransport::Instance().vecRequests.back().strUrl;
    RecordingTransport::Instance().ReplyAll("{}", 0);
    return strUrl;
}

} // namespace

TEST(ServerUrl, IsPlainWhereTheEnvironmentSaysNothing)
{
    unsetenv("KTSHTTPAGENT_TLS");
    EXPECT_EQ(UrlOf("h", 80), "http://h:80/posts/1");
    EXPECT_EQ(VelCSDK::ServerUrl("", -1), "http://:-1/");
    EXPECT_EQ(VelCSDK::TlsOfEnvironment(), std::nullopt);
}

TEST(ServerUrl, IsEncryptedWhereTheEnvironmentAsksForIt)
{
    setenv("KTSHTTPAGENT_TLS", "Yes", 1);
    EXPECT_EQ(UrlOf("[::1]", 8443), "https://[::1]:8443/posts/1");
    EXPECT_EQ(VelCSDK::ServerUrl("", -1), "https://:-1/");
    EXPECT_TRUE(RecordedLog().empty());
}

TEST(ServerUrl, IsEncryptedWhereTheEnvironmentCannotBeRead)
{
    setenv("KTSHTTPAGENT_TLS", "disabled", 1);
    EXPECT_EQ(UrlOf("h", 80), "https://h:80/posts/1");
    EXPECT_EQ(UrlOf("h", 80), "https://h:80/posts/1");
    EXPECT_EQ(RecordedLog(),
              (std::vector<RecordedLine>{{1, "VelCSDK::ReadTlsSwitch", 1,
                                          "KTSHTTPAGENT_TLS is \"disabled\", not one of 1, true, on, yes, 0, "
                                          "false, off, no; TLS is on"}}));
}

TEST(ServerUrl, KeepsToWhatTheEnvironmentSaidFirst)
{
    setenv("KTSHTTPAGENT_TLS", "1", 1);
    EXPECT_EQ(UrlOf("h", 80), "https://h:80/posts/1");
    setenv("KTSHTTPAGENT_TLS", "0", 1);
    EXPECT_EQ(UrlOf("h", 80), "https://h:80/posts/1");
}

TEST(ServerUrl, OfACallerThatNamesItWholeIsLeftAlone)
{
    setenv("KTSHTTPAGENT_TLS", "1", 1);
    IVelClientSDk& client = *VelCSDK::SDKFactory::GetInstance();
    client.SetServerUrl("http://srv/");
    client.GetUserInfo(1);
    EXPECT_EQ(RecordingTransport::Instance().vecRequests.back().strUrl, "http://srv/posts/1");
    RecordingTransport::Instance().ReplyAll("{}", 0);
}
