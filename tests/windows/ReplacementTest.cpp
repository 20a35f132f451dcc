// A site's own chttpclient.dll beside its host is the one that the library calls.

#include "HostProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

TEST(Replacement, OfTheTransportBesideTheHostIsTheOneThatIsCalled)
{
    ::setenv("PATH", LIBRARIES_FOLDER, 1); // where the other libraries are, and the tree's own transport too
    const Departure departure = Watch(REPLACED_HOST, {"1", "3", "destroy"});
    EXPECT_TRUE(departure.bInTime);
    EXPECT_EQ(departure.nStatus, 0);
    EXPECT_THAT(departure.vecLines,
                testing::ElementsAre("init", "send 3102", "send 3102", "send 3102", "uninit"));
}
