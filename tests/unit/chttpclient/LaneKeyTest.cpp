#include "platform/chttpclient/LaneKey.h"

#include <gtest/gtest.h>

namespace
{

using chttpclient::LaneKey;

TEST(LaneKey, IsTheServerAlone)
{
    for (const char* szUrl : {"http://host", "http://host/", "http://host?x", "http://host#x",
                              "http://host?t=a://b/c", "http://user:p@ss@host/x", "http://host/x@y"}) {
        EXPECT_EQ(LaneKey(szUrl), "http://host") << szUrl;
    }
    EXPECT_EQ(LaneKey("http://host:8080/a/b?u=http://other/"), "http://host:8080");
    EXPECT_EQ(LaneKey("http://user@[::1]:8080"), "http://[::1]:8080");
}

TEST(LaneKey, IsTheSameInOtherLetters)
{
    EXPECT_EQ(LaneKey("HTTP://Host/x"), "http://host");
    EXPECT_EQ(LaneKey("http://[FE80::80]/x"), "http://[fe80::80]");
    EXPECT_EQ(LaneKey("Z9+x-y.a://host/x"), "z9+x-y.a://host");
}

TEST(LaneKey, LacksTheDefaultPort)
{
    EXPECT_EQ(LaneKey("http://host:80/x"), "http://host");
    EXPECT_EQ(LaneKey("http://host:/x"), "http://host");
    EXPECT_EQ(LaneKey("http://host:443/x"), "http://host:443");
    EXPECT_EQ(LaneKey("https://host:443/x"), "https://host");
    EXPECT_EQ(LaneKey("https://host:80/x"), "https://host:80");
    EXPECT_EQ(LaneKey("http://[::1]:80/x"), "http://[::1]");
}

TEST(LaneKey, IsEmptyForWhatIsNoUrl)
{
    EXPECT_EQ(LaneKey("host:80/x"), "");
    EXPECT_EQ(LaneKey(""), "");
}

} // namespace
