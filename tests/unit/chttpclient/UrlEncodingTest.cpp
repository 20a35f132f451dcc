#include "platform/chttpclient/UrlEncoding.h"

#include <gtest/gtest.h>

#include <string>

namespace
{

using chttpclient::EncodeUrl;

struct EncodingCase {
    const char* szName;
    std::string strUrl;
    std::string strEncoded;
};

class UrlEncoding : public ::testing::TestWithParam<EncodingCase>
{
};

TEST_P(UrlEncoding, EncodesWhatNoUrlMayHoldAndNothingElse)
{
    EXPECT_EQ(EncodeUrl(GetParam().strUrl), GetParam().strEncoded);
}

TEST_P(UrlEncoding, LeavesAValidUrlAlone)
{
    EXPECT_EQ(EncodeUrl(GetParam().strEncoded), GetParam().strEncoded);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, UrlEncoding,
    ::testing::Values(
        EncodingCase{"Plain", "http://h:80/a/b?x=1&y=2#z", "http://h:80/a/b?x=1&y=2#z"},
        EncodingCase{"Reserved", "http://h/:?#@!$&'()*+,;=-._~", "http://h/:?#@!$&'()*+,;=-._~"},
        EncodingCase{"Brackets", "http://user@[::1]:80/a[b]?c[d]#e[f]",
                     "http://user@[::1]:80/a%5Bb%5D?c%5Bd%5D#e%5Bf%5D"},
        EncodingCase{"BracketsInAQueryWithoutPath", "http://[::1]?a[0]=1", "http://[::1]?a%5B0%5D=1"},
        EncodingCase{"BracketsInAFragmentWithoutPath", "http://[::1]#[x]", "http://[::1]#%5Bx%5D"},
        EncodingCase{"BracketsInAUrlWithinTheQuery", "http://h/?u=http://[::1]/",
                     "http://h/?u=http://%5B::1%5D/"},
        EncodingCase{"BracketsBeforeAScheme", "[http]://[h]/", "%5Bhttp%5D://%5Bh%5D/"},
        EncodingCase{"BracketsWithoutAScheme", "[::1]:80/x", "%5B::1%5D:80/x"},
        EncodingCase{"BracketsWithoutAnAuthority", "http:/[a]", "http:/%5Ba%5D"},
        EncodingCase{"UnclosedBracketInTheAuthority", "http://[::1/x[", "http://[::1/x%5B"},
        EncodingCase{"BracketBesideAStrayPercent", "http://h/?[%", "http://h/?%5B%25"},
        EncodingCase{"EscapedBrackets", "http://h/?a%5B%5d", "http://h/?a%5B%5d"},
        EncodingCase{"Space", "http://h/?t=a b", "http://h/?t=a%20b"},
        EncodingCase{"Forbidden", "\"<>\\^`{|}", "%22%3C%3E%5C%5E%60%7B%7C%7D"},
        EncodingCase{"LineEnds", "http://h/?t=a\r\nHost: x", "http://h/?t=a%0D%0AHost:%20x"},
        EncodingCase{"Controls", std::string("\0\x01\x1F\x7F", 4), "%00%01%1F%7F"},
        EncodingCase{"Chinese", "?dxtm=电芯", "?dxtm=%E7%94%B5%E8%8A%AF"},
        EncodingCase{"InvalidUtf8", "\x80\xFF", "%80%FF"},
        EncodingCase{"ValidEscapes", "%41%e4%E4%00", "%41%e4%E4%00"},
        EncodingCase{"StrayPercents", "100% %4 %G1 %1G %", "100%25%20%254%20%25G1%20%251G%20%25"},
        EncodingCase{"EscapesOfTheLastDigits", "%99%FF%ff", "%99%FF%ff"},
        EncodingCase{"PercentBeforeEscape", "%%41", "%25%41"}, EncodingCase{"Empty", "", ""}),
    [](const auto& text) { return text.param.szName; });

TEST(UrlEncodingOfEveryByte, IsPrintableAsciiWithoutSpaces)
{
    for (int nByte = 0; nByte < 256; ++nByte) {
        const std::string strEncoded = EncodeUrl(std::string(1, static_cast<char>(nByte)));
        for (const char c : strEncoded) {
            EXPECT_TRUE(c > ' ' && c < '\x7F') << nByte;
        }
    }
}

} // namespace
