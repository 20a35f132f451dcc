#include "AgentProbe.h"
#include "RecordingLog.h"
#include "RecordingTransport.h"
#include "SettingRows.h"
#include "SettingsRoot.h"

#include <ktshttpagent/IVelClientSDk.h>

#include <gmock/gmock.h>

#include <algorithm>

namespace
{

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

/// The lines of the log that tell why TLS is on.
std::vector<RecordedLine> DoubtsInLog()
{
    std::vector<RecordedLine> vecLines = RecordedLog();
    vecLines.erase(std::remove_if(vecLines.begin(), vecLines.end(),
                                  [](const RecordedLine& line) {
                                      return line.strText.find("TLS") == std::string::npos;
                                  }),
                   vecLines.end());
    return vecLines;
}

class TlsSetting : public SettingsRoot
{
protected:
    TlsSetting() { qunsetenv("KTSHTTPAGENT_TLS"); }
    ~TlsSetting() override { RecordingTransport::Instance().ReplyAll(); }

    /// The scheme that both interfaces use for a server named by address and port.
    static std::string Scheme()
    {
        AgentRequestProbe request;
        const std::string strBlocking = request.JointServerInfo("h", 80);
        request.SendGetBattStatus("h", 80, "1");
        const std::string strAsync = RecordingTransport::Instance().vecRequests.back().strUrl;
        EXPECT_THAT(strAsync, StartsWith(strBlocking));
        EXPECT_THAT(strBlocking, ::testing::EndsWith("://h:80/"));
        return strBlocking.substr(0, strBlocking.find(':'));
    }
};

TEST_F(TlsSetting, IsOffWhereNothingIsSaid)
{
    EXPECT_EQ(Scheme(), "http");
    EXPECT_THAT(RecordedLog(), IsEmpty());
}

struct SwitchWord {
    const char* szWord;
    const char* szScheme;
    bool bLogged;
};

void PrintTo(const SwitchWord& word, std::ostream* pStream)
{
    *pStream << '"' << word.szWord << '"';
}

const SwitchWord WORDS[] = {
    {"1", "https", false},    {"true", "https", false}, {"on", "https", false},    {"yes", "https", false},
    {"TRUE", "https", false}, {"On", "https", false},   {"yEs", "https", false},   {"0", "http", false},
    {"false", "http", false}, {"off", "http", false},   {"no", "http", false},     {"FALSE", "http", false},
    {"Off", "http", false},   {"nO", "http", false},    {"maybe", "https", true},  {"2", "https", true},
    {"-1", "https", true},    {"of", "https", true},    {"false!", "https", true}, {"", "https", true},
    {"电", "https", true},
};

class TlsSettingWord : public TlsSetting, public ::testing::WithParamInterface<SwitchWord>
{
protected:
    /// @param strName  the place of the value, as the log names it
    static void ExpectScheme(const std::string& strName)
    {
        EXPECT_EQ(Scheme(), GetParam().szScheme);
        if (GetParam().bLogged) {
            const std::string strLine = strName + " is \"" + GetParam().szWord +
                                        "\", not one of 1, true, on, yes, 0, false, off, no; TLS is on";
            EXPECT_THAT(RecordedLog(), ElementsAre(AllOf(Field(&RecordedLine::nLevel, 1),
                                                         Field(&RecordedLine::strText, strLine))));
        } else {
            EXPECT_THAT(RecordedLog(), IsEmpty());
        }
    }
};

TEST_P(TlsSettingWord, OfTheEnvironmentDecides)
{
    qputenv("KTSHTTPAGENT_TLS", GetParam().szWord);
    ExpectScheme("KTSHTTPAGENT_TLS");
}

TEST_P(TlsSettingWord, OfTheSiteDecides)
{
    Write(PLUGIN, QByteArray("UseTls=") + GetParam().szWord + "\n");
    ExpectScheme((FileOf(PLUGIN) + " UseTls").toStdString());
}

INSTANTIATE_TEST_SUITE_P(Each, TlsSettingWord, ::testing::ValuesIn(WORDS));

TEST_F(TlsSetting, OfTheEnvironmentWinsOverThatOfTheSite)
{
    Write(PLUGIN, "UseTls=on\n");
    qputenv("KTSHTTPAGENT_TLS", "off");
    EXPECT_EQ(Scheme(), "http");
}

TEST_F(TlsSetting, OfTheSiteThatCannotBeReadDoesNotMatterWhereTheEnvironmentDecides)
{
    Write(PLUGIN, "UseTls=maybe\n");
    qputenv("KTSHTTPAGENT_TLS", "0");
    EXPECT_EQ(Scheme(), "http");
    EXPECT_THAT(RecordedLog(), IsEmpty());
}

TEST_F(TlsSetting, OfTheEnvironmentThatCannotBeReadIsSaidOnce)
{
    qputenv("KTSHTTPAGENT_TLS", "offf");
    EXPECT_EQ(Scheme(), "https");
    EXPECT_EQ(Scheme(), "https");
    EXPECT_THAT(RecordedLog(), SizeIs(1));
}

TEST_F(TlsSetting, IsReadOnceAtConstruction)
{
    Write(PLUGIN, "UseTls=1\n");
    CUIAgentReq::Instance();
    Write(PLUGIN, "UseTls=0\n");
    qputenv("KTSHTTPAGENT_TLS", "0");
    CUIAgentReq::Instance()->SendGetBattStatus("h", 80, "1");
    EXPECT_THAT(RecordingTransport::Instance().vecRequests.back().strUrl, StartsWith("https://h:80/"));
}

TEST_F(TlsSetting, InAnotherProfileIsNotSeen)
{
    for (const char* const szProfile : {ORN, TAMOR, PLIX}) {
        Write(szProfile, "UseTls=1\n");
    }
    EXPECT_EQ(Scheme(), "http");
}

/// A profile whose value Qt does not return as one text, and the result.
struct OddProfile {
    const char* szName;
    QByteArray text;
    const char* szScheme;
    const char* szInLog; ///< null when nothing is said
};

void PrintTo(const OddProfile& profile, std::ostream* pStream)
{
    *pStream << profile.szName;
}

class TlsSettingOddly : public TlsSetting, public ::testing::WithParamInterface<OddProfile>
{
};

TEST_P(TlsSettingOddly, WrittenCountsAsOnUnlessItIsCertainlyOff)
{
    Write(PLUGIN, GetParam().text);
    EXPECT_EQ(Scheme(), GetParam().szScheme);
    if (GetParam().szInLog == nullptr) {
        EXPECT_THAT(DoubtsInLog(), IsEmpty());
    } else {
        EXPECT_THAT(DoubtsInLog(),
                    ElementsAre(AllOf(
                        Field(&RecordedLine::nLevel, 1),
                        Field(&RecordedLine::strText, AllOf(HasSubstr(PLUGIN), HasSubstr(GetParam().szInLog),
                                                            HasSubstr("TLS is on"))))));
    }
}

constexpr const char* ODD_LINE = "holds a line that begins with UseTls";

INSTANTIATE_TEST_SUITE_P(
    Each, TlsSettingOddly,
    ::testing::Values(
        OddProfile{"AsAList", "UseTls=0,0\n", "https", "is \"0,0\""},
        OddProfile{"InTheGeneralSection", "[General]\nUseTls=1\n", "https", nullptr},
        OddProfile{"WithBlanks", "UseTls = off \n", "http", nullptr},
        OddProfile{"InQuotes", "UseTls=\"off\"\n", "http", nullptr},
        OddProfile{"InASection", "[NETCFG]\nUseTls=1\n", "https", ODD_LINE},
        OddProfile{"InSmallLetters", "usetls=1\n", "https", ODD_LINE},
        OddProfile{"WithoutAnEqualsSign", "UseTls: on\n", "https", ODD_LINE},
        OddProfile{"WithoutAValue", "HttpUrlGetSyxm=x\nUseTls", "https", ODD_LINE},
        OddProfile{"InUtf16", QByteArray::fromRawData("\xFF\xFEU\0s\0e\0T\0l\0s\0=\0001\0\r\0\n\0", 22),
                   "https", ODD_LINE},
        OddProfile{"InABrokenProfile", "no setting\nUseTls=1\n", "https", nullptr},
        OddProfile{"OffInABrokenProfile", "no setting\nUseTls=0\n", "http", nullptr},
        OddProfile{"InAComment", ";UseTls=1\n", "http", nullptr},
        OddProfile{"InACommentWithASpace", "; UseTls=1\nHttpUrlGetSyxm=x\n", "http", nullptr},
        OddProfile{"InAnotherValue", "HttpUrlGetSyxm=UseTls=1\nUseTlsNot=1\n", "http", nullptr}),
    ::testing::PrintToStringParamName());

// A site that has asked for nothing keeps the old behaviour. The unreadable profile is logged with the paths.
TEST_F(TlsSetting, OfAProfileThatCannotBeReadIsOff)
{
    QDir().mkpath(FileOf(PLUGIN)); // a folder where a file should be
    EXPECT_EQ(Scheme(), "http");
    EXPECT_THAT(RecordedLog(), Contains(Field(&RecordedLine::strText,
                                              AllOf(HasSubstr(PLUGIN), HasSubstr("can't be read")))));
    EXPECT_THAT(DoubtsInLog(), IsEmpty());
}

TEST_F(TlsSetting, OfABrokenProfileThatSaysNothingOfItIsOff)
{
    Write(PLUGIN, "this line is no setting\nHttpUrlGetSyxm=half/read\n");
    EXPECT_EQ(Scheme(), "http");
    EXPECT_THAT(DoubtsInLog(), IsEmpty());
}

} // namespace
