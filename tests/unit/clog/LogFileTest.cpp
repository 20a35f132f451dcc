#include "LogFolder.h"
#include "ProcessUse.h"

#include <ktshttpagent/clog.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::SizeIs;
using testing::UnorderedElementsAre;

namespace
{

std::vector<std::string> FileNames(const std::filesystem::path& pathFolder)
{
    std::vector<std::string> vecNames;
    for (const auto& entry : std::filesystem::directory_iterator(pathFolder)) {
        vecNames.push_back(entry.path().filename().string());
    }
    return vecNames;
}

constexpr int WRITERS = 8;
constexpr int LINES_EACH = 500;

/// Writes numbered lines from many threads at once.
void WriteFromManyThreads()
{
    std::vector<std::thread> vecWriters;
    for (int nWriter = 0; nWriter < WRITERS; ++nWriter) {
        vecWriters.emplace_back([nWriter] {
            for (int nLine = 0; nLine < LINES_EACH; ++nLine) {
                Log_Write(1, "Writer" + std::to_string(nWriter), nLine, "%s", std::string(50, 'x').c_str());
            }
        });
    }
    for (std::thread& writer : vecWriters) {
        writer.join();
    }
}

/// Expects that all of these lines are there and complete, those of each thread in order.
void ExpectAllOfManyThreads(const std::vector<std::string>& vecLines)
{
    EXPECT_THAT(vecLines, SizeIs(WRITERS * LINES_EACH));
    std::vector<int> vecNext(WRITERS, 0);
    for (const std::string& strLine : vecLines) {
        const std::size_t nWhere = strLine.find("Writer");
        ASSERT_NE(nWhere, std::string::npos) << strLine;
        int& nNext = vecNext.at(static_cast<std::size_t>(strLine.at(nWhere + 6) - '0'));
        EXPECT_EQ(strLine.substr(nWhere + 7), ":" + std::to_string(nNext++) + " " + std::string(50, 'x'));
    }
}

} // namespace

TEST(LogFile, MakesItsFolderWithTheFoldersAboveIt)
{
    const LogFolder folder;
    const auto pathDeep = folder.Path() / "a" / "b";
    ::setenv("CLOG_DIR", pathDeep.c_str(), 1);
    Log_Write(1, "Deep", 1, "text");
    EXPECT_THAT(FileNames(pathDeep), ElementsAre("ktshttpagent.log"));
}

TEST(LogFile, IsContinuedByTheNextProcess)
{
    const LogFolder folder;
    std::ofstream(folder.File()) << "the line of an earlier process\n";
    Log_Write(1, "Next", 1, "text");
    EXPECT_THAT(folder.Lines(), ElementsAre("the line of an earlier process", EndsWith("Next:1 text")));
}

TEST(LogFile, IsPutAsideWhenItIsFullAndTheOldestGoes)
{
    const LogFolder folder;
    ::setenv("CLOG_FILE_BYTES", "1000", 1);
    ::setenv("CLOG_FILES", "2", 1);
    for (int nLine = 1; nLine <= 4; ++nLine) {
        Log_Write(1, "Rotation", nLine, "%s", std::string(600, 'x').c_str());
    }
    EXPECT_THAT(FileNames(folder.Path()),
                UnorderedElementsAre("ktshttpagent.log", "ktshttpagent.1.log", "ktshttpagent.2.log"));
    EXPECT_THAT(folder.Lines(), ElementsAre(HasSubstr("Rotation:4 ")));
    EXPECT_THAT(folder.Lines(1), ElementsAre(HasSubstr("Rotation:3 ")));
    EXPECT_THAT(folder.Lines(2), ElementsAre(HasSubstr("Rotation:2 ")));
}

TEST(LogFile, IsFilledToItsLastByte)
{
    const LogFolder folder;
    ::setenv("CLOG_FILE_BYTES", "1000", 1);
    Log_Write(1, "Full", 1, "%s", "");
    const auto nLine = static_cast<std::size_t>(std::filesystem::file_size(folder.File()));
    Log_Write(1, "Full", 2, "%s", std::string(1000 - 2 * nLine, 'x').c_str());
    EXPECT_THAT(FileNames(folder.Path()), ElementsAre("ktshttpagent.log"));
    Log_Write(1, "Full", 3, "%s", "");
    EXPECT_THAT(folder.Lines(), ElementsAre(EndsWith("Full:3 ")));
}

