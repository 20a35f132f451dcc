// Heads and last lines that nothing of this library writes: their checksums are right, but what they say is
// not.

#include "MemoryDisk.h"
#include "ReportHelp.h"

#include "outbox/Crc32c.h"
#include "outbox/DeadLetter.h"
#include "outbox/Folder.h"
#include "outbox/Record.h"
#include "outbox/RunName.h"

#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <string>

using namespace outbox;

namespace
{

/// A record with this head, an empty body and the right checksum.
std::string RecordWithHead(const std::string& strHead)
{
    const std::uint32_t nCrc = Crc32c().Add(SOME_RUN).Add("\n").Add(strHead).Add("\n").Value();
    return "R1 " + Hex8(nCrc) + " " + std::to_string(strHead.size()) + " 0 " + strHead + "\n\n";
}

struct OddHead {
    const char* szName;
    const char* szHead;
};

void PrintTo(const OddHead& row, std::ostream* pStream)
{
    *pStream << row.szName;
}

class RecordWithOddHead : public testing::TestWithParam<OddHead>
{
};

TEST_P(RecordWithOddHead, IsNone)
{
    Record record;
    std::size_t nBytes = 0;
    EXPECT_EQ(ReadRecord(SOME_RUN, RecordWithHead(GetParam().szHead), record, nBytes), Reading::None);
}

INSTANTIATE_TEST_SUITE_P(
    Each, RecordWithOddHead,
    testing::Values(
        OddHead{"NoJson", "{"}, OddHead{"NoObject", "[]"},
        OddHead{"NoNumber", R"({"key":"k","type":1,"url":"u","header":"h","time":1})"},
        OddHead{"NumberBelow0", R"({"seq":-1,"key":"k","type":1,"url":"u","header":"h","time":1})"},
        OddHead{"Number0", R"({"seq":0,"key":"k","type":1,"url":"u","header":"h","time":1})"},
        OddHead{"NoType", R"({"seq":1,"key":"k","url":"u","header":"h","time":1})"},
        OddHead{"TypeOfText", R"({"seq":1,"key":"k","type":"1","url":"u","header":"h","time":1})"},
        OddHead{"NoTime", R"({"seq":1,"key":"k","type":1,"url":"u","header":"h"})"},
        OddHead{"TimeOfText", R"({"seq":1,"key":"k","type":1,"url":"u","header":"h","time":"1"})"},
        OddHead{"NoKey", R"({"seq":1,"type":1,"url":"u","header":"h","time":1})"},
        OddHead{"KeyOfNumber", R"({"seq":1,"key":1,"type":1,"url":"u","header":"h","time":1})"},
        OddHead{"NoUrl", R"({"seq":1,"key":"k","type":1,"header":"h","time":1})"},
        OddHead{"NoHeader", R"({"seq":1,"key":"k","type":1,"url":"u","time":1})"}),
    testing::PrintToStringParamName());

TEST(RecordHead, MayHoldMoreThanThisVersionKnows)
{
    Record record;
    std::size_t nBytes = 0;
    const std::string strBytes = RecordWithHead(
        R"({"seq":1,"key":"k","type":1,"url":"u","header":"h","time":1,"stream":7,"new":[{}]})");
    EXPECT_EQ(ReadRecord(SOME_RUN, strBytes, record, nBytes), Reading::Whole);
    EXPECT_EQ(nBytes, strBytes.size());
    EXPECT_EQ(record.report.strKey, "k");
    EXPECT_EQ(record.report.strStream, "") << "a stream is a text";
}

TEST(RunName, Has32HexadecimalDigits)
{
    EXPECT_TRUE(IsRunName(SOME_RUN));
    EXPECT_TRUE(IsRunName(NewRunName()));
    EXPECT_FALSE(IsRunName(SOME_RUN + "0"));
    EXPECT_FALSE(IsRunName(""));
    for (const char c : {'/', ':', '`', 'g', 'A'}) {
        EXPECT_FALSE(IsRunName(SOME_RUN.substr(1) + c)) << c;
    }
}

TEST(DeadLetterCause, IsLeftOutAsFarAsItCantBeRead)
{
    const std::string strRecord =
        RecordWithHead(R"({"seq":1,"key":"k","type":1,"url":"u","header":"h","time":1})");
    for (const char* szCause :
         {"", "x", "[]", "{}", R"({"ended":1,"why":null,"status":"400","time":"now"})"}) {
        const auto optLetter = ParseDeadLetter(DeadLetterName(SOME_RUN, 1), strRecord + szCause);
        ASSERT_TRUE(optLetter) << szCause;
        EXPECT_EQ(optLetter->record.report.strKey, "k") << szCause;
        EXPECT_EQ(optLetter->strEnding + optLetter->strWhy, "") << szCause;
        EXPECT_EQ(optLetter->nStatus, 0) << szCause;
        EXPECT_EQ(optLetter->nEndedMs, 0) << szCause;
    }
    EXPECT_FALSE(ParseDeadLetter("1.rec", strRecord)) << "without the name of a run";
    EXPECT_FALSE(ParseDeadLetter(DeadLetterName(SOME_RUN, 1), strRecord.substr(1)));
}

TEST(DeadLetterCause, IsWordedByItsEnding)
{
    const auto pMachine = std::make_shared<Machine>();
    MemoryDisk disk(pMachine);
    disk.MakeFolder(DEAD_FOLDER);
    const std::string strRecord =
        RecordWithHead(R"({"seq":1,"key":"k","type":1,"url":"u","header":"h","time":1})");
    const std::pair<Ending, const char*> WORDS[] = {{Ending::Acknowledged, "acknowledged"},
                                                    {Ending::Dead, "dead"},
                                                    {Ending::Dropped, "dropped"},
                                                    {Ending::Parked, "parked"}};
    for (const auto& [eEnding, szWord] : WORDS) {
        ASSERT_FALSE(WriteDeadLetter(disk, SOME_RUN, 1, strRecord, {eEnding, "", 0, 0}));
        std::error_code error;
        const auto optLetter = ReadDeadLetter(disk, DeadLetterName(SOME_RUN, 1), error);
        ASSERT_TRUE(optLetter);
        EXPECT_EQ(optLetter->strEnding, szWord);
    }
}

TEST(DeadLetter, IsNotThereIfItCantBeWrittenWhole)
{
    const auto pMachine = std::make_shared<Machine>();
    MemoryDisk disk(pMachine);
    disk.MakeFolder(DEAD_FOLDER);
    for (const char* szFailing : {"create", "append", "sync", "sync folder"}) {
        pMachine->fnBefore = [szFailing](const std::string& strOperation, const std::string&) {
            return strOperation == szFailing ? std::make_error_code(std::errc::io_error) : std::error_code();
        };
        EXPECT_TRUE(WriteDeadLetter(disk, SOME_RUN, 1, "record", {Ending::Dead, "", 0, 0})) << szFailing;
        EXPECT_TRUE(pMachine->Files().empty()) << szFailing;
    }
}

TEST(DeadLetter, ThatCantBeReadIsNoDamage)
{
    const auto pMachine = std::make_shared<Machine>();
    const MemoryDisk disk(pMachine);
    MemoryDisk(pMachine).MakeFolder(DEAD_FOLDER);
    const std::string strName = DeadLetterName(SOME_RUN, 1);
    pMachine->Put(std::string(DEAD_FOLDER) + "/" + strName,
                  RecordWithHead(R"({"seq":1,"key":"k","type":1,"url":"u","header":"h","time":1})"));
    int nOperations = 0;
    for (int nFailing = 0; nFailing <= nOperations; ++nFailing) {
        nOperations = 0;
        pMachine->fnBefore = [&](const std::string&, const std::string&) {
            return nOperations++ == nFailing ? std::make_error_code(std::errc::io_error) : std::error_code();
        };
        std::error_code error;
        const bool bRead = ReadDeadLetter(disk, strName, error).has_value();
        EXPECT_EQ(bRead, nFailing == nOperations) << nFailing;
        EXPECT_EQ(static_cast<bool>(error), !bRead) << nFailing;
    }
    EXPECT_EQ(nOperations, 3) << "it is opened, and its beginning and the whole are read";
}

} // namespace
