// The format of a record and of an ending, and the way through a damaged file.

#include "MemoryDisk.h"
#include "ReportHelp.h"

#include "outbox/DeadLetter.h"
#include "outbox/EndingLine.h"
#include "outbox/Record.h"
#include "outbox/RecordScan.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

using namespace outbox;
using ::testing::ElementsAre;

namespace
{

const std::string OTHER_RUN(32, 'f');

std::string Written(std::uint64_t nSequence, const std::string& strBody)
{
    Report report = MakeReport(strBody);
    report.strKey = SOME_RUN + "-" + std::to_string(nSequence);
    report.nStoredMs = 1'700'000'000'000;
    return WriteRecord(SOME_RUN, nSequence, report);
}

Reading Read(const std::string& strBytes, const std::string& strRun = SOME_RUN)
{
    Record record;
    std::size_t nBytes = 0;
    return ReadRecord(strRun, strBytes, record, nBytes);
}

/// The pieces of a file as text: R for a record with its number, bad and torn with their lengths.
std::vector<std::string> Pieces(const std::string& strContent)
{
    const auto pMachine = std::make_shared<Machine>();
    pMachine->Put("file", strContent);
    std::error_code error;
    const auto pFile = MemoryDisk(pMachine).OpenToRead("file", error);
    RecordScan scan(*pFile, SOME_RUN);
    std::vector<std::string> vecPieces;
    for (;;) {
        Record record;
        const RecordScan::Piece piece = scan.Next(record);
        switch (piece.eKind) {
        case RecordScan::Kind::Record:
            vecPieces.push_back("R" + std::to_string(record.nSequence));
            break;
        case RecordScan::Kind::Bad:
            vecPieces.push_back("bad " + std::to_string(piece.nBytes));
            break;
        case RecordScan::Kind::Torn:
            vecPieces.push_back("torn " + std::to_string(piece.nBytes));
            break;
        default:
            return vecPieces;
        }
    }
}

} // namespace

TEST(Record, LooksAsDocumented)
{
    EXPECT_EQ(Written(7, R"({"x":1})"),
              "R1 e4a4cec4 165 7 "
              R"({"seq":7,"key":"0123456789abcdef0123456789abcdef-7","type":3112,)"
              R"("url":"http://10.0.0.5:8080/saveData","header":"Content-Type: application/json",)"
              R"("time":1700000000000})"
              "\n{\"x\":1}\n");
}

TEST(Record, ComesBackAsItWas)
{
    Report report = MakeReport(std::string("\0\n\"R1 \xff\\", 9));
    report.strKey = "key";
    report.strStream = "box 1\n";
    report.nStoredMs = -5;
    Record record;
    std::size_t nBytes = 0;
    const std::string strBytes = WriteRecord(SOME_RUN, 18'446'744'073'709'551'615U, report);
    ASSERT_EQ(ReadRecord(SOME_RUN, strBytes + "more", record, nBytes), Reading::Whole);
    EXPECT_EQ(nBytes, strBytes.size());
    EXPECT_EQ(record.nSequence, 18'446'744'073'709'551'615U);
    EXPECT_EQ(record.report.nType, report.nType);
    EXPECT_EQ(record.report.strUrl, report.strUrl);
    EXPECT_EQ(record.report.strHeader, report.strHeader);
    EXPECT_EQ(record.report.strBody, report.strBody);
    EXPECT_EQ(record.report.strStream, report.strStream);
    EXPECT_EQ(record.report.strKey, report.strKey);
    EXPECT_EQ(record.report.nStoredMs, report.nStoredMs);
}

TEST(Record, IsNoneWithAnyByteChanged)
{
    const std::string strBytes = Written(1, "body");
    for (std::size_t i = 0; i < strBytes.size(); ++i) {
        std::string strChanged = strBytes;
        strChanged[i] = static_cast<char>(strChanged[i] ^ 1);
        EXPECT_NE(Read(strChanged), Reading::Whole) << i;
    }
}

