#include "NearestName.h"

#include <gtest/gtest.h>

TEST(EditDistance, CountsLettersThatAreInsertedRemovedOrReplaced)
{
    EXPECT_EQ(EditDistance("", ""), 0U);
    EXPECT_EQ(EditDistance("", "abc"), 3U);
    EXPECT_EQ(EditDistance("abc", ""), 3U);
    EXPECT_EQ(EditDistance("kitten", "sitting"), 3U);
    EXPECT_EQ(EditDistance("HttpUrlGetSyxm", "HttpUrlGetSxym"), 2U);
}

TEST(EditDistance, TakesUpperAndLowerCaseForTheSame)
{
    EXPECT_EQ(EditDistance("USETLS", "UseTls"), 0U);
}

TEST(NearestName, IsTheFirstOfTheNearestWithinTheLimit)
{
    EXPECT_EQ(NearestName("tree", {"three", "trees", "free"}, 2), "three");
    EXPECT_EQ(NearestName("tree", {"house", "tree"}, 2), "tree");
    EXPECT_EQ(NearestName("tree", {"house"}, 2), "");
    EXPECT_EQ(NearestName("tree", {"thrice"}, 3), "thrice");
    EXPECT_EQ(NearestName("tree", {}, 3), "");
}
