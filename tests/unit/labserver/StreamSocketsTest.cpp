// The sockets of servers, where the system refuses what it seldom refuses.

#include "labserver/StreamSockets.h"

#include "ProcessUse.h"
#include "SystemCalls.h"

#include <gtest/gtest.h>

#include <cerrno>

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

TEST(SocketsOfTheSystem, AreThereAtOnceAndGoneWhenTheyAreClosed)
{
    const std::size_t nBefore = OpenDescriptors();
    const Socket nSocket = OpenStreamSocket();
    EXPECT_EQ(OpenDescriptors(), nBefore + 1);
    CloseSocket(nSocket);
    EXPECT_EQ(OpenDescriptors(), nBefore);
}

TEST(SocketsOfTheSystem, HaveNoPeerIfTheyAreNotConnected)
{
    const Socket nSocket = OpenStreamSocket();
    EXPECT_EQ(PeerOf(nSocket), std::make_pair(std::string(), 0));
    CloseSocket(nSocket);
}

TEST(SocketsOfTheSystem, TakeAPortThatWasLeftJustNow)
{
    const Socket nSocket = OpenStreamSocket();
    EXPECT_TRUE(ReusePort(nSocket));
    int nReuse = 0;
    socklen_t nSize = sizeof nReuse;
    ASSERT_EQ(::getsockopt(nSocket, SOL_SOCKET, SO_REUSEADDR, &nReuse, &nSize), 0);
    EXPECT_NE(nReuse, 0);
    CloseSocket(nSocket);
    EXPECT_FALSE(ReusePort(NO_SOCKET));
}

TEST(SocketsOfTheSystem, BringBytesAndTellWhyTheyBringNone)
{
    int aSockets[2];
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, aSockets), 0);
    ASSERT_TRUE(MakeNonBlocking(aSockets[1]));
    char cByte = '-';
    EXPECT_EQ(ReceiveBytes(aSockets[1], &cByte, 1), -1);
    EXPECT_TRUE(WouldBlock());
    EXPECT_FALSE(WasInterrupted());
    EXPECT_EQ(SendBytes(aSockets[0], "a", 1), 1);
    EXPECT_EQ(ReceiveBytes(aSockets[1], &cByte, 1), 1);
    EXPECT_EQ(cByte, 'a');
    CloseSocket(aSockets[1]);
    EXPECT_EQ(SendBytes(aSockets[0], "a", 1), -1);
    EXPECT_EQ(SocketError(), EPIPE);
    EXPECT_FALSE(WouldBlock());
    errno = EINTR;
    EXPECT_TRUE(WasInterrupted());
    CloseSocket(aSockets[0]);
}
