// The library calls a site's own chttpclient.dll that lies beside the host.

#include "HostProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

TEST(Replacement, OfTheTransportBesideTheHostIsTheOneThatIsCalled)
{
    ::setenv("PATH", LIBRARIES_FOLDER, 1); // the other libraries are there, and our own transport too
    const Departure departure = Watch(REPLACED_HOST, {"1", "3", "destroy"});
    EXPECT_TRUE(departure.bInTime);
    EXPECT_EQ(departure.nStatus, 0);
    EXPECT_THAT(departure.vecLines,
                testing::ElementsAre("init", "send 3102", "send 3102", "send 3102", "uninit"));
}
