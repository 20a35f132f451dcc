#include "sdk/QueryString.h"

#include <gtest/gtest.h>

#include <limits>

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
