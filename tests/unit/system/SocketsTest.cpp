// Sockets, and the name of the machine, where the system refuses what it seldom refuses.

#include "platform/system/Sockets.h"

#include "SystemCalls.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

TEST(SocketsOfTheSystem, AreUpAtOnce)
{
    EXPECT_TRUE(SocketsStartUp().IsUp());
}

TEST(NameOfTheMachine, IsEmptyWhereTheSystemTellsNone)
{
    EXPECT_NE(MachineName(), "");
    const FailingCall name("gethostname", EPERM);
    EXPECT_EQ(MachineName(), "");
}

TEST(NameOfTheMachine, MayBeTooLongToEnd)
{
    const LongMachineName name;
    EXPECT_EQ(MachineName(), std::string(255, 'x'));
}
