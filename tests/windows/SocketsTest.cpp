// Windows' sockets have to be started up. The library cleans up what it has started, and what the host has
// started stays up.

#include "HostName.h"
#include "labserver/StreamSockets.h"

#include <gtest/gtest.h>

#include <array>

namespace
{

/// Whether sockets are up in this process: before, none can be created.
bool AreUp()
{
    const Socket nSocket = OpenStreamSocket();
    const bool bUp = nSocket != NO_SOCKET;
    if (bUp) {
        CloseSocket(nSocket);
    }
    return bUp;
}

} // namespace

TEST(Sockets, AreStartedAndEndedForTheHostName)
{
    ASSERT_FALSE(AreUp());
    EXPECT_EQ(::WSAGetLastError(), WSANOTINITIALISED);
    const std::string strName = VelCSDK::LocalHostName();
    EXPECT_FALSE(strName.empty());
    EXPECT_FALSE(AreUp()) << "started by nobody, and left running";
}

TEST(Sockets, ThatTheHostHasStartedStayUp)
{
    WSADATA data{};
    ASSERT_EQ(::WSAStartup(MAKEWORD(2, 2), &data), 0);
    std::array<char, 256> name{};
    ASSERT_EQ(::gethostname(name.data(), static_cast<int>(name.size())), 0);
    EXPECT_EQ(VelCSDK::LocalHostName(), name.data());
    EXPECT_TRUE(AreUp());
    ASSERT_EQ(::WSACleanup(), 0);
    EXPECT_FALSE(AreUp());
}
