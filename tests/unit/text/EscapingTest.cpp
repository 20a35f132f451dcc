#include "platform/text/Escaping.h"

#include "UnsafeTexts.h"

#include <json/reader.h>
#include <json/value.h>

#include <gtest/gtest.h>

#include <string>

namespace
{

class UnsafeCharacter : public testing::TestWithParam<UnsafeRange>
{
};

TEST_P(UnsafeCharacter, IsEscapedByteByByte)
{
    EXPECT_EQ(EscapeUnsafe(EachOf(GetParam())), EscapedEachOf(GetParam()));
}

TEST_P(UnsafeCharacter, HasNeighboursThatStayAsTheyAre)
{
    const std::string strAfter = Utf8(GetParam().last + 1);
    EXPECT_EQ(EscapeUnsafe(strAfter), strAfter);
    if (GetParam().first > 1) {
        const std::string strBefore = Utf8(GetParam().first - 1);
        EXPECT_EQ(EscapeUnsafe(strBefore), strBefore);
    }
}

TEST_P(UnsafeCharacter, IsFoundAtTheBeginningInTheMiddleAndAtTheEnd)
{
    const std::string strOne = Utf8(GetParam().last);
    const std::string strEscape = EscapeOf(strOne);
    EXPECT_EQ(EscapeUnsafe(strOne + "电" + strOne + "a" + strOne),
              strEscape + "电" + strEscape + "a" + strEscape);
}

TEST_P(UnsafeCharacter, InJsonIsAnEscapeOfTheSameValue)
{
    if (GetParam().first < 0x20) {
        GTEST_SKIP() << "JSON holds none of these as they are";
    }
    const std::string strText = EachOf(GetParam());
    const std::string strJson = EscapeUnsafeInJson("{\"电\":\"" + strText + "\"}");
    EXPECT_FALSE(HoldsUnsafe(strJson));
    Json::Value root;
    ASSERT_TRUE(Json::Reader().parse(strJson, root)) << strJson;
    EXPECT_EQ(root["电"].asString(), strText);
}

INSTANTIATE_TEST_SUITE_P(Ranges, UnsafeCharacter, testing::ValuesIn(UNSAFE_RANGES),
                         testing::PrintToStringParamName());

TEST(Escaping, KeepsItsOldEscapes)
{
    EXPECT_EQ(EscapeUnsafe(std::string("a\n\r\t\0\x1b\x7f\xc2\x85z", 10)),
              "a\\n\\r\\t\\x00\\x1b\\x7f\\xc2\\x85z");
}

TEST(Escaping, LeavesValidTextsOfAllScriptsAlone)
{
    for (const std::string& strText : SAFE_TEXTS) {
        EXPECT_EQ(EscapeUnsafe(strText), strText);
        EXPECT_EQ(EscapeUnsafeInJson(strText), strText);
    }
}

TEST(Escaping, LeavesWhatIsEscapedAlone)
{
    for (const UnsafeRange& range : UNSAFE_RANGES) {
        EXPECT_EQ(EscapeUnsafe(EscapedEachOf(range)), EscapedEachOf(range));
    }
}

TEST(Escaping, ShowsEachByteThatIsNotValidUtf8)
{
    for (const std::string& strBytes : INVALID_BYTES) {
        EXPECT_EQ(EscapeUnsafe(strBytes), EscapeOf(strBytes));
        EXPECT_EQ(EscapeUnsafe("a" + strBytes + "b"), "a" + EscapeOf(strBytes) + "b");
        // The following character is read afresh, whatever the bytes before it announced.
        EXPECT_EQ(EscapeUnsafe(strBytes + "电" + strBytes), EscapeOf(strBytes) + "电" + EscapeOf(strBytes));
    }
}

TEST(Escaping, InJsonMakesAReplacementCharacterOfEachByteThatIsNotValidUtf8)
{
    EXPECT_EQ(EscapeUnsafeInJson("{\"a\":\"\xff\xc0\x80z\"}"), R"({"a":"\ufffd\ufffd\ufffdz"})");
}

TEST(Escaping, InJsonLeavesTheBlanksBetweenValuesAndOldEscapes)
{
    const std::string strJson = "{\n\t\"a\" : \"\\u001b\\n\",\r\n\"b\":[1]}";
    EXPECT_EQ(EscapeUnsafeInJson(strJson), strJson);
}

TEST(Escaping, TakesEmptyAndLongTexts)
{
    EXPECT_EQ(EscapeUnsafe(""), "");
    EXPECT_EQ(EscapeUnsafeInJson(""), "");
    const std::string strLong(1'000'000, 'x');
    EXPECT_EQ(EscapeUnsafe(strLong + '\n' + strLong), strLong + "\\n" + strLong);
}

} // namespace
