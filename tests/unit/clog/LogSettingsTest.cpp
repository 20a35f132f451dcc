#include "ContainsPattern.h"
#include "LogFolder.h"

#include <ktshttpagent/clog.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <ostream>

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::SizeIs;

namespace fs = std::filesystem;

namespace
{

void WriteALineOfEachLevel()
{
    for (const int nLevel : {1, 2, 3, 4, 5}) {
        Log_Write(nLevel, "Levels", nLevel, "text");
    }
}

} // namespace

class LogLevel : public testing::TestWithParam<std::size_t>
{
};

TEST_P(LogLevel, IsTheHighestWritten)
{
    const LogFolder folder;
    ::setenv("CLOG_LEVEL", std::to_string(GetParam()).c_str(), 1);
    WriteALineOfEachLevel();
    const std::vector<std::string> vecLines = folder.Lines();
    ASSERT_THAT(vecLines, SizeIs(GetParam()));
    for (std::size_t nLine = 0; nLine < vecLines.size(); ++nLine) {
        EXPECT_THAT(vecLines[nLine], EndsWith("Levels:" + std::to_string(nLine + 1) + " text"));
    }
}

INSTANTIATE_TEST_SUITE_P(All, LogLevel, testing::Values(1, 2, 3, 4), testing::PrintToStringParamName());

TEST(LogSettings, LevelNoneMakesNoFile)
{
    const LogFolder folder;
    ::setenv("CLOG_LEVEL", "0", 1);
    ::setenv("CLOG_FILES", "many", 1);
    WriteALineOfEachLevel();
    Log_Write(0, "Levels", 0, "text");
    EXPECT_TRUE(fs::is_empty(folder.Path()));
}

TEST(LogSettings, ByDefaultDebugLinesAreDropped)
{
    const LogFolder folder;
    ::unsetenv("CLOG_LEVEL");
    WriteALineOfEachLevel();
    EXPECT_THAT(folder.Lines(), SizeIs(3));
}

TEST(LogSettings, NoFileIsMadeBeforeTheFirstLineThatIsWritten)
{
    const LogFolder folder;
    Log_Write(4, "Levels", 4, "dropped");
    EXPECT_TRUE(fs::is_empty(folder.Path()));
    Log_Write(3, "Levels", 3, "written");
    EXPECT_THAT(folder.Lines(), SizeIs(1));
}

TEST(LogSettings, AnEmptyValueIsNoValue)
{
    const LogFolder folder;
    for (const char* szName : {"CLOG_LEVEL", "CLOG_FILE_BYTES", "CLOG_FILES"}) {
        ::setenv(szName, "", 1);
    }
    WriteALineOfEachLevel();
    EXPECT_THAT(folder.Lines(), SizeIs(3));
}

struct InvalidSetting {
    const char* szName;
    const char* szValue;
    const char* szComplaint;

    friend void PrintTo(const InvalidSetting& row, std::ostream* pOut)
    {
        *pOut << row.szName << '=' << testing::PrintToString(row.szValue);
    }
};

class InvalidLogSetting : public testing::TestWithParam<InvalidSetting>
{
};

TEST_P(InvalidLogSetting, IsNamedInTheLogAndLeavesTheDefaultInForce)
{
    const LogFolder folder;
    ::setenv(GetParam().szName, GetParam().szValue, 1);
    WriteALineOfEachLevel();
    EXPECT_THAT(folder.Lines(),
                ElementsAre(EndsWith(std::string("Log_Write:2 ") + GetParam().szComplaint),
                            EndsWith("Levels:1 text"), EndsWith("Levels:2 text"), EndsWith("Levels:3 text")));
}

INSTANTIATE_TEST_SUITE_P(
    Values, InvalidLogSetting,
    testing::Values(
        InvalidSetting{"CLOG_LEVEL", "5", R"(CLOG_LEVEL="5" is no number from 0 to 4; 3 is in force)"},
        InvalidSetting{"CLOG_LEVEL", "-1", R"(CLOG_LEVEL="-1" is no number from 0 to 4; 3 is in force)"},
        InvalidSetting{"CLOG_LEVEL", "1x", R"(CLOG_LEVEL="1x" is no number from 0 to 4; 3 is in force)"},
        InvalidSetting{"CLOG_LEVEL", " 1", R"(CLOG_LEVEL=" 1" is no number from 0 to 4; 3 is in force)"},
        InvalidSetting{"CLOG_LEVEL", "1\nfalse line",
                       R"(CLOG_LEVEL="1\nfalse line" is no number from 0 to 4; 3 is in force)"},
        InvalidSetting{"CLOG_LEVEL", "99999999999999999999",
                       R"(CLOG_LEVEL="99999999999999999999" is no number from 0 to 4; 3 is in force)"},
        InvalidSetting{"CLOG_FILE_BYTES", "0",
                       R"(CLOG_FILE_BYTES="0" is no number from 1 to 1000000000000; 5242880 is in force)"},
        InvalidSetting{"CLOG_FILE_BYTES", "5M",
                       R"(CLOG_FILE_BYTES="5M" is no number from 1 to 1000000000000; 5242880 is in force)"},
        InvalidSetting{"CLOG_FILES", "1001",
                       R"(CLOG_FILES="1001" is no number from 0 to 1000; 5 is in force)"}));

