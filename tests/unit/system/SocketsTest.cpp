// Sockets and stop signals, where the system refuses what it seldom refuses.

#include "platform/system/Sockets.h"

#include "SystemCalls.h"
#include "platform/system/StopSignal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <system_error>

using testing::HasSubstr;

TEST(SocketsOfTheSystem, ThatDoNotStopBlockingSaySo)
{
    const Socket nSocket = OpenStreamSocket();
    ASSERT_NE(nSocket, NO_SOCKET);
    EXPECT_TRUE(MakeNonBlocking(nSocket));
    for (const int nSucceeding : {0, 1}) { // asking for the flags, and setting them
        const FailingCall flags("fcntl", EBADF, nSucceeding);
        EXPECT_FALSE(MakeNonBlocking(nSocket)) << nSucceeding;
    }
    CloseSocket(nSocket);
}

TEST(NameOfTheMachine, IsEmptyWhereTheSystemTellsNone)
{
    EXPECT_NE(MachineName(), "");
    const FailingCall name("gethostname", EPERM);
    EXPECT_EQ(MachineName(), "");
}

TEST(SignalToStop, ThatCanNotBeHadSaysWhy)
{
    const FailingCall making("eventfd", EMFILE);
    try {
        const StopSignal stop;
        ADD_FAILURE() << "nothing was thrown";
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code().value(), EMFILE);
        EXPECT_THAT(error.what(), HasSubstr("eventfd"));
    }
}
