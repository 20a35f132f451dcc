// Text of a server or a command line is printed so that it can harm neither the terminal nor its reader.

#include "KtsagentProcess.h"
#include "ScriptedServer.h"
#include "UnsafeTexts.h"

#include <gmock/gmock.h>

#include <QTextCodec>

using testing::HasSubstr;

namespace
{

const std::string HOSTILE = "\x1b[2Jx\n\u202eevil\u200b\u2028\U000e0041\xc2\x9b"
                            "31m";
const std::string SHOWN = "\\x1b[2Jx\\n\\xe2\\x80\\xaeevil\\xe2\\x80\\x8b\\xe2\\x80\\xa8\\xf3\\xa0\\x81\\x81"
                          "\\xc2\\x9b31m";

/// The text for a JSON object, in which control characters below U+0020 must be escaped.
std::string JsonText(std::string strText)
{
    for (std::size_t nPos = 0; nPos < strText.size(); ++nPos) {
        if (const char c = strText[nPos]; c >= 0 && c < 0x20) {
            constexpr const char* HEX = "0123456789abcdef";
            strText.replace(nPos, 1, std::string("\\u00") + HEX[c >> 4] + HEX[c & 0xf]);
        }
    }
    return '"' + strText + '"';
}

void ExpectHarmless(const KtsagentRun& run)
{
    EXPECT_FALSE(HoldsUnsafe(run.strOut));
    EXPECT_FALSE(HoldsUnsafe(run.strErr));
    for (const std::string& strText : {run.strOut, run.strErr}) {
        EXPECT_EQ(QString::fromUtf8(strText.c_str()).toStdString(), strText) << "not valid UTF-8";
    }
}

class UnsafeText : public KtsagentProcess
{
protected:
    /// Asks a server for user information, which it answers with this title.
    KtsagentRun AskForUser(const std::string& strTitle, const QStringList& lstMore = {}) const
    {
        const ScriptedServer server(ServerStep{HttpReply(200, R"({"code":0,"title":)" + strTitle + "}")});
        return Run(QStringList{"user-info", "--server", Loopback(server.Port()), "--userId", "1"} + lstMore);
    }
};

class UnsafeTextOfAServer : public UnsafeText, public testing::WithParamInterface<UnsafeRange>
{
};

} // namespace

TEST_P(UnsafeTextOfAServer, IsEscapedForPeople)
{
    const KtsagentRun run = AskForUser(JsonText(EachOf(GetParam())));

    EXPECT_EQ(run.nExit, 0) << run.strErr;
    EXPECT_THAT(run.strOut, HasSubstr("title: \"" + EscapedEachOf(GetParam()) + "\"\n"));
    ExpectHarmless(run);
}

TEST_P(UnsafeTextOfAServer, IsTheSameValueInJson)
{
    const KtsagentRun run = AskForUser(JsonText(EachOf(GetParam())), {"--json"});

    EXPECT_EQ(run.nExit, 0) << run.strErr;
    EXPECT_EQ(run.Signal()["varData"].toObject()["title"].toString().toStdString(), EachOf(GetParam()));
    ExpectHarmless(run);
}

INSTANTIATE_TEST_SUITE_P(Ranges, UnsafeTextOfAServer, testing::ValuesIn(UNSAFE_RANGES),
                         [](const auto& param) { return std::string(param.param.szName); });

TEST_F(UnsafeText, WithASpaceAtAnEndIsInQuotes)
{
    for (const char* szTitle : {"\" x\"", "\"x \"", "\" \""}) {
        EXPECT_THAT(AskForUser(szTitle).strOut, HasSubstr(std::string("title: ") + szTitle + "\n"));
    }
    EXPECT_THAT(AskForUser("\"x y\"").strOut, HasSubstr("title: x y\n"));
}

TEST_F(UnsafeText, ThatIsNotValidUtf8IsShownByteByByteAndIsValidJson)
{
    for (const std::string& strBytes :
         {std::string("\xff"), std::string("\xe2\x80"), std::string("\xed\xa0\x80")}) {
        const std::string strTitle = "\"a" + strBytes + "z\"";
        const KtsagentRun text = AskForUser(strTitle);
        EXPECT_THAT(text.strOut, HasSubstr("title: \"a" + EscapeOf(strBytes) + "z\"\n"));
        ExpectHarmless(text);

        const KtsagentRun json = AskForUser(strTitle, {"--json"});
        EXPECT_EQ(json.Signal()["varData"].toObject()["title"].toString(),
                  'a' + QString(static_cast<int>(strBytes.size()), QChar(0xfffd)) + 'z');
        ExpectHarmless(json);
    }
}

TEST_F(UnsafeText, OfAllScriptsStaysReadable)
{
    for (const std::string& strText : {SAFE_TEXTS[1], SAFE_TEXTS[4]}) {
        EXPECT_THAT(AskForUser('"' + strText + '"').strOut, HasSubstr("title: " + strText + "\n"));
        EXPECT_THAT(AskForUser('"' + strText + '"', {"--json"}).strOut,
                    HasSubstr("\"title\":\"" + strText + "\""));
    }
}

