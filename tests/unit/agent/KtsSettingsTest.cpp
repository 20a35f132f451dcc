// What KtsSettings.h says about settings in files.

#include "ProfileCheck.h"
#include "SettingRows.h"
#include "SettingsProfile.h"
#include "SettingsRoot.h"

#include "outbox/Outbox.h"
#include "outbox/OutboxStatus.h"

#include <ktshttpagent/CUIAgentReq.h>
#include <ktshttpagent/KtsSettings.h>
#include <ktshttpagent/RequestType.h>

#include <gmock/gmock.h>

#include <QDir>
#include <QFileInfo>
#include <QSettings>
#include <QTemporaryDir>

#include <algorithm>

namespace
{

class KtsSettings : public SettingsRoot
{
protected:
    static SKtsSetting Find(const std::string& strName)
    {
        const std::vector<SKtsSetting> vecSettings = KtsSettingsInForce();
        const auto it = std::find_if(vecSettings.begin(), vecSettings.end(),
                                     [&](const SKtsSetting& setting) { return setting.strName == strName; });
        return it == vecSettings.end() ? SKtsSetting{} : *it;
    }
};

/// A text of a file, and the line that Qt can't parse; 0 if there is none.
struct FileText {
    const char* szName;
    const char* szText;
    int nLine;
};

void PrintTo(const FileText& row, std::ostream* pOut)
{
    *pOut << row.szName;
}

class BrokenLine : public SettingsRoot, public testing::WithParamInterface<FileText>
{
};

TEST(KtsSettingsDefaults, AreThoseOfASettingWithoutAType)
{
    EXPECT_EQ(SKtsSetting().nType, 0);
}

TEST(KtsSettingsDefaults, AreThoseOfAProfileWithoutAFile)
{
    const SKtsProfile profile;
    EXPECT_FALSE(profile.bExists);
    EXPECT_EQ(profile.nLine, 0);
}

} // namespace

TEST_F(KtsSettings, NameAProfileAndAnEnvironmentAndTheDefaultsAsOrigins)
{
    Write(PLUGIN, "HttpUrlGetSyxm=api/projects\n");
    qputenv("CHTTPCLIENT_DRAIN_MS", "7");

    const SKtsSetting ofFile = Find("HttpUrlGetSyxm");
    EXPECT_EQ(ofFile.strValue, "api/projects");
    EXPECT_EQ(ofFile.strOrigin, FileOf(PLUGIN).toStdString());
    EXPECT_EQ(ofFile.nType, VelCSDK::RequestType::GetProjects);

    const SKtsSetting ofEnvironment = Find("CHTTPCLIENT_DRAIN_MS");
    EXPECT_EQ(ofEnvironment.strValue, "7");
    EXPECT_EQ(ofEnvironment.strOrigin, "environment");

    EXPECT_EQ(Find("CLOG_LEVEL").strValue, "3");
    EXPECT_EQ(Find("CLOG_LEVEL").strOrigin, "built in");
    EXPECT_EQ(Find("HttpUrlGetDxzt").strOrigin, "built in");
    EXPECT_EQ(Find("HttpUrlGetDxzt").strValue, "vomd/system/GetDxzt.action");
}

TEST_F(KtsSettings, OfABrokenFileAreNotInForce)
{
    Write(PLUGIN, "HttpUrlGetSyxm=api/projects\nbroken\n");
    EXPECT_EQ(Find("HttpUrlGetSyxm").strOrigin, "built in");
    EXPECT_EQ(KtsProfiles().front().nLine, 2);
    EXPECT_EQ(KtsProfiles().front().strProblem, "can't be parsed");
}

TEST_F(KtsSettings, SayWhereTlsComesFrom)
{
    Write(PLUGIN, "UseTls=on\n");
    EXPECT_EQ(Find("UseTls").strValue, "on");
    EXPECT_EQ(Find("UseTls").strOrigin, FileOf(PLUGIN).toStdString());
    EXPECT_EQ(Find("UseTls").strComplaint, "");
}

