#include "ContainsPattern.h"
#include "LogFolder.h"
#include "UnsafeTexts.h"

#include <ktshttpagent/clog.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>
#include <string>

using testing::ElementsAre;
using testing::EndsWith;
using testing::MatchesRegex;

TEST(LogLine, HoldsTimeLevelThreadPlaceAndText)
{
    const LogFolder folder;
    Log_Write(1, "VelCSDK::CDataResponse::CHttpCallBack", 59, "proctol:%s http-error:%d", "/vomd/x", -7);
    EXPECT_THAT(folder.Lines(),
                ElementsAre(ContainsPattern(
                    "^20[0-9][0-9]-[01][0-9]-[0-3][0-9] [0-2][0-9]:[0-5][0-9]:[0-6][0-9]\\.[0-9]{3} "
                    "[+-][0-9][0-9]:[0-9][0-9] error \\[[0-9]+\\] "
                    "VelCSDK::CDataResponse::CHttpCallBack:59 proctol:/vomd/x http-error:-7$")));
}

TEST(LogLine, NamesTheLevel)
{
    const LogFolder folder;
    ::setenv("CLOG_LEVEL", "4", 1);
    for (const int nLevel : {1, 2, 3, 4}) {
        Log_Write(nLevel, "Levels", nLevel, "text");
    }
    EXPECT_THAT(folder.Lines(), ElementsAre(MatchesRegex(".* error .* Levels:1 text"),
                                            MatchesRegex(".* warning .* Levels:2 text"),
                                            MatchesRegex(".* info .* Levels:3 text"),
                                            MatchesRegex(".* debug .* Levels:4 text")));
}

TEST(LogLine, ALevelBelowOneCountsAsAnError)
{
    const LogFolder folder;
    ::setenv("CLOG_LEVEL", "1", 1);
    Log_Write(0, "Levels", 1, "zero");
    Log_Write(-5, "Levels", 2, "negative");
    EXPECT_THAT(folder.Lines(), ElementsAre(MatchesRegex(".* error .* Levels:1 zero"),
                                            MatchesRegex(".* error .* Levels:2 negative")));
}

TEST(LogLine, ANullFormatIsAnEmptyText)
{
    const LogFolder folder;
    const char* szFormat = nullptr;
    Log_Write(1, "Null", 5, szFormat, 0);
    EXPECT_THAT(folder.Lines(), ElementsAre(EndsWith(" Null:5 ")));
}

TEST(LogLine, AMegabyteIsWrittenWhole)
{
    const LogFolder folder;
    const std::string strText(1'000'000, 'x');
    Log_Write(1, "Long", 1, "%s", strText.c_str());
    EXPECT_THAT(folder.Lines(), ElementsAre(EndsWith(" Long:1 " + strText)));
}

struct Escaping {
    const char* szName;
    std::string strText;
    std::string strWritten;

    friend void PrintTo(const Escaping& row, std::ostream* pOut) { *pOut << row.szName; }
};

class LogEscaping : public testing::TestWithParam<Escaping>
{
};

TEST_P(LogEscaping, KeepsATextOnItsLine)
{
    const LogFolder folder;
    Log_Write(1, "Escaping", 1, "%s", GetParam().strText.c_str());
    EXPECT_THAT(folder.Lines(), ElementsAre(EndsWith(" Escaping:1 " + GetParam().strWritten)));
}

TEST_P(LogEscaping, KeepsThePlaceOnItsLine)
{
    const LogFolder folder;
    Log_Write(1, GetParam().strText, 2, "text");
    EXPECT_THAT(folder.Lines(), ElementsAre(EndsWith("] " + GetParam().strWritten + ":2 text")));
}

INSTANTIATE_TEST_SUITE_P(
    Texts, LogEscaping,
    testing::Values(Escaping{"LineFeed", "one\ntwo", "one\\ntwo"},
                    Escaping{"CarriageReturn", "one\r\ntwo", "one\\r\\ntwo"},
                    Escaping{"Tab", "a\tb", "a\\tb"}, Escaping{"Escape", "\x1b[31mred", "\\x1b[31mred"},
                    Escaping{"Delete", "del\x7f", "del\\x7f"},
                    Escaping{"FirstAndLastControlByte", "\x01\x1f ", "\\x01\\x1f "},
                    // U+0085 ends a line for some viewers
                    Escaping{"NextLine", "next\xc2\x85line", "next\\xc2\\x85line"},
                    Escaping{"LastControlCharacter", "\xc2\x9f\xc2\xa0", "\\xc2\\x9f\xc2\xa0"},
                    Escaping{"Chinese", "\xe7\x94\xb5\xe6\xb1\xa0", "\xe7\x94\xb5\xe6\xb1\xa0"},
                    Escaping{"CutCharacter", "cut\xc2", "cut\\xc2"},
                    Escaping{"BackslashesAndFormats", "C:\\new\\table {} %s", "C:\\new\\table {} %s"},
                    Escaping{"Nothing", "", ""}),
    testing::PrintToStringParamName());

class UnsafeLogText : public testing::TestWithParam<UnsafeRange>
{
};

TEST_P(UnsafeLogText, IsEscapedInThePlaceAndInTheText)
{
    const LogFolder folder;
    Log_Write(1, EachOf(GetParam()), 1, "%s", EachOf(GetParam()).c_str());
    const std::string strEscaped = EscapedEachOf(GetParam());
    EXPECT_THAT(folder.Lines(), ElementsAre(EndsWith("] " + strEscaped + ":1 " + strEscaped)));
}

INSTANTIATE_TEST_SUITE_P(Ranges, UnsafeLogText, testing::ValuesIn(UNSAFE_RANGES),
                         testing::PrintToStringParamName());

TEST(LogLine, BytesThatAreNotValidUtf8AreEscaped)
{
    const LogFolder folder;
    for (const std::string& strBytes : INVALID_BYTES) {
        Log_Write(1, "Invalid", 1, "%s|", strBytes.c_str());
        EXPECT_THAT(folder.Lines().back(), EndsWith(" Invalid:1 " + EscapeOf(strBytes) + "|"));
    }
}

TEST(LogLine, ValidTextsOfAllScriptsStayAsTheyAre)
{
    const LogFolder folder;
    for (const std::string& strText : SAFE_TEXTS) {
        Log_Write(1, "Valid", 1, "%s", strText.c_str());
        EXPECT_THAT(folder.Lines().back(), EndsWith(" Valid:1 " + strText));
    }
}

TEST(LogLine, ANulByteIsEscapedAndEndsNothing)
{
    const LogFolder folder;
    Log_Write(1, std::string("where\0behind", 12), 1, "text%cbehind", '\0');
    EXPECT_THAT(folder.Lines(), ElementsAre(EndsWith("where\\x00behind:1 text\\x00behind")));
}
