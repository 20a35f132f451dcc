#include "TransportTest.h"

#include <cstdlib>

TEST(TransportFixture, LeavesNoSettingToTheNextTest)
{
    struct OfAnotherTest : TransportTest {
        OfAnotherTest() { Set("CHTTPCLIENT_CONNECT_TIMEOUT_MS", 300); }
        void TestBody() override {}
    };
    {
        const OfAnotherTest test;
        EXPECT_STREQ(std::getenv("CHTTPCLIENT_CONNECT_TIMEOUT_MS"), "300");
        EXPECT_NE(std::getenv("CHTTPCLIENT_DRAIN_MS"), nullptr);
    }
    EXPECT_EQ(std::getenv("CHTTPCLIENT_CONNECT_TIMEOUT_MS"), nullptr);
    EXPECT_EQ(std::getenv("CHTTPCLIENT_DRAIN_MS"), nullptr);
}
