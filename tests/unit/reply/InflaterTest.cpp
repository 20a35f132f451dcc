// Unpacking one body after another, and several at once.

#include "Packed.h"
#include "ProcessUse.h"

#include "platform/reply/Inflater.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <thread>
#include <vector>

namespace
{

/// A text longer than the pieces in which it is unpacked.
std::string TextOf(int nNumber)
{
    std::string strText;
    while (strText.size() < 100'000) {
        strText += std::to_string(nNumber) + ',' + std::to_string(strText.size()) + ';';
    }
    return strText;
}

/// Writes packed bytes in pieces of that size.
/// @return what was unpacked
std::string Unpack(Inflater& inflater, const std::string& strPacked, std::size_t nPiece)
{
    std::string strText;
    for (std::size_t nAt = 0; nAt < strPacked.size(); nAt += nPiece) {
        const Unpacked eResult =
            inflater.Write(std::string_view(strPacked).substr(nAt, nPiece), [&](std::string_view strPart) {
                EXPECT_FALSE(strPart.empty());
                strText += strPart;
                return true;
            });
        EXPECT_EQ(eResult, Unpacked::Well);
    }
    return strText;
}

TEST(Inflater, TakesAnyNumberOfMembers)
{
    Inflater inflater(Inflater::Format::Gzip);
    for (int nMember = 1; nMember <= 20; ++nMember) {
        const std::string strPacked = Gzipped(TextOf(nMember));
        std::string strText = Unpack(inflater, strPacked.substr(0, 100), 100);
        EXPECT_FALSE(inflater.IsComplete()) << nMember;
        EXPECT_EQ(inflater.HasSeenEnd(), nMember > 1) << nMember;
        strText += Unpack(inflater, strPacked.substr(100), 1000);
        EXPECT_TRUE(inflater.IsComplete()) << nMember;
        EXPECT_EQ(strText, TextOf(nMember));
    }
}

TEST(Inflater, TakesMembersThatComeAtOnceOrByteByByte)
{
    const std::string strText = TextOf(1) + std::string(1'000'000, 'x');
    const std::string strPacked = Gzipped(strText) + Gzipped("") + Gzipped(strText);
    for (const std::size_t nPiece : {strPacked.size(), std::size_t{1}}) {
        Inflater inflater(Inflater::Format::Gzip);
        EXPECT_TRUE(Unpack(inflater, strPacked, nPiece) == strText + strText) << nPiece;
        EXPECT_TRUE(inflater.IsComplete()) << nPiece;
    }
}

TEST(Inflater, IsCompleteBeforeTheFirstByteAndNotAfterIt)
{
    Inflater inflater(Inflater::Format::Gzip);
    EXPECT_TRUE(inflater.IsComplete());
    Unpack(inflater, Gzipped("text").substr(0, 1), 1);
    EXPECT_FALSE(inflater.IsComplete());
}

struct Deflate {
    const char* szName;
    std::string strPacked;
    std::string strText;

