#include "sdk/QueryString.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <limits>
#include <thread>

namespace
{
std::string QueryOf(const Json::Value& value)
{
    Json::Value object(Json::objectValue);
    object["k"] = value;
    return VelCSDK::BuildQueryString(object);
}
} // namespace

TEST(QueryString, OfNullIsAQuestionMark)
{
    EXPECT_EQ(VelCSDK::BuildQueryString(Json::Value()), "?");
}

TEST(QueryString, OfAnEmptyObjectIsAQuestionMark)
{
    EXPECT_EQ(VelCSDK::BuildQueryString(Json::Value(Json::objectValue)), "?");
}

TEST(QueryString, ListsTheMembersInAscendingOrderOfTheirNames)
{
    Json::Value object;
    for (const char* szName : {"xm", "b", "a", "Z", "ab", "_"}) {
        object[szName] = szName;
    }
    EXPECT_EQ(VelCSDK::BuildQueryString(object), "?Z=Z&_=_&a=a&ab=ab&b=b&xm=xm");
}

TEST(QueryString, WritesIntegersAsSignedDecimalText)
{
    EXPECT_EQ(QueryOf(0), "?k=0");
    EXPECT_EQ(QueryOf(12), "?k=12");
    EXPECT_EQ(QueryOf(-7), "?k=-7");
    EXPECT_EQ(QueryOf(std::numeric_limits<int>::max()), "?k=2147483647");
    EXPECT_EQ(QueryOf(std::numeric_limits<int>::min()), "?k=-2147483648");
}

TEST(QueryString, WritesUnsignedAndWideIntegersToo)
{
    EXPECT_EQ(QueryOf(5U), "?k=5");
    EXPECT_EQ(QueryOf(std::numeric_limits<unsigned int>::max()), "?k=4294967295");
    EXPECT_EQ(QueryOf(Json::Int64(-2147483649)), "?k=-2147483649");
}

TEST(QueryString, WritesTextsVerbatim)
{
    const std::string strNul("a\0b", 3);
    for (const std::string& strText :
         {std::string(), std::string("a b"), std::string("a&b=c"), std::string("?#/%41%"),
          std::string("电池"), std::string("\"\\\r\n\x01"), std::string("\xff"), strNul}) {
        EXPECT_EQ(QueryOf(strText), "?k=" + strText);
    }
}

TEST(QueryString, WritesNamesVerbatim)
{
    Json::Value object;
    object["a b&=电"] = 1;
    EXPECT_EQ(VelCSDK::BuildQueryString(object), "?a b&=电=1");
}

TEST(QueryString, WritesNothingForAnyOtherKindOfValue)
{
    EXPECT_EQ(QueryOf(Json::Value()), "?k=");
    EXPECT_EQ(QueryOf(true), "?k=");
    EXPECT_EQ(QueryOf(false), "?k=");
    EXPECT_EQ(QueryOf(12.5), "?k=");
    EXPECT_EQ(QueryOf(12.0), "?k=");
    Json::Value array;
    array.append("x");
    EXPECT_EQ(QueryOf(array), "?k=");
    Json::Value object;
    object["x"] = 1;
    EXPECT_EQ(QueryOf(object), "?k=");
}

TEST(QueryString, SeparatesMembersWithoutAValueToo)
{
    Json::Value object;
    object["a"] = "";
    object["b"] = true;
    object["c"] = 3;
    object["d"] = "";
    EXPECT_EQ(VelCSDK::BuildQueryString(object), "?a=&b=&c=3&d=");
}

namespace
{
class QueryEscaping : public testing::Test
{
protected:
    QueryEscaping() { VelCSDK::SetQueryEscaping(true); }
};

/// All characters that are left unchanged in an escaped value.
const std::string PLAIN = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-._~!$'()*,/:@";
} // namespace

TEST_F(QueryEscaping, EscapesWhatMeansSomethingInAQuery)
{
    EXPECT_EQ(QueryOf("X&deviceId=OTHER&chl=9#"), "?k=X%26deviceId%3DOTHER%26chl%3D9%23");
    EXPECT_EQ(QueryOf("&#+%=;?"), "?k=%26%23%2B%25%3D%3B%3F");
}

TEST_F(QueryEscaping, EscapesWhatNoQueryMayHold)
{
    EXPECT_EQ(QueryOf(" \"<>\\^`{|}[]"), "?k=%20%22%3C%3E%5C%5E%60%7B%7C%7D%5B%5D");
    EXPECT_EQ(QueryOf(std::string("a\0b\r\n\x01\x7f", 7)), "?k=a%00b%0D%0A%01%7F");
}

TEST_F(QueryEscaping, EscapesTextsBeyondAsciiByteByByte)
{
    EXPECT_EQ(QueryOf("电é😀"), "?k=%E7%94%B5%C3%A9%F0%9F%98%80");
}

TEST_F(QueryEscaping, KeepsBytesThatAreNoUtf8)
{
    EXPECT_EQ(QueryOf("\xff\xc3(\xe7\x94"), "?k=%FF%C3(%E7%94");
}

TEST_F(QueryEscaping, EscapesAnEscapeOnceMore)
{
    EXPECT_EQ(QueryOf("A%41"), "?k=A%2541");
}

TEST_F(QueryEscaping, LeavesWhatMeansNothing)
{
    EXPECT_EQ(QueryOf(PLAIN), "?k=" + PLAIN);
    EXPECT_EQ(QueryOf(""), "?k=");
}

TEST_F(QueryEscaping, EscapesEveryOtherByte)
{
    for (int nByte = 0; nByte < 256; ++nByte) {
        const char c = static_cast<char>(nByte);
        char szEscape[4];
        std::snprintf(szEscape, sizeof szEscape, "%%%02X", nByte);
        const bool bPlain = PLAIN.find(c) != std::string::npos;
        EXPECT_EQ(QueryOf(std::string(1, c)), "?k=" + (bPlain ? std::string(1, c) : szEscape));
    }
}

TEST_F(QueryEscaping, LeavesIntegersAndMarksAsTheyAre)
{
    Json::Value object;
    object["a"] = -7;
    object["b"] = 5U;
    object["c"] = true;
    object["d"] = "&";
    EXPECT_EQ(VelCSDK::BuildQueryString(object), "?a=-7&b=5&c=&d=%26");
    EXPECT_EQ(VelCSDK::BuildQueryString(Json::Value()), "?");
}

TEST_F(QueryEscaping, CanBeSwitchedOffAgain)
{
    EXPECT_TRUE(VelCSDK::HasQueryEscaping());
    VelCSDK::SetQueryEscaping(false);
    EXPECT_FALSE(VelCSDK::HasQueryEscaping());
    EXPECT_EQ(QueryOf("&#+% "), "?k=&#+% ");
}

TEST_F(QueryEscaping, MayBeSwitchedWhileQueriesAreBuilt)
{
    Json::Value object;
    for (const char* szName : {"a", "b", "c"}) {
        object[szName] = "&";
    }
    std::atomic<bool> bStop = false;
    std::thread switching([&bStop] {
        for (bool bEscape = false; !bStop; bEscape = !bEscape) {
            VelCSDK::SetQueryEscaping(bEscape);
        }
    });
    for (int nQuery = 0; nQuery < 20'000; ++nQuery) {
        EXPECT_THAT(VelCSDK::BuildQueryString(object), testing::AnyOf("?a=&&b=&&c=&", "?a=%26&b=%26&c=%26"));
    }
    bStop = true;
    switching.join();
}