TEST(LogFile, IsNotPutAsideWhileItIsEmpty)
{
    const LogFolder folder;
    ::setenv("CLOG_FILE_BYTES", "1", 1);
    Log_Write(1, "Empty", 1, "text");
    EXPECT_THAT(FileNames(folder.Path()), ElementsAre("ktshttpagent.log"));
}

TEST(LogFile, OfOneByteIsPutAside)
{
    const LogFolder folder;
    ::setenv("CLOG_FILE_BYTES", "1", 1);
    std::ofstream(folder.File()) << 'x';
    Log_Write(1, "Next", 1, "text");
    EXPECT_THAT(folder.Lines(1), ElementsAre("x"));
    EXPECT_THAT(folder.Lines(), ElementsAre(EndsWith("Next:1 text")));
}

TEST(LogFile, AlwaysStaysBelowItsSize)
{
    const LogFolder folder;
    ::setenv("CLOG_FILE_BYTES", "1000", 1);
    ::setenv("CLOG_FILES", "3", 1);
    for (int nLine = 1; nLine <= 100; ++nLine) {
        Log_Write(1, "Rotation", nLine, "text");
        ASSERT_LE(std::filesystem::file_size(folder.File()), 1000U);
    }
    EXPECT_THAT(folder.Lines(1), SizeIs(testing::Gt(5U)));
}

TEST(LogFile, KeepsNothingAsideWhenNothingIsWanted)
{
    const LogFolder folder;
    ::setenv("CLOG_FILE_BYTES", "100", 1);
    ::setenv("CLOG_FILES", "0", 1);
    Log_Write(1, "Rotation", 1, "%s", std::string(200, 'x').c_str());
    Log_Write(1, "Rotation", 2, "text");
    EXPECT_THAT(FileNames(folder.Path()), ElementsAre("ktshttpagent.log"));
    EXPECT_THAT(folder.Lines(), ElementsAre(EndsWith("Rotation:2 text")));
}

TEST(LogFile, ComesBackAfterItWasRemoved)
{
#if defined(_WIN32)
    GTEST_SKIP() << "Windows lets nobody remove a file that is open";
#endif
    const LogFolder folder;
    Log_Write(1, "Removed", 1, "before");
    std::filesystem::remove_all(folder.Path());
    Log_Write(1, "Removed", 2, "after");
    EXPECT_THAT(folder.Lines(), ElementsAre(EndsWith("Removed:2 after")));
}

TEST(LogFile, HoldsNoFileOpenThatWasPutAsideOrRemoved)
{
    const LogFolder folder;
    ::setenv("CLOG_FILE_BYTES", "1", 1);
    ::setenv("CLOG_FILES", "2", 1);
    Log_Write(1, "Descriptors", 0, "text");
    const std::size_t nBefore = OpenDescriptors();
    for (int nLine = 1; nLine <= 100; ++nLine) {
        Log_Write(1, "Descriptors", nLine, "text");
    }
    EXPECT_EQ(OpenDescriptors(), nBefore);
#if !defined(_WIN32) // Windows lets nobody remove an open file
    for (int nLine = 101; nLine <= 200; ++nLine) {
        std::filesystem::remove(folder.File());
        Log_Write(1, "Descriptors", nLine, "text");
        ASSERT_THAT(folder.Lines(), ElementsAre(EndsWith("Descriptors:" + std::to_string(nLine) + " text")));
    }
    EXPECT_EQ(OpenDescriptors(), nBefore);
#endif
}

TEST(LogFile, OfManyWritersLosesAndTearsNoLine)
{
    const LogFolder folder;
    WriteFromManyThreads();
    ExpectAllOfManyThreads(folder.Lines());
}

TEST(LogFile, OfManyWritersIsPutAsideWithoutLosingALine)
{
    const LogFolder folder;
    constexpr std::size_t MOST_FILES = 100; // many more than the lines need
    ::setenv("CLOG_FILE_BYTES", "20000", 1);
    ::setenv("CLOG_FILES", std::to_string(MOST_FILES).c_str(), 1);
    WriteFromManyThreads();
    EXPECT_THAT(folder.Lines(10), testing::Not(testing::IsEmpty()));
    std::vector<std::string> vecLines;
    for (std::size_t nAside = MOST_FILES + 1; nAside-- > 0;) {
        const std::vector<std::string> vecOfFile = folder.Lines(nAside);
        vecLines.insert(vecLines.end(), vecOfFile.begin(), vecOfFile.end());
    }
    ExpectAllOfManyThreads(vecLines);
}