    friend void PrintTo(const Deflate& row, std::ostream* pOut) { *pOut << row.szName; }
};

class Deflates : public ::testing::TestWithParam<Deflate>
{
};

TEST_P(Deflates, AreUnpackedWithAndWithoutAFrame)
{
    for (const std::size_t nPiece : {GetParam().strPacked.size(), std::size_t{1}}) {
        Inflater inflater(Inflater::Format::Deflate);
        EXPECT_TRUE(Unpack(inflater, GetParam().strPacked, nPiece) == GetParam().strText) << nPiece;
        EXPECT_TRUE(inflater.IsComplete()) << nPiece;
    }
}

/// The text stored without compression and without a frame. Five bits of the first byte are unused, so it can
/// have many values; the second byte is the length.
std::string Stored(unsigned char nFirst, const std::string& strText)
{
    const auto cLength = static_cast<char>(strText.size());
    return std::string{static_cast<char>(nFirst), cLength, '\0', static_cast<char>(~cLength), '\xff'} +
           strText + std::string("\x01\0\0\xff\xff", 5);
}

// Each of the stored texts lacks a different sign of a frame, and has the others.
INSTANTIATE_TEST_SUITE_P(
    Each, Deflates,
    ::testing::Values(Deflate{"Framed", Deflated(TextOf(1)), TextOf(1)},
                      Deflate{"Frameless", RawDeflated(TextOf(1)), TextOf(1)},
                      Deflate{"FramelessOfTwoBytes", RawDeflated(""), ""},
                      Deflate{"OfNoMethodOfAFrame", Stored(0x00, std::string(31, 'x')), std::string(31, 'x')},
                      Deflate{"OfTooLargeAWindow", Stored(0x88, std::string(28, 'x')), std::string(28, 'x')},
                      Deflate{"OfNoMultipleOf31", Stored(0x78, "text"), "text"}),
    ::testing::PrintToStringParamName());

// The last packed byte stands for hundreds of bytes, which may not all fit into the current piece.
TEST(Inflater, GivesWhatIsLeftWhenAPieceIsFull)
{
    for (std::size_t nOver = 0; nOver < 600; ++nOver) {
        const std::string strText(std::size_t{16} * 1024 + nOver, 'x');
        const std::string strPacked = RawDeflated(strText);
        Inflater inflater(Inflater::Format::Deflate);
        EXPECT_EQ(Unpack(inflater, strPacked, strPacked.size()).size(), strText.size());
        EXPECT_TRUE(inflater.IsComplete()) << nOver;
    }
}

TEST(Inflater, TakesNothingBehindTheEndOfADeflate)
{
    for (const std::string& strPacked : {Deflated("text"), RawDeflated("text")}) {
        Inflater inflater(Inflater::Format::Deflate);
        EXPECT_EQ(Unpack(inflater, strPacked, strPacked.size()), "text");
        EXPECT_EQ(inflater.Write(strPacked, [](std::string_view /*strPart*/) { return true; }),
                  Unpacked::Damaged);
    }
}

TEST(Inflater, EndsAtDamageAndWhereTheSinkTakesNoMore)
{
    const auto fnTakeNothing = [nCalls = 0](std::string_view /*strPart*/) mutable {
        EXPECT_EQ(++nCalls, 1);
        return false;
    };
    Inflater refused(Inflater::Format::Gzip);
    EXPECT_EQ(refused.Write(Gzipped(TextOf(1)), fnTakeNothing), Unpacked::Refused);
    Inflater damaged(Inflater::Format::Gzip);
    EXPECT_EQ(damaged.Write("This is no gzip.", fnTakeNothing), Unpacked::Damaged);
}

TEST(Inflater, TakesTwiceTheLimitAndTwoKibibytesMore)
{
    const auto fnTakeAll = [](std::string_view /*strPart*/) { return true; };
    Inflater inflater(Inflater::Format::Gzip);
    inflater.Write(std::string(2 * (1000 + 1024) + 1, 'x'), fnTakeAll);
    EXPECT_FALSE(inflater.HasTakenTooMuch(1000));
    inflater.Write("x", fnTakeAll);
    EXPECT_TRUE(inflater.HasTakenTooMuch(1000));
}

TEST(Inflater, LeavesNoMemoryBehind)
{
    const std::string strPacked = Gzipped(TextOf(1));
    const auto fnUnpackOne = [&] {
        Inflater inflater(Inflater::Format::Gzip);
        Unpack(inflater, strPacked, 5000);
    };
    fnUnpackOne();
    const std::size_t nBefore = HeapBytes();
    for (int nBody = 0; nBody < 100; ++nBody) {
        fnUnpackOne();
    }
    EXPECT_LT(HeapBytes(), nBefore + 100'000);
}

TEST(Inflater, CountsWhatItTookInAllPiecesOfAllMembers)
{
    const std::string strNothing = Gzipped("");
    Inflater inflater(Inflater::Format::Gzip);
    std::size_t nTaken = 0;
    while (!inflater.HasTakenTooMuch(1000) && nTaken < 100'000) {
        EXPECT_EQ(Unpack(inflater, strNothing, 7), "");
        nTaken += strNothing.size();
    }
    EXPECT_GT(nTaken, 2000U);
    EXPECT_LT(nTaken, 10'000U);
}

TEST(Inflater, OfOneBodyHasNothingToDoWithThoseOfOthers)
{
    std::vector<std::thread> vecThreads;
    for (int nThread = 0; nThread < 4; ++nThread) {
        vecThreads.emplace_back([nThread] {
            const std::string strText = TextOf(nThread);
            const std::string strGzip = Gzipped(strText);
            const std::string strDeflate = RawDeflated(strText);
            for (int nBody = 0; nBody < 50; ++nBody) {
                Inflater gzip(Inflater::Format::Gzip);
                Inflater deflate(Inflater::Format::Deflate);
                EXPECT_TRUE(Unpack(gzip, strGzip, 5000) == strText);
                EXPECT_TRUE(Unpack(deflate, strDeflate, 5000) == strText);
            }
        });
    }
    for (std::thread& thread : vecThreads) {
        thread.join();
    }
}

} // namespace
