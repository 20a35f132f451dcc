// What happens to a packed body when zlib has no memory, or can't be reset. This program replaces functions
// of zlib, which fail as a test says.

#include "platform/chttpclient/BodyDecoder.h"

#include "Packed.h"
#include "platform/reply/Inflater.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <string>

using chttpclient::BodyDecoder;

namespace
{

constexpr std::size_t PLENTY = 1'000'000;

const char* g_szFailing = ""; ///< the function of zlib that fails

bool Fails(const char* szFunction)
{
    return g_szFailing == std::string(szFunction);
}

class FailingZlib : public ::testing::TestWithParam<const char*>
{
protected:
    ~FailingZlib() override { g_szFailing = ""; }
};

} // namespace

// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): the linker's --wrap names them so

#pragma GCC visibility push(default) // required by the linker, since libraries call them too
extern "C" {

int __real_inflateInit2_(z_streamp pStream, int nWindow, const char* szVersion, int nSize);
int __wrap_inflateInit2_(z_streamp pStream, int nWindow, const char* szVersion, int nSize);
int __wrap_inflateInit2_(z_streamp pStream, int nWindow, const char* szVersion, int nSize)
{
    return Fails("inflateInit2_") ? Z_MEM_ERROR : __real_inflateInit2_(pStream, nWindow, szVersion, nSize);
}

int __real_inflate(z_streamp pStream, int nFlush);
int __wrap_inflate(z_streamp pStream, int nFlush);
int __wrap_inflate(z_streamp pStream, int nFlush)
{
    return Fails("inflate") ? Z_MEM_ERROR : __real_inflate(pStream, nFlush);
}

int __real_inflateReset(z_streamp pStream);
int __wrap_inflateReset(z_streamp pStream);
int __wrap_inflateReset(z_streamp pStream)
{
    return Fails("inflateReset") ? Z_STREAM_ERROR : __real_inflateReset(pStream);
}

} // extern "C"
#pragma GCC visibility pop

// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)

TEST_P(FailingZlib, WithoutMemoryMakesABodyFailForThat)
{
    BodyDecoder decoder(PLENTY);
    ASSERT_EQ(decoder.AddCodings("gzip"), CURLE_OK);
    g_szFailing = GetParam();
    EXPECT_EQ(decoder.Write(Gzipped("text")), CURLE_OUT_OF_MEMORY);
}

INSTANTIATE_TEST_SUITE_P(Functions, FailingZlib, ::testing::Values("inflateInit2_", "inflate"));

TEST_F(FailingZlib, ThatDoesNotBeginAgainMakesAFurtherMemberDamaged)
{
    BodyDecoder decoder(PLENTY);
    ASSERT_EQ(decoder.AddCodings("gzip"), CURLE_OK);
    g_szFailing = "inflateReset";
    EXPECT_EQ(decoder.Write(Gzipped("one") + Gzipped("two")), CURLE_BAD_CONTENT_ENCODING);
}

// The first two bytes look like those of a frame, except that the window would be larger than possible: a
// stored block of 28 bytes, in whose first byte the bits after the block type are unused.
TEST(FramelessDeflate, ThatBeginsAlmostLikeAFrameIsUnpacked)
{
    const std::string strStored = std::string("\x88\x1c\x00\xe3\xff", 5) + "a text of twenty-eight bytes" +
                                  std::string("\x01\x00\x00\xff\xff", 5);
    ASSERT_EQ((0x88 * 256 + 0x1c) % 31, 0);
    std::string strText;
    Inflater inflater(Inflater::Format::Deflate);
    EXPECT_EQ(inflater.Write(strStored,
                             [&](std::string_view strPiece) {
                                 strText += strPiece;
                                 return true;
                             }),
              Unpacked::Well);
    EXPECT_EQ(strText, "a text of twenty-eight bytes");
    EXPECT_TRUE(inflater.IsComplete());
}

TEST(PackedBody, ThatIsEmptyIsComplete)
{
    EXPECT_TRUE(Inflater(Inflater::Format::Gzip).IsComplete());
}

// libcurl has such a limit too, so a server can't reach this one.
TEST(PackedBody, OfMoreThanFiveCodingsIsRefused)
{
    BodyDecoder decoder(PLENTY);
    EXPECT_EQ(decoder.AddCodings("gzip, deflate, gzip, deflate, gzip"), CURLE_OK);
    EXPECT_EQ(decoder.AddCodings("gzip"), CURLE_BAD_CONTENT_ENCODING);
}
