// Objects that outlast every destructor.

#include "platform/system/NeverDestroyed.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>

namespace
{

int g_nMade = 0;
int g_nDestroyed = 0;

/// Counts its lives; the first one fails where that is asked for.
struct Counted {
    Counted(std::string strGiven, bool bFirstFails) : strText(std::move(strGiven))
    {
        if (++g_nMade == 1 && bFirstFails) {
            throw std::runtime_error("not yet");
        }
    }
    ~Counted() { ++g_nDestroyed; }
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;

    std::string strText;
};

Counted& Once()
{
    static const NeverDestroyed<Counted> object("a", false);
    return *object;
}

Counted& AtTheSecondTry()
{
    static const NeverDestroyed<Counted> object("b", true);
    return *object;
}

} // namespace

TEST(ObjectNeverDestroyed, IsMadeByTheFirstWhoAsksForItAndIsTheSameForAll)
{
    EXPECT_EQ(g_nMade, 0);
    Counted& first = Once();
    EXPECT_EQ(first.strText, "a");
    EXPECT_EQ(&Once(), &first);
    EXPECT_EQ(g_nMade, 1);
}

// A static object of this type puts up nothing for the end of the process.
TEST(ObjectNeverDestroyed, HasNoDestructorToBeCalled)
{
    EXPECT_TRUE(std::is_trivially_destructible_v<NeverDestroyed<Counted>>);
    {
        const NeverDestroyed<int> number(7);
        EXPECT_EQ(*number, 7);
        ++*number;
        EXPECT_EQ(*number, 8);
    }
    Once();
    EXPECT_EQ(g_nDestroyed, 0);
}

TEST(ObjectNeverDestroyed, ThatCouldNotBeMadeIsMadeTheNextTime)
{
    EXPECT_THROW(AtTheSecondTry(), std::runtime_error);
    EXPECT_EQ(AtTheSecondTry().strText, "b");
    EXPECT_EQ(g_nMade, 2);
}
