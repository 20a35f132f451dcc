// The variables that the agent knows of libraries which a site may replace: the transport and the log.

#include "KnownVariables.h"
#include "RecordingLog.h"

#include "platform/chttpclient/TransportSettings.h"
#include "platform/clog/LogSettings.h"
#include "platform/reply/ReplyLimits.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <map>
#include <regex>
#include <string>

using testing::IsEmpty;
using testing::Not;

namespace
{

/// The variables in the table of a header, each with its default.
std::map<std::string, std::string> DocumentedIn(const std::string& strHeader)
{
    std::map<std::string, std::string> mapDocumented;
    std::ifstream file(std::string(KTS_PUBLIC_HEADERS) + "/" + strHeader);
    const std::regex row("^/// \\| `?([A-Z_]+)`? *\\|.*\\| *(.*[^ ]) *\\|$");
    for (std::string strLine; std::getline(file, strLine);) {
        std::smatch match;
        if (std::regex_match(strLine, match, row)) {
            mapDocumented[match[1]] = match[2];
        }
    }
    return mapDocumented;
}

std::map<std::string, std::string> KnownWith(const std::string& strPrefix)
{
    std::map<std::string, std::string> mapKnown;
    for (const KnownVariable& variable : KnownVariables()) {
        if (std::string(variable.szName).rfind(strPrefix, 0) == 0) {
            mapKnown[variable.szName] = variable.szDefault;
        }
    }
    return mapKnown;
}

/// Whether the library that reads a variable refuses its value.
bool IsRefusedByItsLibrary(const std::string& strName)
{
    ClearRecordedLog();
    chttpclient::ReadTransportSettings();
    std::string strComplaints;
    for (const RecordedLine& line : RecordedLog()) {
        strComplaints += line.strText;
    }
    for (const std::string& strComplaint : ReadLogSettings().vecComplaints) {
        strComplaints += strComplaint;
    }
    return strComplaints.find(strName) != std::string::npos;
}

} // namespace

TEST(KnownVariables, OfTheTransportAreThoseOfItsHeader)
{
    EXPECT_THAT(DocumentedIn("chttpclient.h"), Not(IsEmpty()));
    EXPECT_EQ(KnownWith("CHTTPCLIENT_"), DocumentedIn("chttpclient.h"));
}

TEST(KnownVariables, OfTheLogAreThoseOfItsHeader)
{
    EXPECT_THAT(DocumentedIn("clog.h"), Not(IsEmpty()));
    EXPECT_EQ(KnownWith("CLOG_"), DocumentedIn("clog.h"));
}

TEST(KnownVariables, OfTheLibraryHaveTheDefaultsInForce)
{
    const std::map<std::string, std::string> mapKnown = KnownWith("KTSHTTPAGENT_");
    EXPECT_EQ(mapKnown.at(REPLY_VALUES_VARIABLE), std::to_string(ReplyLimits().nValues));
    EXPECT_EQ(mapKnown.at(LIST_ELEMENTS_VARIABLE), std::to_string(ReplyLimits().nListElements));
}

TEST(KnownVariables, AreJudgedAsTheirLibrariesDo)
{
    int nRefused = 0;
    for (const KnownVariable& variable : KnownVariables()) {
        if (!variable.range || std::string(variable.szName).rfind("KTSHTTPAGENT_", 0) == 0) {
            continue;
        }
        const std::string strAbove = std::to_string(static_cast<std::uint64_t>(variable.range->nMax) + 1);
        for (const std::string& strValue :
             {std::to_string(variable.range->nMin - 1), std::to_string(variable.range->nMin),
              std::to_string(variable.range->nMax), strAbove, std::string("x"), std::string()}) {
            ::setenv(variable.szName, strValue.c_str(), 1);
            const bool bRefused = IsRefusedByItsLibrary(variable.szName);
            EXPECT_EQ(!StateOf(variable).strComplaint.empty(), bRefused)
                << variable.szName << "=" << strValue;
            nRefused += bRefused ? 1 : 0;
            ::unsetenv(variable.szName);
        }
    }
    EXPECT_GT(nRefused, 0);
}

TEST(KnownVariables, HaveTheirDefaultsInForceIfAValueIsRefused)
{
    for (const KnownVariable& variable : KnownVariables()) {
        if (variable.range) {
            ::setenv(variable.szName, "many", 1);
            const VariableState state = StateOf(variable);
            EXPECT_EQ(state.strValue, variable.szDefault);
            EXPECT_FALSE(state.bFromEnvironment);
            EXPECT_THAT(state.strComplaint, testing::HasSubstr("many"));
        }
    }
}
