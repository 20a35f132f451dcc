// What unpacks one body after another, and several at once.

#include "Packed.h"

#include "platform/reply/Inflater.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace
{

/// Longer than a piece in which it is unpacked.
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
std::string Unpack(CInflater& inflater, const std::string& strPacked, std::size_t nPiece)
{
    std::string strText;
    for (std::size_t nAt = 0; nAt < strPacked.size(); nAt += nPiece) {
        const EUnpacked eResult =
            inflater.Write(std::string_view(strPacked).substr(nAt, nPiece), [&](std::string_view strPart) {
                strText += strPart;
                return true;
            });
        EXPECT_EQ(eResult, EUnpacked::Well);
    }
    return strText;
}

TEST(Inflater, TakesAnyNumberOfMembers)
{
    CInflater inflater(CInflater::Format::Gzip);
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

TEST(Inflater, CountsWhatItTookInAllPiecesOfAllMembers)
{
    const std::string strNothing = Gzipped("");
    CInflater inflater(CInflater::Format::Gzip);
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
                CInflater gzip(CInflater::Format::Gzip);
                CInflater deflate(CInflater::Format::Deflate);
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
