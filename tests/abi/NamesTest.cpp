// Checks what clang-tidy can't check of the conventions for names: types have no prefix for their kind, the
// mark of a const char* is "sz", and constants don't begin with a "k".

#include "SourceTree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <set>
#include <string>
#include <vector>

namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Names = std::set<std::string>;

/// Types that hosts use, or that occur in the names of exported functions.
const Names OF_THE_INTERFACE = {
    "CDataResponse",
    "CHttpClientAnswer",
    "CHttpClientDouble",
    "CHttpClientReply",
    "CHttpClientRequest",
    "CHttpClientResponse",
    "CHttpClientTrace",
    "CKtsConnection",
    "CSource",
    "EBlockingEnd",
    "EKtsFailure",
    "EKtsFault",
    "EKtsTrace",
    "EKtsReportEnding",
    "SAgentState",
    "SBatteryItem",
    "SBlockingOutcome",
    "SIdName",
    "SKtsLabServerOptions",
    "SKtsMetrics",
    "SKtsOutboxStatus",
    "SKtsProfile",
    "SKtsReportEnding",
    "SKtsRequestMetrics",
    "SKtsSent",
    "SKtsSetting",
    "SKtsTrace",
    "SKtsUnknownName",
    "SKtsVersion",
    "SProjectItem",
    "SRequestGetChannelCheckData",
    "SResponseGetAutoExport",
    "SResponseGetBatteryStatus",
    "SResponseGetChannelCheckData",
    "SResponseGetFtpFilePath",
    "SResponseGetProject",
    "SResponseGetWhetherInCommon",
    "SResponseHeader",
    "SSupportVer",
    "SSyncRequest",
};

/// Constants that RapidJSON's templates require of a class.
const Names OF_RAPIDJSON = {"kNeedFree"};

bool IsUpper(char c)
{
    return std::isupper(static_cast<unsigned char>(c)) != 0;
}

bool IsLower(char c)
{
    return std::islower(static_cast<unsigned char>(c)) != 0;
}

/// A name in a text, and the text around it.
struct Word {
    std::string strName;
    std::string strBefore; ///< the part of its line before it
    char cAfter;           ///< the next character that is not a blank; a line feed at the end of the line
};

std::vector<Word> WordsOf(const std::string& strText)
{
    std::vector<Word> vecWords;
    for (const std::string& strLine : LinesOf(CodeOf(strText))) {
        for (auto it = strLine.begin(); it != strLine.end();) {
            const auto itBegin = std::find_if(it, strLine.end(), IsOfAName);
            it = std::find_if_not(itBegin, strLine.end(), IsOfAName);
            const auto itAfter = std::find_if(it, strLine.end(), [](char c) { return c != ' '; });
            if (itBegin != it) {
                vecWords.push_back(
                    {{itBegin, it}, {strLine.begin(), itBegin}, itAfter == strLine.end() ? '\n' : *itAfter});
            }
        }
    }
    return vecWords;
}

/// Whether a name begins like CName, SName or EName.
bool HasPrefix(const std::string& strName)
{
    return strName.size() > 2 && std::string("CSE").find(strName[0]) != std::string::npos &&
           IsUpper(strName[1]) && IsLower(strName[2]);
}

/// The types with a prefix that a text defines or declares.
Names PrefixedTypesIn(const std::string& strText)
{
    Names names;
    bool bNamesType = false; // the next name is that of a type
    for (const Word& word : WordsOf(strText)) {
        if (Names{"class", "struct", "union", "enum"}.count(word.strName) != 0) {
            bNamesType = true;
        } else if (!EndsWith(word.strName, "_API")) {
            const bool bAlias = word.cAfter == '=' && EndsWith(word.strBefore, "using ");
            if ((bNamesType || bAlias) && HasPrefix(word.strName)) {
                names.insert(word.strName);
            }
            bNamesType = false;
        }
    }
    return names;
}

/// The names in a text that have the mark "psz" instead of "sz".
Names PszNamesIn(const std::string& strText)
{
    Names names;
    for (const Word& word : WordsOf(strText)) {
        if (word.strName.find("psz") != std::string::npos) {
            names.insert(word.strName);
        }
    }
    return names;
}

/// The constants in a text that begin with a "k", except RapidJSON's own.
Names KConstantsIn(const std::string& strText)
{
    Names names;
    for (const Word& word : WordsOf(strText)) {
        if (word.strName.size() > 1 && word.strName[0] == 'k' && IsUpper(word.strName[1]) &&
            !EndsWith(word.strBefore, "rapidjson::")) {
            names.insert(word.strName);
        }
    }
    return names;
}

std::string WholeText()
{
    std::string strText;
    for (const std::string& strFile : SourcesIn({"include", "sdk", "agent", "net", "platform", "labserver",
                                                 "testing", "apps", "bench", "examples", "fuzz", "tests"})) {
        strText += TextOf(strFile) + "\n";
    }
    return strText;
}

TEST(Names, TheRuleItselfSeesAPrefix)
{
    EXPECT_THAT(PrefixedTypesIn("class CName\n{\n};\n"), ElementsAre("CName"));
    EXPECT_THAT(PrefixedTypesIn("struct SOME_API SName : CBase {};\n"), ElementsAre("SName"));
    EXPECT_THAT(PrefixedTypesIn("enum class EName { A };\nenum EOther {};\n"),
                ElementsAre("EName", "EOther"));
    EXPECT_THAT(PrefixedTypesIn("    using SName = tagSName;\nclass CLater;"),
                ElementsAre("CLater", "SName"));
}

TEST(Names, TheRuleItselfTakesNoOtherCapitalsForAPrefix)
{
    EXPECT_THAT(
        PrefixedTypesIn("class Connection;\nstruct SDKFactory {};\nenum class End {};\nunion Slot;\n"),
        IsEmpty());
    EXPECT_THAT(PrefixedTypesIn("// class CName\nCName name; const char* const SZ = \"struct SName\";\n"),
                IsEmpty());
}

TEST(Names, TheRuleItselfSeesAnotherMarkOfAText)
{
    EXPECT_THAT(PszNamesIn("void F(const char* pszName, char** ppszAll, const char* szOwn); // pszNot"),
                ElementsAre("ppszAll", "pszName"));
}

TEST(Names, TheRuleItselfSeesAKBeforeAConstant)
{
    EXPECT_THAT(KConstantsIn("const int kMost = rapidjson::kTheirs + killed + MOST; // kNot\n"),
                ElementsAre("kMost"));
}

TEST(Names, OfTypesHaveNoPrefixButForThoseOfTheInterface)
{
    EXPECT_EQ(PrefixedTypesIn(WholeText()), OF_THE_INTERFACE);
}

TEST(Names, OfTextsAreMarkedInOneWay)
{
    EXPECT_THAT(PszNamesIn(WholeText()), IsEmpty());
}

TEST(Names, OfConstantsHaveNoK)
{
    EXPECT_EQ(KConstantsIn(WholeText()), OF_RAPIDJSON);
}

} // namespace
