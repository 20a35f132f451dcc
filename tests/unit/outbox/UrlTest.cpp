#include "outbox/Url.h"
#include "outbox/Credentials.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

using outbox::Address;
using outbox::Credentials;
using outbox::IsHttp;
using outbox::ReadAddress;
using outbox::WithUserInfo;

TEST(ReadAddress, TakesUserNameAndPasswordOut)
{
    const Address parts = ReadAddress("HTTP://bob:p@ss@Lab:8080/a/B?x=http://c@d#e").value();
    EXPECT_EQ(parts.strServer, "http://lab:8080");
    EXPECT_EQ(parts.strPlace, "http://lab:8080/a/B");
    EXPECT_EQ(parts.strBare, "HTTP://Lab:8080/a/B?x=http://c@d#e");
    EXPECT_EQ(parts.strUserInfo, "bob:p@ss");
}

TEST(ReadAddress, LeavesAURLWithoutThemAsItIs)
{
    const Address parts = ReadAddress("https://lab/report.action").value();
    EXPECT_EQ(parts.strBare, "https://lab/report.action");
    EXPECT_EQ(parts.strUserInfo, "");
    EXPECT_EQ(parts.strPlace, "https://lab/report.action");
}

TEST(IsHttp, KnowsTheSchemeInAnyCase)
{
    EXPECT_TRUE(IsHttp("HTTP://lab/x"));
    EXPECT_TRUE(IsHttp("https://lab/x"));
    EXPECT_FALSE(IsHttp("ftp://lab/x"));
    EXPECT_FALSE(IsHttp("httpx://lab/x"));
    EXPECT_FALSE(IsHttp("http"));
}

TEST(ReadAddress, FindsTheEndOfTheServerWithoutAPath)
{
    EXPECT_EQ(ReadAddress("http://lab?x=1").value().strPlace, "http://lab");
    EXPECT_EQ(ReadAddress("http://a:b@lab#f").value().strBare, "http://lab#f");
    EXPECT_EQ(ReadAddress("http://@lab/").value().strBare, "http://lab/");
}

TEST(ReadAddress, RefusesWhatHasNoScheme)
{
    for (const char* szUrl :
         {"", "lab/report", "bob:secret@lab/report", "://lab", "/a://b", "bob:secret@x://y"}) {
        EXPECT_FALSE(ReadAddress(szUrl).has_value()) << szUrl;
    }
}

TEST(WithUserInfo, PutsThemBack)
{
    EXPECT_EQ(WithUserInfo("http://lab/x", "bob:p@ss"), "http://bob:p@ss@lab/x");
    EXPECT_EQ(WithUserInfo("http://lab/x", ""), "http://lab/x");
    EXPECT_EQ(WithUserInfo("lab/x", "bob"), "lab/x");
}

TEST(Credentials, AreThoseThatTheServerHadLast)
{
    Credentials credentials;
    EXPECT_EQ(credentials.Complete("http://lab/x"), "http://lab/x");
    credentials.Remember("http://lab", "bob:1");
    credentials.Remember("http://lab", "bob:2");
    credentials.Remember("http://lab", "");
    EXPECT_EQ(credentials.Complete("http://LAB/x"), "http://bob:2@LAB/x");
    EXPECT_EQ(credentials.Complete("https://lab/x"), "https://lab/x");
    EXPECT_EQ(credentials.Complete("http://lab:81/x"), "http://lab:81/x");
    EXPECT_EQ(credentials.Complete("no url"), "no url");
}

TEST(Credentials, AreRememberedForALimitedNumberOfServers)
{
    Credentials credentials;
    for (std::size_t nServer = 0; nServer < Credentials::MOST_SERVERS + 1; ++nServer) {
        credentials.Remember("http://s" + std::to_string(nServer), "bob:1");
    }
    credentials.Remember("http://s0", "bob:2");
    const std::string strLast = "http://s" + std::to_string(Credentials::MOST_SERVERS) + "/";
    EXPECT_EQ(credentials.Complete("http://s0/"), "http://bob:2@s0/");
    EXPECT_EQ(credentials.Complete(strLast), strLast);
}

} // namespace