TEST(Record, IsCutAtEveryShorterLength)
{
    const std::string strBytes = Written(1, "body");
    for (std::size_t i = 0; i < strBytes.size(); ++i) {
        EXPECT_EQ(Read(strBytes.substr(0, i)), Reading::Cut) << i;
    }
    EXPECT_EQ(Read(strBytes), Reading::Whole);
}

TEST(Record, OfAnotherRunIsNone)
{
    EXPECT_EQ(Read(Written(1, "body"), OTHER_RUN), Reading::None);
}

TEST(Record, WithLengthsBeyondReasonIsNone)
{
    EXPECT_EQ(Read("R1 00000000 999999999 1 {"), Reading::None);
    EXPECT_EQ(Read("R1 00000000 10 999999999 {"), Reading::None);
    EXPECT_EQ(Read("R1 00000000 10 9999999999 {"), Reading::None);
    EXPECT_EQ(Read("R1 00000000 10 -1 {"), Reading::None);
    EXPECT_EQ(Read("R1 0000000 10 1 {"), Reading::None);
}

TEST(RecordScan, GoesFromRecordToRecord)
{
    EXPECT_THAT(Pieces(Written(1, "a") + Written(2, "") + Written(5, "c")), ElementsAre("R1", "R2", "R5"));
    EXPECT_THAT(Pieces(""), ElementsAre());
}

TEST(RecordScan, FindsTheNextRecordBehindDamage)
{
    EXPECT_THAT(Pieces("xyz" + Written(1, "a")), ElementsAre("bad 3", "R1"));
    EXPECT_THAT(Pieces(Written(1, "a") + "R1 \nxR1 " + Written(2, "b")), ElementsAre("R1", "bad 8", "R2"));
    std::string strDamaged = Written(1, "a");
    const std::size_t nLength = strDamaged.size();
    strDamaged.back() = '\0'; // even if the next record does not begin a line
    EXPECT_THAT(Pieces(strDamaged + Written(2, "b")), ElementsAre("bad " + std::to_string(nLength), "R2"));
}

TEST(RecordScan, FindsTheNextRecordBehindMuchDamage)
{
    const std::string strMuch(1'000'001, 'x');
    EXPECT_THAT(Pieces(strMuch + Written(1, "a")), ElementsAre("bad 1000001", "R1"));
    for (const std::size_t nBefore : {262'141U, 262'142U, 262'143U, 262'144U}) { // around the end of a block
        EXPECT_THAT(Pieces(std::string(nBefore, 'x') + Written(1, "a")),
                    ElementsAre("bad " + std::to_string(nBefore), "R1"));
    }
}

TEST(RecordScan, TakesARecordInABodyForNone)
{
    EXPECT_THAT(Pieces(Written(1, "\n" + WriteRecord(OTHER_RUN, 9, MakeReport("x")))), ElementsAre("R1"));
    const std::string strInner = WriteRecord(OTHER_RUN, 9, MakeReport("x"));
    EXPECT_THAT(Pieces(strInner + Written(1, "a")),
                ElementsAre("bad " + std::to_string(strInner.size()), "R1"));
}