TEST_F(UnsafeText, ThatLooksLikeAnEscapeIsToldFromOne)
{
    EXPECT_THAT(AskForUser(R"("a\\x1bz")").strOut, HasSubstr("title: a\\x1bz\n"));
    EXPECT_THAT(AskForUser(R"("a\\x1b\u001b\"z")").strOut, HasSubstr("title: \"a\\\\x1b\\x1b\\\"z\"\n"));
}

TEST_F(UnsafeText, ThatIsEmptyOrHasASpaceAtAnEndIsShownInQuotes)
{
    for (const std::string strText : {"", " ", "a ", " a"}) {
        EXPECT_THAT(AskForUser('"' + strText + '"').strOut, HasSubstr("title: \"" + strText + "\"\n"));
    }
    EXPECT_THAT(AskForUser("\"a a\"").strOut, HasSubstr("title: a a\n"));
}

TEST_F(UnsafeText, InTheReasonOfAnHttpErrorIsEscaped)
{
    const ScriptedServer server(ServerStep{"HTTP/1.1 500 a\x1b[2Jb\xc2\x9b"
                                           "31m\r\nContent-Length: 2\r\n\r\n{}"});
    for (const QStringList& lstMore : {QStringList{}, QStringList{"--json"}}) {
        const KtsagentRun run = Run(
            QStringList{"in-common", "--server", Loopback(server.Port()), "--dxtm", "X", "--sync"} + lstMore);
        EXPECT_EQ(run.nExit, 1);
        EXPECT_THAT(run.strErr, HasSubstr("a\\x1b[2Jb"));
        ExpectHarmless(run);
    }
}

TEST_F(UnsafeText, InTheAgentsDebugLinesIsEscaped)
{
    const ScriptedServer server(
        ServerStep{HttpReply(200, R"({"code":"success","message":)" + JsonText(HOSTILE) + "}")});
    qputenv("QT_LOGGING_RULES", "ktshttpagent.reply=true");
    const KtsagentRun run =
        Run({"report-cycle", "--sync", "--url", QString::fromStdString(server.Url("/")), "--data", "{}"});
    EXPECT_THAT(run.strErr, HasSubstr("CUIAgentReq::Slot_PostReportCycleData_Reply"));
    ExpectHarmless(run);
}

TEST_F(UnsafeText, OfTheCommandLineIsEscapedInWhatIsSaidOfIt)
{
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8")); // the encoding of arguments
    const QString strHostile = QString::fromStdString(HOSTILE);
    const std::vector<QStringList> vecCalls
    {
        {strHostile}, {"endpoints", "--" + strHostile}, {"endpoints", strHostile},
            {"support-ver", "--server", strHostile, "--t", "1"},
            {"support-ver", "--server", strHostile + ":80", "--t", "1"},
            {"support-ver", "--server", "h:" + strHostile, "--t", "1"},
            {"user-info", "--server", "h:1", "--userId", strHostile},
            {"report-incubator", "--server", "h:1", "--status", strHostile},
            {"report-incubator", "--server", "h:1", "--file", "/no/" + strHostile},
#if !defined(Q_OS_WIN) // Windows has no such names
            {"report-incubator", "--server", "h:1", "--file", WriteFile(strHostile, "{]")},
#endif
            {"report-incubator", "--server", "h:1", "--file",
             WriteFile("f", "{" + JsonText(HOSTILE) + ":1}")},
    };
    for (const QStringList& lstArguments : vecCalls) {
        const KtsagentRun run = Run(lstArguments);
        EXPECT_EQ(run.nExit, 2) << run.strErr;
        EXPECT_THAT(run.strErr, HasSubstr(SHOWN));
        ExpectHarmless(run);
    }
}

#if !defined(Q_OS_WIN) // Windows' arguments are not bytes
TEST_F(UnsafeText, OfTheCommandLineMayBeNoUtf8)
{
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("ISO-8859-1")); // one byte per character
    const KtsagentRun run = Run({QStringLiteral("no-such-\u00ff")});
    EXPECT_EQ(run.nExit, 2);
    EXPECT_THAT(run.strErr, HasSubstr("no-such-\\xff"));
    ExpectHarmless(run);
}
#endif

TEST_F(UnsafeText, InAUrlThatFailsIsEscaped)
{
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    const QString strUrl = QString::fromStdString("http://" + HOSTILE + "/");
    const KtsagentRun run = Run({"report-cycle", "--sync", "--url", strUrl, "--data", "{}"});
    EXPECT_EQ(run.nExit, 1) << run.strErr;
    EXPECT_THAT(run.strOut, HasSubstr(SHOWN));
    ExpectHarmless(run);
}