TEST(LogSettings, OfSeveralThatAreIgnoredEachIsNamedAsAnError)
{
    const LogFolder folder;
    for (const char* szName : {"CLOG_LEVEL", "CLOG_FILE_BYTES", "CLOG_FILES"}) {
        ::setenv(szName, "many", 1);
    }
    Log_Write(3, "Levels", 3, "text");
    EXPECT_THAT(folder.Lines(),
                ElementsAre(ContainsPattern(" error .* Log_Write:2 CLOG_FILES="),
                            ContainsPattern(" error .* Log_Write:2 CLOG_FILE_BYTES="),
                            ContainsPattern(" error .* Log_Write:2 CLOG_LEVEL="), EndsWith("Levels:3 text")));
}

TEST(LogSettings, AnIgnoredSettingIsNamedEvenWhereOnlyErrorsAreLogged)
{
    const LogFolder folder;
    ::setenv("CLOG_LEVEL", "1", 1);
    ::setenv("CLOG_FILES", "many", 1);
    WriteALineOfEachLevel();
    EXPECT_THAT(folder.Lines(), ElementsAre(HasSubstr("CLOG_FILES=\"many\""), EndsWith("Levels:1 text")));
}

#if defined(_WIN32)

TEST(LogSettings, ByDefaultTheLogIsInTheLocalFolderOfTheUser)
{
    const LogFolder folder;
    ::unsetenv("CLOG_DIR");
    ::setenv("LOCALAPPDATA", folder.Path().c_str(), 1);
    WriteALineOfEachLevel();
    EXPECT_TRUE(fs::exists(folder.Path() / "ktshttpagent/ktshttpagent.log"));
}

#else

TEST(LogSettings, ByDefaultTheLogIsInTheStateFolderOfTheEnvironment)
{
    const LogFolder folder;
    ::unsetenv("CLOG_DIR");
    ::setenv("XDG_STATE_HOME", (folder.Path() / "state").c_str(), 1);
    ::setenv("HOME", (folder.Path() / "home").c_str(), 1);
    WriteALineOfEachLevel();
    EXPECT_TRUE(fs::exists(folder.Path() / "state/ktshttpagent/ktshttpagent.log"));
    EXPECT_FALSE(fs::exists(folder.Path() / "home"));
}

class WithoutStateFolder : public testing::TestWithParam<const char*>
{
};

TEST_P(WithoutStateFolder, TheLogIsInTheHomeFolder)
{
    const LogFolder folder;
    ::unsetenv("CLOG_DIR");
    ::setenv("XDG_STATE_HOME", GetParam(), 1);
    ::setenv("HOME", folder.Path().c_str(), 1);
    WriteALineOfEachLevel();
    EXPECT_TRUE(fs::exists(folder.Path() / ".local/state/ktshttpagent/ktshttpagent.log"));
}

INSTANTIATE_TEST_SUITE_P(EmptyOrRelative, WithoutStateFolder, testing::Values("", "relative/state"));

#endif

TEST(LogSettings, AFolderMayHaveAnyName)
{
    const LogFolder folder;
    const fs::path pathUser = folder.Path() / fs::u8path("Użytkownik 用户 \xF0\x9F\x94\x8B");
    ::setenv("CLOG_DIR", pathUser.c_str(), 1);
    ::setenv("CLOG_FILE_BYTES", "1", 1); // so that files are rotated there too
    WriteALineOfEachLevel();
    EXPECT_TRUE(fs::exists(pathUser / "ktshttpagent.log"));
    EXPECT_TRUE(fs::exists(pathUser / "ktshttpagent.2.log"));
}

TEST(LogSettings, WithoutAnyFolderNothingIsWrittenIntoTheCurrentOne)
{
    const LogFolder folder;
    fs::current_path(folder.Path());
    for (const char* szName : {"CLOG_DIR", "XDG_STATE_HOME", "HOME", "LOCALAPPDATA"}) {
        ::unsetenv(szName);
    }
    testing::internal::CaptureStderr();
    WriteALineOfEachLevel();
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("set CLOG_DIR"));
    EXPECT_TRUE(fs::is_empty(folder.Path()));
}

TEST(LogSettings, ARelativeFolderIsThatOfTheFirstLine)
{
#if defined(_WIN32)
    GTEST_SKIP() << "Windows lets nobody remove a file that is open";
#endif
    const LogFolder folder;
    fs::current_path(folder.Path());
    ::setenv("CLOG_DIR", "logs", 1);
    Log_Write(1, "Relative", 1, "first");
    fs::remove_all("logs");
    fs::create_directory("elsewhere");
    fs::current_path("elsewhere");
    Log_Write(1, "Relative", 2, "second");
    EXPECT_TRUE(fs::exists(folder.Path() / "logs/ktshttpagent.log"));
    EXPECT_TRUE(fs::is_empty(folder.Path() / "elsewhere"));
}

TEST(LogFolderCall, GivesTheFolderInForceAndMakesNothing)
{
    const LogFolder folder;
    const fs::path pathUser = folder.Path() / fs::u8path("Użytkownik 用户");
    ::setenv("CLOG_DIR", pathUser.c_str(), 1);
    EXPECT_EQ(Log_Folder(), pathUser.u8string());
    EXPECT_TRUE(fs::is_empty(folder.Path()));
    ::setenv("CLOG_DIR", "elsewhere", 1);
    WriteALineOfEachLevel();
    EXPECT_EQ(Log_Folder(), pathUser.u8string()) << "settings are read once";
    EXPECT_TRUE(fs::exists(pathUser / "ktshttpagent.log"));
}

TEST(LogFolderCall, GivesNothingWhereTheEnvironmentNamesNone)
{
    for (const char* szName : {"CLOG_DIR", "XDG_STATE_HOME", "HOME", "LOCALAPPDATA"}) {
        ::unsetenv(szName);
    }
    EXPECT_STREQ(Log_Folder(), "");
}
