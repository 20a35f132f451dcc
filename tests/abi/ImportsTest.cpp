// Checks that the DLLs import the libraries that a site may replace.

#include "LoadedImage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

TEST(Imports, OfTheAgentNameTheLibrariesThatASiteMayReplace)
{
    EXPECT_THAT(LoadedImage("ktshttpagent").Imports(),
                ::testing::IsSupersetOf({std::string("chttpclient.dll"), std::string("libclog.dll")}));
}

TEST(Imports, OfTheTransportNameTheLog)
{
    EXPECT_EQ(LoadedImage("chttpclient").Imports().count("libclog.dll"), 1U);
}
