// A text may be sent through the asynchronous interface and through the blocking one. The server must receive
// the same request target from both.

#include "AnswerSpy.h"
#include "SyncInterface.h"

#include <ktshttpagent/CUIAgentRsp.h>

#include <string>
#include <utility>
#include <vector>

namespace
{

// NOLINTNEXTLINE(readability-function-size): a table
std::vector<QString> AwkwardTexts()
{
    std::vector<QString> vecTexts = {"",
                                     " ",
                                     "  two  ",
                                     "a b",
                                     "\"",
                                     "'",
                                     "\"quoted\"",
                                     "<tag>",
                                     "a\\b",
                                     "^",
                                     "`",
                                     "{",
                                     "}",
                                     "{x:1}",
                                     "|",
                                     "a|b",
                                     "\t",
                                     "\n",
                                     "\r\n",
                                     "a\r\nHost: evil",
                                     "a\r\n\r\nGET / HTTP/1.1",
                                     "+",
                                     "a+b",
                                     "&",
                                     "a&b=c",
                                     "=",
                                     "?",
                                     "??",
                                     "/",
                                     "//",
                                     "../..",
                                     "a/../b",
                                     ".",
                                     ":",
                                     "@",
                                     "user@host",
                                     ";",
                                     ",",
                                     "a,b,c",
                                     "!",
                                     "$",
                                     "(",
                                     ")",
                                     "*",
                                     "~",
                                     "-",
                                     "_",
                                     "[",
                                     "]",
                                     "[1]",
                                     "a[b]c",
                                     "[[",
                                     "[ ]",
                                     "电[0]",
                                     "#[x]",
                                     "电芯",
                                     "测试 类型",
                                     "실험",
                                     "ü",
                                     "é€",
                                     "😀",
                                     "a电b芯c",
                                     "%20",
                                     "%E7%94%B5",
                                     "%0D%0A",
                                     "%25",
                                     "%22",
                                     "100%25",
                                     "\x01",
                                     "\x1f",
                                     "\x7f",
                                     "a\vb",
                                     "1.2.3",
                                     "2026-01-02 03:04:05",
                                     "C:\\data\\x.csv",
                                     "\\\\server\\share",
                                     "http://elsewhere/",
                                     "javascript:x",
                                     "null",
                                     "true",
                                     "0",
                                     "-1",
                                     "1e300",
                                     "\"}",
                                     "','",
                                     "a=b&c=d",
                                     "a;b",
                                     "x^2",
                                     "~user",
                                     "tab\tbetween",
                                     "trailing ",
                                     " leading",
                                     "a  b",
                                     "é",
                                     "　",
                                     "\u00a0",
                                     "\u2028",
                                     "\ufeff",
                                     "Ω≈ç√",
                                     "中文，标点。",
                                     "（括号）",
                                     "a#b",
                                     "#",
                                     "100%",
                                     "%",
                                     "50% off",
                                     "%4",
                                     "%zz",
                                     "%2F",
                                     "%E7%94",
                                     "%FF",
                                     "%00",
                                     "%5B",
                                     "[%5D",
                                     "%2520",
                                     QString(QChar(0)),
                                     QString(QChar(0xD800))};
    vecTexts.push_back(QString(8'000, 'x'));
    vecTexts.push_back(QString(3'000, QChar(0x7535)));
    vecTexts.push_back(QString("a b|").repeated(1'000));
    return vecTexts;
}

/// Texts with percent signs that the two interfaces write differently when they are not escaped.
constexpr const char* PERCENT_TEXTS[] = {"%41", "%7e%5f", "%2e%2E", "%25%41", "%e7%94%b5",
                                         "%3a", "%5e^",   "%20%",   "%%41",   "a%20b%zz"};

class SameTarget : public SyncInterface
{
protected:
    /// The request targets of both interfaces, the asynchronous one first.
    std::pair<std::string, std::string> Targets(const QString& strText)
    {
        const ScriptedServer server(ServerStep{HttpReply(200, R"({"success":true,"common":true})")});
        const AnswerSpy spy(&CUIAgentRsp::SigGetWhetherInCommonRet);
        m_request.SendGetWhetherInCommon(m_strHost, server.Port(), strText);
        EXPECT_TRUE(spy.Wait(1));
        EXPECT_TRUE(
            m_request.SendGetWhetherInCommonEx(m_strHost, server.Port(), ENOUGH_MS, strText, m_bCommon));
        const std::vector<WireRequest> vecRequests = server.Requests();
        if (vecRequests.size() != 2) {
            ADD_FAILURE() << vecRequests.size() << " requests";
            return {};
        }
        return {vecRequests[0].Line(), vecRequests[1].Line()};
    }
};

TEST_F(SameTarget, IsPutOnTheWireByBothInterfaces)
{
    const std::vector<QString> vecTexts = AwkwardTexts();
    ASSERT_GE(vecTexts.size(), 100U);
    for (const QString& strText : vecTexts) {
        const auto [strAsync, strSync] = Targets(strText);
        EXPECT_EQ(strAsync, strSync) << "for \"" << strText.toStdString() << '"';
    }
}

TEST_F(SameTarget, HoldsEveryTextWholeWhenItIsEscaped)
{
    m_request.SetQueryEscaping(true);
    std::vector<QString> vecTexts = AwkwardTexts();
    for (const char* const szText : PERCENT_TEXTS) {
        vecTexts.emplace_back(szText);
    }
    const std::string strBefore = "GET /vomd/system/whetherInCommon.action?dxtm=";
    const std::string strAfter = " HTTP/1.1";
    for (const QString& strText : vecTexts) {
        const auto [strAsync, strSync] = Targets(strText);
        EXPECT_EQ(strAsync, strSync) << "for \"" << strText.toStdString() << '"';
        ASSERT_EQ(strAsync.compare(0, strBefore.size(), strBefore), 0) << strAsync;
        const std::string strValue =
            strAsync.substr(strBefore.size(), strAsync.size() - strBefore.size() - strAfter.size());
        EXPECT_EQ(strValue.find_first_of("&#+=;?"), std::string::npos) << strValue;
        EXPECT_EQ(QByteArray::fromPercentEncoding(QByteArray::fromStdString(strValue)), strText.toUtf8());
    }
}

// The bytes that were sent before escaping was introduced.
TEST_F(SameTarget, IsAsItEverWasWhileTextsAreNotEscaped)
{
    const QString strText = "a \"<>\\^`{|}[]é&b=c+d;e/f?g,%41#h";
    const std::string strLine =
        "GET /vomd/system/whetherInCommon.action?dxtm=a%20%22%3C%3E%5C%5E%60%7B%7C%7D%5B%5D"
        "%C3%A9&b=c+d;e/f?g,";
    for (const bool bSwitched : {false, true}) {
        if (bSwitched) {
            m_request.SetQueryEscaping(true);
            m_request.SetQueryEscaping(false);
        }
        const auto [strAsync, strSync] = Targets(strText);
        EXPECT_EQ(strAsync, strLine + "%41 HTTP/1.1");
        EXPECT_EQ(strSync, strLine + "A HTTP/1.1");
    }
}

TEST_F(SameTarget, HoldsBracketsAsEscapes)
{
    const auto [strAsync, strSync] = Targets("a[1]");
    const std::string strLine = "GET /vomd/system/whetherInCommon.action?dxtm=a%5B1%5D HTTP/1.1";
    EXPECT_EQ(strAsync, strLine);
    EXPECT_EQ(strSync, strLine);
}

/// Texts with percent signs that the two interfaces write differently. The asynchronous one leaves a valid
/// escape unchanged and encodes only a stray percent sign; Qt's tolerant URL has rules of its own.
struct Difference {
    const char* szName;
    const char* szText;
    const char* szAsync;
    const char* szSync;
};

class DifferentTarget : public SameTarget, public ::testing::WithParamInterface<Difference>
{
};

TEST_P(DifferentTarget, IsWhatEachInterfaceMakesOfPercentSigns)
{
    const auto [strAsync, strSync] = Targets(GetParam().szText);
    const std::string strBefore = "GET /vomd/system/whetherInCommon.action?dxtm=";
    EXPECT_EQ(strAsync, strBefore + GetParam().szAsync + " HTTP/1.1");
    EXPECT_EQ(strSync, strBefore + GetParam().szSync + " HTTP/1.1");
}

INSTANTIATE_TEST_SUITE_P(
    OfEachInterface, DifferentTarget,
    ::testing::Values(
        // Qt removes an escape if the character needs none. The server reads the same text.
        Difference{"NeedlessEscape", "%41", "%41", "A"},
        Difference{"NeedlessTilde", "%7e%5f", "%7e%5f", "~_"},
        Difference{"NeedlessDots", "%2e%2E", "%2e%2E", ".."},
        Difference{"EscapedPercent", "%25%41", "%25%41", "%25A"},
        // Qt writes the digits of an escape in capitals. The server reads the same text.
        Difference{"SmallDigits", "%e7%94%b5", "%e7%94%b5", "%E7%94%B5"},
        Difference{"SmallReserved", "%3a", "%3a", "%3A"},
        Difference{"SmallForbidden", "%5e^", "%5e%5E", "%5E%5E"},
        // If one percent sign is stray, Qt assumes that nothing is escaped, and encodes all of them. Here the
        // server reads two different texts; a host that means a percent sign must write %25.
        Difference{"StrayBehindEscape", "%20%", "%20%25", "%2520%25"},
        Difference{"StrayBeforeEscape", "%%41", "%25%41", "%25%2541"},
        Difference{"StrayAmongText", "a%20b%zz", "a%20b%25zz", "a%2520b%25zz"}),
    [](const auto& difference) { return difference.param.szName; });

} // namespace