TEST_F(KtsSettings, SayThatTheSiteTurnsTlsOff)
{
    Write(PLUGIN, "UseTls=off\n");
    EXPECT_EQ(Find("UseTls").strValue, "off");
    EXPECT_EQ(Find("UseTls").strOrigin, FileOf(PLUGIN).toStdString());
    EXPECT_EQ(Find("UseTls").strComplaint, "");
}

TEST_F(KtsSettings, SayThatAWordOfTheEnvironmentForTlsIsNone)
{
    qputenv("KTSHTTPAGENT_TLS", "perhaps");
    EXPECT_EQ(Find("KTSHTTPAGENT_TLS").strValue, "on");
    EXPECT_THAT(Find("KTSHTTPAGENT_TLS").strComplaint,
                testing::HasSubstr("KTSHTTPAGENT_TLS is \"perhaps\", not one of"));
}

TEST_F(KtsSettings, SayThatTheEnvironmentTurnsTlsOff)
{
    Write(PLUGIN, "UseTls=on\n");
    qputenv("KTSHTTPAGENT_TLS", "no");
    EXPECT_EQ(Find("KTSHTTPAGENT_TLS").strValue, "off");
    EXPECT_EQ(Find("KTSHTTPAGENT_TLS").strOrigin, "environment");
}

TEST_F(KtsSettings, SayThatALineOfTlsIsOdd)
{
    Write(PLUGIN, "[Section]\nUseTls=off\n");
    EXPECT_EQ(Find("UseTls").strValue, "on");
    EXPECT_THAT(Find("UseTls").strComplaint, testing::HasSubstr("holds a line that begins with UseTls"));
}

TEST_F(KtsSettings, ComplainOfAFileOfAuthoritiesWithoutOne)
{
    Write("authorities", "no certificate\n");
    qputenv("CHTTPCLIENT_CA_FILE", FileOf("authorities").toUtf8());
    EXPECT_THAT(Find("CHTTPCLIENT_CA_FILE").strComplaint, testing::HasSubstr("holds no certificate"));
}

TEST_F(KtsSettings, DoNotComplainOfAnEmptyNameOfAFileOfAuthorities)
{
    qputenv("CHTTPCLIENT_CA_FILE", "");
    EXPECT_EQ(Find("CHTTPCLIENT_CA_FILE").strComplaint, "");
}

TEST_F(KtsSettings, ComplainOfEachWordForTheOutboxThatIsNone)
{
    qputenv("KTSHTTPAGENT_OUTBOX_SYNC", "often");
    qputenv("KTSHTTPAGENT_OUTBOX_REPEAT", "never");
    EXPECT_THAT(Find("KTSHTTPAGENT_OUTBOX_SYNC").strComplaint,
                testing::HasSubstr("is \"often\", not one of"));
    EXPECT_THAT(Find("KTSHTTPAGENT_OUTBOX_REPEAT").strComplaint,
                testing::HasSubstr("is \"never\", not one of"));
    EXPECT_EQ(Find("KTSHTTPAGENT_OUTBOX").strComplaint, "");
}

TEST_F(KtsSettings, OfAFolderInThePlaceOfAFileCantBeRead)
{
    QDir().mkpath(FileOf(PLUGIN));
    EXPECT_TRUE(KtsProfiles().front().bExists);
    EXPECT_EQ(KtsProfiles().front().strProblem, "can't be read");
}

TEST_F(KtsSettings, HaveFourProfilesOfWhichNoneExists)
{
    const std::vector<SKtsProfile> vecProfiles = KtsProfiles();
    EXPECT_EQ(vecProfiles.size(), 4U);
    for (const SKtsProfile& profile : vecProfiles) {
        EXPECT_FALSE(profile.bExists);
        EXPECT_EQ(profile.strProblem, "");
        EXPECT_TRUE(profile.vecUnknown.empty());
    }
}

TEST_F(KtsSettings, KnowTheVersionOfTheLibraryFirst)
{
    EXPECT_EQ(KtsVersions().front().strLibrary, "ktshttpagent");
    EXPECT_THAT(KtsVersions().front().strVersion, testing::MatchesRegex("[0-9]+\\.[0-9]+\\.[0-9]+"));
}

