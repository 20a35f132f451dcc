#include "Packed.h"

#include "platform/chttpclient/BodyDecoder.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

using chttpclient::BodyDecoder;

constexpr std::size_t PLENTY = 1'000'000;

struct Coding {
    const char* szName;
    const char* szLabel;
    std::string (*fnPack)(const std::string&);
};

std::string PackedTwice(const std::string& strText)
{
    return Deflated(Gzipped(strText));
}

std::string InTwoMembers(const std::string& strText)
{
    return Gzipped(strText.substr(0, strText.size() / 2)) + Gzipped(strText.substr(strText.size() / 2));
}

class BodyCoding : public ::testing::TestWithParam<Coding>
{
protected:
    /// A text of more than a window of 32 KiB, with few repetitions.
    static std::string Text()
    {
        std::string strText;
        for (unsigned nValue = 1; strText.size() < 100'000; nValue = nValue * 1103515245U + 12345U) {
            strText += std::to_string(nValue);
        }
        return strText;
    }

    static std::string ShortText() { return "{\"code\": 0, \"code\": 0, \"message\": \"\"}"; }
};

TEST_P(BodyCoding, IsUnpackedInPiecesOfEverySize)
{
    const std::string strText = Text();
    const std::string strPacked = GetParam().fnPack(strText);
    for (const std::size_t nPiece :
         {std::size_t{1}, std::size_t{2}, std::size_t{7}, std::size_t{4096}, PLENTY}) {
        BodyDecoder decoder(PLENTY);
        ASSERT_EQ(decoder.AddCodings(GetParam().szLabel), CURLE_OK);
        for (std::size_t nAt = 0; nAt < strPacked.size(); nAt += nPiece) {
            ASSERT_EQ(decoder.Write(std::string_view(strPacked).substr(nAt, nPiece)), CURLE_OK);
        }
        EXPECT_TRUE(decoder.IsComplete());
        EXPECT_EQ(decoder.TakeBody(), strText);
    }
}

TEST_P(BodyCoding, IsCompleteOnlyAtItsEnd)
{
    const std::string strPacked = GetParam().fnPack(ShortText());
    const std::size_t nFirstMember = Gzipped(ShortText().substr(0, ShortText().size() / 2)).size();
    for (std::size_t nLength = 1; nLength < strPacked.size(); ++nLength) {
        BodyDecoder decoder(PLENTY);
        ASSERT_EQ(decoder.AddCodings(GetParam().szLabel), CURLE_OK);
        ASSERT_EQ(decoder.Write(std::string_view(strPacked).substr(0, nLength)), CURLE_OK);
        const bool bMemberEnds = GetParam().fnPack == &InTwoMembers && nLength == nFirstMember;
        EXPECT_EQ(decoder.IsComplete(), bMemberEnds) << nLength << " of " << strPacked.size() << " bytes";
    }
}

TEST_P(BodyCoding, HasALimitUnpacked)
{
    const std::string strText = Text();
    BodyDecoder decoder(strText.size() - 1);
    ASSERT_EQ(decoder.AddCodings(GetParam().szLabel), CURLE_OK);
    EXPECT_EQ(decoder.Write(GetParam().fnPack(strText)), CURLE_FILESIZE_EXCEEDED);
}

TEST_P(BodyCoding, EndsWhereItEnds)
{
    BodyDecoder decoder(PLENTY);
    ASSERT_EQ(decoder.AddCodings(GetParam().szLabel), CURLE_OK);
    ASSERT_EQ(decoder.Write(GetParam().fnPack(ShortText())), CURLE_OK);
    EXPECT_EQ(decoder.Write("after"), CURLE_BAD_CONTENT_ENCODING);
}

INSTANTIATE_TEST_SUITE_P(Each, BodyCoding,
                         ::testing::Values(Coding{"Gzip", "gzip", &Gzipped},
                                           Coding{"GzipInTwoMembers", "gzip", &InTwoMembers},
                                           Coding{"Deflate", "deflate", &Deflated},
                                           Coding{"DeflateWithoutFrame", "deflate", &RawDeflated},
                                           Coding{"Both", "gzip, deflate", &PackedTwice}),
                         [](const auto& row) { return std::string(row.param.szName); });

// Data that unpacks to nothing would otherwise never reach a limit: a megabyte of empty blocks, packed once
// more.
TEST(BodyDecoder, HasALimitForWhatUnpacksToNothing)
{
    std::string strEmptyBlocks;
    while (strEmptyBlocks.size() < PLENTY) {
        strEmptyBlocks.append("\0\0\0\xFF\xFF", 5);
    }
    BodyDecoder decoder(1000);
    ASSERT_EQ(decoder.AddCodings("deflate, gzip"), CURLE_OK);
    EXPECT_EQ(decoder.Write(Gzipped(strEmptyBlocks)), CURLE_FILESIZE_EXCEEDED);
}

} // namespace
