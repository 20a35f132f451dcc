// Checks the limits of length: a file of production code has at most 300 lines, the body of a function at
// most 60.

#include "SourceTree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::size_t MOST_LINES_OF_A_FILE = 300;
constexpr std::size_t MOST_LINES_OF_A_FUNCTION = 60;

struct Body {
    std::size_t nLine;  ///< of the opening brace, counted from 1
    std::size_t nLines; ///< including the lines of both braces
};

/// The indentation of a line.
std::size_t IndentOf(const std::string& strLine)
{
    return std::min(strLine.find_first_not_of(' '), strLine.size());
}

/// A line of code without leading and trailing blanks.
std::string Trimmed(const std::string& strLine)
{
    const std::size_t nEnd = strLine.find_last_not_of(' ');
    return nEnd == std::string::npos ? std::string()
                                     : strLine.substr(IndentOf(strLine), nEnd + 1 - IndentOf(strLine));
}

/// Whether a line can't be part of the declaration that begins below it.
bool EndsBefore(const std::string& strTrimmed)
{
    return strTrimmed.empty() || strTrimmed[0] == '#' ||
           std::string(";{}:").find(strTrimmed.back()) != std::string::npos;
}

/// Whether a brace on a line of its own opens a class or a namespace, according to the declaration above it.
bool IsOfAClassOrNamespace(const std::vector<std::string>& vecLines, std::size_t nBrace)
{
    for (std::size_t nLine = nBrace; nLine > 0 && !EndsBefore(Trimmed(vecLines[nLine - 1])); --nLine) {
        const std::string strTrimmed = Trimmed(vecLines[nLine - 1]);
        for (const char* szWord : {"class ", "struct ", "union ", "enum ", "namespace", "inline namespace"}) {
            if (BeginsWith(strTrimmed, szWord) && strTrimmed.find('(') == std::string::npos) {
                return true;
            }
        }
    }
    return false;
}

/// The bodies of functions in a text that is formatted as .clang-format says. There an opening brace on a
/// line of its own begins the body of a function, a class or a namespace, and the next closing brace with the
/// same indentation ends it. Functions on a single line are left out.
std::vector<Body> BodiesIn(const std::string& strText)
{
    std::vector<Body> vecBodies;
    const std::vector<std::string> vecLines = LinesOf(CodeOf(strText));
    for (std::size_t nBrace = 0; nBrace < vecLines.size(); ++nBrace) {
        if (Trimmed(vecLines[nBrace]) != "{" || IsOfAClassOrNamespace(vecLines, nBrace)) {
            continue;
        }
        const std::string strEnd = std::string(IndentOf(vecLines[nBrace]), ' ') + "}";
        std::size_t nEnd = nBrace;
        while (nEnd < vecLines.size() && !BeginsWith(vecLines[nEnd], strEnd)) {
            ++nEnd;
        }
        vecBodies.push_back({nBrace + 1, nEnd - nBrace + 1});
    }
    return vecBodies;
}

/// The numbers of the lines in which bodies begin that exceed the limit.
std::vector<std::size_t> LongBodiesIn(const std::string& strText)
{
    std::vector<std::size_t> vecLines;
    for (const Body& body : BodiesIn(strText)) {
        if (body.nLines > MOST_LINES_OF_A_FUNCTION) {
            vecLines.push_back(body.nLine);
        }
    }
    return vecLines;
}

bool IsLongFile(const std::string& strText)
{
    return LinesOf(strText).size() > MOST_LINES_OF_A_FILE;
}

/// The same line, repeated.
std::string Lines(std::size_t nCount, const std::string& strLine)
{
    std::string strLines;
    for (; nCount > 0; --nCount) {
        strLines += strLine + "\n";
    }
    return strLines;
}

TEST(Lengths, TheRuleItselfSeesALongFile)
{
    EXPECT_FALSE(IsLongFile(Lines(300, "// text")));
    EXPECT_TRUE(IsLongFile(Lines(301, "// text")));
}

TEST(Lengths, TheRuleItselfSeesALongFunction)
{
    EXPECT_THAT(LongBodiesIn("int F()\n{\n" + Lines(58, "    Call();") + "}\n"), IsEmpty());
    EXPECT_THAT(LongBodiesIn("int F()\n{\n" + Lines(59, "    Call();") + "}\n"), ElementsAre(2));
    EXPECT_THAT(LongBodiesIn("C::C()\n    : m_n(1)\n{\n" + Lines(59, "    Call();") + "}\n"), ElementsAre(3));
    EXPECT_THAT(LongBodiesIn("struct stat F(int n)\n{\n" + Lines(59, "    Call();") + "}\n"), ElementsAre(2));
    EXPECT_THAT(LongBodiesIn("template <class T>\nvoid F(T t)\n{\n" + Lines(59, "    Call();") + "}\n"),
                ElementsAre(3));
}

TEST(Lengths, TheRuleItselfSeesALongFunctionInAClassOfANamespace)
{
    const std::string strFunction = "    void F()\n    {\n" + Lines(59, "        Call();") + "    }\n";
    EXPECT_THAT(LongBodiesIn("namespace n\n{\nclass C : B\n{\n" + strFunction + "};\n}\n"), ElementsAre(6));
}

TEST(Lengths, TheRuleItselfIsNotMisledByWhatIsNoCode)
{
    const std::string strWords =
        "// \" {\nconst char* const SZ = R\"x(\n}\n{\n)x\";\nconst char C = '{';\n/*\n}\n*/\n";
    EXPECT_THAT(BodiesIn(strWords), IsEmpty());
    EXPECT_THAT(LongBodiesIn("int F()\n{\n" + Lines(20, "/*\n}\n*/") + "}\n"), ElementsAre(2));
    EXPECT_THAT(LongBodiesIn("int F()\n{\n    n = 1'0;\n" + Lines(58, "    Call();") + "}\n"),
                ElementsAre(2));
}

TEST(Lengths, TheRuleItselfTakesClassesAndNamespacesForNoFunctions)
{
    EXPECT_THAT(
        LongBodiesIn("class C : public A,\n          public B\n{\n" + Lines(90, "    int F();") + "};\n"),
        IsEmpty());
    EXPECT_THAT(LongBodiesIn("namespace n\n{\n" + Lines(90, "int F();") + "}\n"), IsEmpty());
}

TEST(Lengths, NoFileIsTooLong)
{
    std::vector<std::string> vecLong;
    for (const std::string& strFile : ProductionSources()) {
        if (IsLongFile(TextOf(strFile))) {
            vecLong.push_back(strFile);
        }
    }
    EXPECT_THAT(vecLong, IsEmpty());
}

TEST(Lengths, NoFunctionIsTooLong)
{
    std::vector<std::string> vecLong;
    std::size_t nBodies = 0;
    for (const std::string& strFile : ProductionSources()) {
        const std::string strText = TextOf(strFile);
        nBodies += BodiesIn(strText).size();
        for (const std::size_t nLine : LongBodiesIn(strText)) {
            vecLong.push_back(strFile + ":" + std::to_string(nLine));
        }
    }
    EXPECT_GT(nBodies, 500U) << "the source tree was not found, or is formatted in another way";
    EXPECT_THAT(vecLong, IsEmpty());
}

} // namespace