TEST_P(BrokenLine, IsFoundWhereQtParsesNoFurther)
{
    Write("profile", GetParam().szText);
    const QSettings settings(FileOf("profile"), QSettings::IniFormat);
    settings.allKeys();                                                            // parses each section
    EXPECT_EQ(settings.status() == QSettings::FormatError, GetParam().nLine != 0); // what Qt says
    EXPECT_EQ(FirstBrokenLine(GetParam().szText), GetParam().nLine);
}

INSTANTIATE_TEST_SUITE_P(
    Of, BrokenLine,
    testing::Values(FileText{"NoText", "", 0}, FileText{"AValue", "a=b\n", 0},
                    FileText{"ASection", "[a]\nb=c\n", 0}, FileText{"EmptyLines", "\n \na=b\r\n\r\n", 0},
                    FileText{"AComment", "; words\na=b\n", 0},
                    FileText{"AnotherComment", "# words\na=b\n", 1}, FileText{"TwoLines", "a=b\\\n c\n", 0},
                    FileText{"ATab", "\ta=b\n\tword\n", 2}, FileText{"AQuotedValue", "a=\"b\nc\"\n", 0},
                    FileText{"ACommentAfterAValue", "a=b ; c\nd=e\n", 0},
                    FileText{"TwoLinesOfWindows", "a=b\\\r\n c\r\n", 0},
                    FileText{"AMark",
                             "\xef\xbb\xbf"
                             "a=b\n",
                             0},
                    FileText{"AMarkBeforeAComment",
                             "\xef\xbb\xbf"
                             "; words\na=b\n",
                             1},
                    FileText{"AMarkBeforeASection",
                             "\xef\xbb\xbf"
                             "[c]\na=b\n",
                             1},
                    FileText{"ASemicolonInQuotes", "a=\"b;c\"\nword\n", 2},
                    FileText{"AWord", "a=b\nword\n", 2}, FileText{"AWordInASection", "a=b\n[c]\n word\n", 3},
                    FileText{"AWordAfterTwoLines", "a=b\\\nc\nword\n", 3},
                    FileText{"AnOpenSection", "a=b\n\n[section\nc=d\n", 3}),
    testing::PrintToStringParamName());

TEST_F(KtsSettings, NameTheOutboxOfAProfileUnlessTheEnvironmentHasAWordOnIt)
{
    const std::string strFolder = QDir::temp().filePath("kts-outbox-,of a profile").toStdString();
    Write(PLUGIN, QByteArray("OutboxFolder=") + strFolder.c_str() + "\n");
    qputenv("KTSHTTPAGENT_OUTBOX", ""); // none is opened
    EXPECT_EQ(Find("KTSHTTPAGENT_OUTBOX").strOrigin, "environment");
    EXPECT_EQ(Find("OutboxFolder").strName, "");
    EXPECT_FALSE(QFileInfo::exists(QString::fromStdString(strFolder)));
    qunsetenv("KTSHTTPAGENT_OUTBOX");
    EXPECT_EQ(Find("OutboxFolder").strValue, strFolder);
    EXPECT_EQ(Find("OutboxFolder").strOrigin, FileOf(PLUGIN).toStdString());
    EXPECT_TRUE(KtsProfiles().front().vecUnknown.empty());
}

TEST_F(KtsSettings, OpenTheOutboxThatAProfileNames)
{
    const QTemporaryDir dir;
    const std::string strFolder = dir.filePath("outbox").toStdString();
    Write(PLUGIN, QByteArray("OutboxFolder=") + strFolder.c_str() + "\n");
    qunsetenv("KTSHTTPAGENT_OUTBOX");
    CUIAgentReq::Instance();
    EXPECT_TRUE(outbox::Status().bOpen) << outbox::Status().strWhyNotOpen;
    EXPECT_EQ(outbox::Status().strFolder, strFolder);
    outbox::Close(std::chrono::milliseconds(0));
}
