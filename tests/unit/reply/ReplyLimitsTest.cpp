#include "platform/reply/ReplyLimits.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <ostream>
#include <string>

#if !defined(_WIN32)
#include <sys/mman.h>
#include <unistd.h>
#endif

namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

/// Longer than any count in these tests, so that the size alone decides nothing.
const std::string BLANKS(1000, ' ');

struct Counted {
    const char* szName;
    std::string strBody;
    std::size_t nValues;
};

void PrintTo(const Counted& counted, std::ostream* pStream)
{
    *pStream << counted.szName;
}

std::string Zeros(std::size_t nZeros)
{
    std::string strZeros;
    for (std::size_t i = 0; i < nZeros; ++i) {
        strZeros += i == 0 ? "0" : ",0";
    }
    return strZeros;
}

class CountedValues : public ::testing::TestWithParam<Counted>
{
};

TEST_P(CountedValues, AreTheirNumberExactly)
{
    for (const std::string& strBody :
         {GetParam().strBody, GetParam().strBody + BLANKS, BLANKS + GetParam().strBody + "\r\n\t" + BLANKS}) {
        EXPECT_FALSE(HoldsMoreValues(strBody, GetParam().nValues));
        EXPECT_TRUE(HoldsMoreValues(strBody, GetParam().nValues - 1));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Each, CountedValues,
    ::testing::Values(
        Counted{"Number", "1", 1}, Counted{"EmptyObject", "{}", 1}, Counted{"EmptyArray", "[ \n ]", 1},
        Counted{"Array", "[1]", 2}, Counted{"ArrayOfTwo", "[1,2]", 3}, Counted{"Object", R"({"a":1})", 2},
        Counted{"ObjectOfTwo", R"({"a":1 , "b":[]})", 3}, Counted{"Nested", R"([[[]],{"a":{}}])", 5},
        Counted{"OpenBrackets", "[[[[", 4}, Counted{"EmptyArraysInAnArray", "[[],[],[]]", 4},
        Counted{"OpenBraces", "{{{{", 4}, Counted{"SlashAtTheEnd", R"(["[[[",1/)", 3},
        Counted{"CommasAlone", "  ,,,,", 5}, Counted{"CommasInAText", R"([",,,[[[{{{",1])", 3},
        Counted{"EscapedQuote", R"(["\",[,[,[\"",1])", 3},
        Counted{"EscapedBackslashAtTheEnd", R"(["\\",[1],"\\\\"])", 5},
        Counted{"TextNeverClosed", R"(["a,[,[,)", 2}, Counted{"BackslashAtTheEnd", "[\"a\\", 2},
        Counted{"CommasInAComment", "/* ,[,[ */[1,/*,*/2]//,[[\n", 3},
        Counted{"QuoteInAComment", "/*\"*/[" + Zeros(300) + "]", 301},
        Counted{"QuoteInALineComment", "//\"\r[" + Zeros(300) + "]", 301},
        Counted{"CommentThatEndsAtOnce", "/**/[" + Zeros(9) + "]", 10},
        Counted{"LineCommentThatEndsAtOnce", "//\n[" + Zeros(9) + "]", 10},
        Counted{"StarThatEndsNoComment", "/*/[,[,*/[1]", 2}, Counted{"CommentNeverClosed", "[1/*,,,", 2},
        Counted{"CommentMarkInAText", R"(["/*",1,"//",2])", 5}, Counted{"SlashAlone", "[1/,2]", 3},
        Counted{"Many", "[" + Zeros(100'000) + "]", 100'001},
        Counted{"ManyDeep", std::string(100'000, '[') + std::string(100'000, ']'), 100'000}),
    ::testing::PrintToStringParamName());

TEST(ReplyLimits, AnEmptyBodyHoldsNoValueTooMany)
{
    EXPECT_FALSE(HoldsMoreValues("", 1));
}

TEST(ReplyLimits, ASlashAtTheVeryEndBeginsNothing)
{
    EXPECT_FALSE(HoldsMoreValues(R"(["[[[[",1/)", 3));
}

/// Sets a variable for one test.
class Variable
{
public:
    Variable(const char* szName, const char* szValue) : m_szName(szName) { setenv(szName, szValue, 1); }
    ~Variable() { unsetenv(m_szName); }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

private:
    const char* m_szName;
};

TEST(ReplyLimits, HaveDefaults)
{
    std::vector<std::string> vecComplaints;
    const ReplyLimits limits = ReadReplyLimits(vecComplaints);
    EXPECT_EQ(limits.nValues, 2'000'000U);
    EXPECT_EQ(limits.nListElements, 250'000U);
    EXPECT_THAT(vecComplaints, IsEmpty());
}

TEST(ReplyLimits, AreTakenFromTheEnvironment)
{
    const Variable values(REPLY_VALUES_VARIABLE, "1");
    const Variable elements(LIST_ELEMENTS_VARIABLE, "2147483647");
    std::vector<std::string> vecComplaints;
    const ReplyLimits limits = ReadReplyLimits(vecComplaints);
    EXPECT_EQ(limits.nValues, 1U);
    EXPECT_EQ(limits.nListElements, 2'147'483'647U);
    EXPECT_THAT(vecComplaints, IsEmpty());
}

TEST(ReplyLimits, ThatAreNoNumbersInTheirRangeLeaveTheDefaultsAndAreComplainedOf)
{
    for (const char* const szValue : {"", "0", "-1", "x", "1x", " 1", "2147483648", "1e6"}) {
        const Variable elements(LIST_ELEMENTS_VARIABLE, szValue);
        std::vector<std::string> vecComplaints;
        EXPECT_EQ(ReadReplyLimits(vecComplaints).nListElements, 250'000U);
        EXPECT_THAT(vecComplaints,
                    ElementsAre("KTSHTTPAGENT_MAX_LIST_ELEMENTS is \"" + std::string(szValue) +
                                "\", not a number from 1 to 2147483647; 250000 stays in force"));
    }
}

TEST(ReplyLimits, CountNoMoreValuesThanBytes)
{
    for (const std::string strBody : {"", ",", "[,[,"}) {
        EXPECT_FALSE(HoldsMoreValues(strBody, strBody.size())) << strBody;
    }
}

TEST(ReplyLimits, AreComplainedOfOneAfterTheOther)
{
    const Variable values(REPLY_VALUES_VARIABLE, "x");
    const Variable elements(LIST_ELEMENTS_VARIABLE, "y");
    std::vector<std::string> vecComplaints;
    ReadReplyLimits(vecComplaints);
    EXPECT_THAT(vecComplaints,
                ElementsAre(StartsWith(REPLY_VALUES_VARIABLE), StartsWith(LIST_ELEMENTS_VARIABLE)));
}

TEST(ReplyLimits, AreReadOnce)
{
    const std::size_t nBefore = ReplyLimitsInForce().nValues;
    const Variable values(REPLY_VALUES_VARIABLE, "7");
    EXPECT_EQ(ReplyLimitsInForce().nValues, nBefore);
}

#if !defined(_WIN32)

/// A text followed by memory that can't be read.
class GuardedText
{
public:
    explicit GuardedText(const std::string& strText)
        : m_nPage(static_cast<std::size_t>(::sysconf(_SC_PAGESIZE))),
          m_nBytes((strText.size() + m_nPage - 1) / m_nPage * m_nPage),
          m_pFirst(static_cast<char*>(::mmap(nullptr, m_nBytes + m_nPage, PROT_READ | PROT_WRITE,
                                             MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)))
    {
        if (m_pFirst == MAP_FAILED || ::mprotect(m_pFirst + m_nBytes, m_nPage, PROT_NONE) != 0) {
            throw std::bad_alloc();
        }
        m_text = {m_pFirst + m_nBytes - strText.size(), strText.size()};
        strText.copy(m_pFirst + m_nBytes - strText.size(), strText.size());
    }
    ~GuardedText() { ::munmap(m_pFirst, m_nBytes + m_nPage); }
    GuardedText(const GuardedText&) = delete;
    GuardedText& operator=(const GuardedText&) = delete;

    std::string_view Text() const { return m_text; }

private:
    const std::size_t m_nPage;
    const std::size_t m_nBytes;
    char* const m_pFirst;
    std::string_view m_text;
};

TEST_P(CountedValues, AreCountedWithoutReadingBehindTheBody)
{
    const std::string& strBody = GetParam().strBody;
    for (const std::size_t nBlanks : {std::size_t{0}, 128 - strBody.size() % 128}) { // many are read at once
        const GuardedText body(std::string(nBlanks, ' ') + strBody);
        EXPECT_FALSE(HoldsMoreValues(body.Text(), GetParam().nValues));
        EXPECT_TRUE(HoldsMoreValues(body.Text(), GetParam().nValues - 1));
    }
}

#endif

} // namespace
