// Numbers in a host's environment.

#include "platform/system/Environment.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <utility>

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

constexpr const char* NAME = "KTS_TEST_NUMBER";
constexpr NumberRange FROM_NOUGHT{0, 10};

class NumberOfTheEnvironment : public testing::Test
{
protected:
    std::int64_t Read(const char* szValue)
    {
        ::setenv(NAME, szValue, 1);
        m_vecComplaints.clear();
        return EnvironmentNumber(NAME, 3, FROM_NOUGHT, m_vecComplaints);
    }

    std::vector<std::string> m_vecComplaints;
};

} // namespace

TEST_F(NumberOfTheEnvironment, IsTakenUpToBothEndsOfItsRange)
{
    for (const auto& [szValue, nNumber] : {std::pair("0", 0), std::pair("7", 7), std::pair("10", 10)}) {
        EXPECT_EQ(Read(szValue), nNumber);
        EXPECT_THAT(m_vecComplaints, IsEmpty());
    }
}

TEST_F(NumberOfTheEnvironment, ThatIsNoneOrOutOfItsRangeIsComplainedOf)
{
    for (const char* szValue : {"", "x", "5x", " 5", "-1", "11", "9223372036854775808"}) {
        EXPECT_EQ(Read(szValue), 3) << szValue;
        EXPECT_THAT(m_vecComplaints, ElementsAre(std::string(NAME) + " is \"" + szValue +
                                                 "\", no number from 0 to 10; 3 stays in force"));
    }
}

TEST_F(NumberOfTheEnvironment, OfATypeWithoutSignHasNoSignAndNoMoreRoomThanTheRange)
{
    for (const char* szValue : {"-0", "-1", "18446744073709551615", "18446744073709551616"}) {
        ::setenv(NAME, szValue, 1);
        m_vecComplaints.clear();
        EXPECT_EQ(EnvironmentNumber(NAME, std::uint64_t{3}, FROM_NOUGHT, m_vecComplaints), 3U) << szValue;
        EXPECT_THAT(m_vecComplaints, testing::SizeIs(1)) << szValue;
    }
}

TEST_F(NumberOfTheEnvironment, IsComplainedOfInTheCallersWords)
{
    ::setenv(NAME, "x", 1);
    EnvironmentNumber(NAME, 3, FROM_NOUGHT, m_vecComplaints, {"=<", "> is not from ", " it is"});
    EXPECT_THAT(m_vecComplaints, ElementsAre(std::string(NAME) + "=<x> is not from 0 to 10; 3 it is"));
}

TEST_F(NumberOfTheEnvironment, ThatIsNotThereIsNoReasonToComplain)
{
    ::unsetenv(NAME);
    EXPECT_EQ(EnvironmentNumber(NAME, 3, FROM_NOUGHT, m_vecComplaints), 3);
    EXPECT_THAT(m_vecComplaints, IsEmpty());
}