TEST(RecordScan, TellsATornEndFromADamagedOne)
{
    const std::string strCut = Written(2, "body").substr(0, 50);
    EXPECT_THAT(Pieces(Written(1, "a") + strCut), ElementsAre("R1", "torn 50"));
    EXPECT_THAT(Pieces(Written(1, "a") + "R"), ElementsAre("R1", "torn 1"));
    EXPECT_THAT(Pieces(Written(1, "a") + std::string(700'000, '\0')), ElementsAre("R1", "torn 700000"));
    EXPECT_THAT(Pieces(Written(1, "a") + "x"), ElementsAre("R1", "bad 1"));
    EXPECT_THAT(Pieces(Written(1, "a") + std::string(700'000, '\0') + "x"), ElementsAre("R1", "bad 700001"));
}

TEST(RecordScan, TellsEachReadThatFailsAndGoesOnWhenTheFileCanBeRead)
{
    const auto pMachine = std::make_shared<Machine>();
    pMachine->Put("file",
                  std::string(300'000, 'x') + Written(1, std::string(300'000, 'b')) + Written(2, "c"));
    std::error_code error;
    const auto pFile = MemoryDisk(pMachine).OpenToRead("file", error);
    int nReads = 0;
    for (int nFailing = 0; nFailing <= nReads; ++nFailing) {
        nReads = 0;
        pMachine->fnBefore = [&](const std::string&, const std::string&) {
            return nReads++ == nFailing ? std::make_error_code(std::errc::io_error) : std::error_code();
        };
        RecordScan scan(*pFile, SOME_RUN);
        std::vector<std::uint64_t> vecPieces;
        int nErrors = 0;
        Record record;
        for (auto piece = scan.Next(record); piece.eKind != RecordScan::Kind::End;
             piece = scan.Next(record)) {
            if (piece.eKind == RecordScan::Kind::Error) {
                ++nErrors;
                EXPECT_EQ(piece.error, std::errc::io_error) << nFailing;
            } else {
                vecPieces.push_back(piece.eKind == RecordScan::Kind::Record ? record.nSequence
                                                                            : piece.nBytes);
            }
        }
        EXPECT_THAT(vecPieces, ElementsAre(300'000U, 1U, 2U)) << nFailing;
        EXPECT_EQ(nErrors, nFailing < nReads ? 1 : 0) << nFailing;
    }
    EXPECT_GT(nReads, 4);
}

TEST(EndingLine, LooksAsDocumentedAndIsReadAgain)
{
    const std::string strLine = WriteEnding(SOME_RUN, 12, Ending::Parked);
    EXPECT_EQ(strLine, "A1 485346d4 12 parked\n");
    EXPECT_EQ(ReadEnding(SOME_RUN, strLine.substr(0, strLine.size() - 1)), 12U);
    EXPECT_EQ(ReadEnding(OTHER_RUN, strLine.substr(0, strLine.size() - 1)), std::nullopt);
    EXPECT_LE(WriteEnding(SOME_RUN, 9'999'999'999'999, Ending::Acknowledged).size(), MOST_ENDING_BYTES);
}

TEST(EndingLine, IsNoneWithAnyByteChangedOrMissing)
{
    const std::string strWhole = WriteEnding(SOME_RUN, 12, Ending::Acknowledged);
    const std::string strLine = strWhole.substr(0, strWhole.size() - 1);
    for (std::size_t i = 0; i < strLine.size(); ++i) {
        std::string strChanged = strLine;
        strChanged[i] = static_cast<char>(strChanged[i] ^ 1);
        EXPECT_EQ(ReadEnding(SOME_RUN, strChanged), std::nullopt) << i;
        EXPECT_EQ(ReadEnding(SOME_RUN, strLine.substr(0, i)), std::nullopt) << i;
    }
}

TEST(DeadLetter, IsReadAgainWithItsCause)
{
    const auto pMachine = std::make_shared<Machine>();
    MemoryDisk disk(pMachine);
    disk.MakeFolder("dead");
    const std::string strName = DeadLetterName(SOME_RUN, 3);
    for (const char* szWhy : {"first", "it said \"no\"\n"}) { // the second replaces the first
        ASSERT_FALSE(WriteDeadLetter(disk, SOME_RUN, 3, Written(3, "body"),
                                     {Ending::Parked, szWhy, -28, 1'700'000'000'000}));
    }
    std::error_code error;
    const auto optLetter = ReadDeadLetter(disk, strName, error);
    ASSERT_TRUE(optLetter);
    EXPECT_EQ(optLetter->record.report.strBody, "body");
    EXPECT_EQ(optLetter->strEnding, "parked");
    EXPECT_EQ(optLetter->strWhy, "it said \"no\"\n");
    EXPECT_EQ(optLetter->nStatus, -28);
    EXPECT_EQ(optLetter->nEndedMs, 1'700'000'000'000);
    EXPECT_FALSE(ParseDeadLetter(DeadLetterName(SOME_RUN, 4), Written(3, "body")));
    EXPECT_TRUE(ParseDeadLetter(strName, Written(3, "body"))) << "without its last line";
}
