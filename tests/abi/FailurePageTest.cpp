// The page for operators explains every number by which a request can fail.

#include "SourceTree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <vector>

namespace
{

/// The numbers of `CHttpOutcome`, as its header writes them.
std::vector<std::string> NumbersOfOutcomes()
{
    const std::string strHeader = TextOf("include/ktshttpagent/chttpclient.h");
    const std::regex enumerator("\n    [A-Z][A-Za-z]+ = (-[0-9]+),\n");
    std::vector<std::string> vecNumbers;
    for (std::sregex_iterator it(strHeader.begin(), strHeader.end(), enumerator), end; it != end; ++it) {
        vecNumbers.push_back((*it)[1]);
    }
    return vecNumbers;
}

TEST(FailurePage, ExplainsEveryNumberOfTheTransport)
{
    const std::vector<std::string> vecNumbers = NumbersOfOutcomes();
    EXPECT_THAT(vecNumbers, testing::IsSupersetOf({"-1", "-28", "-60", "-1000"}));
    const std::string strPage = TextOf("docs/when-it-fails.md");
    for (const std::string& strNumber : vecNumbers) {
        EXPECT_THAT(strPage, testing::HasSubstr("\n| " + strNumber + " | "));
    }
}

} // namespace
