// The top-level folders of the source tree ("rooms") depend on each other in one direction only: agent → sdk
// → platform, agent → net. These tests check the include lines and the link lines.

#include "SourceTree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cctype>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace
{

namespace fs = std::filesystem;
using ::testing::IsEmpty;

struct Room {
    std::string strName;
    std::set<std::string> setMayInclude; ///< other rooms
    bool bMayUseQt;
};

const Room ROOMS[] = {
    {"platform/system", {}, false},
    {"platform/text", {}, false},
    {"platform/reply", {"platform/system"}, false},
    {"platform/metrics", {"platform/system", "platform/text"}, false},
    {"platform/proxy", {"platform/system"}, false},
    {"platform/clog", {"platform/system", "platform/text"}, false},
    {"platform/chttpclient",
     {"platform/clog", "platform/proxy", "platform/reply", "platform/system", "platform/text"},
     false},
    {"outbox",
     {"platform/chttpclient", "platform/clog", "platform/metrics", "platform/system", "platform/text"},
     false},
    {"sdk",
     {"outbox", "platform/chttpclient", "platform/clog", "platform/metrics", "platform/reply",
      "platform/system", "platform/text"},
     false},
    {"net", {"platform/proxy", "platform/reply", "platform/system"}, true},
    {"agent",
     {"sdk", "net", "outbox", "platform/clog", "platform/metrics", "platform/reply", "platform/system",
      "platform/text"},
     true},
    {"labserver", {"platform/system", "platform/text"}, false},
    {"testing", {"ktshttpagent"}, true},
    {"apps/ktsagent",
     {"labserver", "ktshttpagent", "outbox", "platform/proxy", "platform/system", "platform/text"},
     true},
};

/// The public headers, each with the room whose interface it is: the rules for includes of that room apply to
/// it.
const std::map<std::string, std::string> ROOM_OF_PUBLIC_HEADER = {
    {"BlockingOutcome.h", "agent"},
    {"CHttpClientDouble.h", "platform/chttpclient"},
    {"CUIAgentReq.h", "agent"},
    {"CUIAgentRsp.h", "agent"},
    {"IVelClientSDk.h", "sdk"},
    {"KtsConnection.h", "agent"},
    {"KtsExport.h", "platform/metrics"},
    {"KtsMetrics.h", "platform/metrics"},
    {"KtsNetworkAccess.h", "agent"},
    {"KtsOutbox.h", "outbox"},
    {"KtsSettings.h", "agent"},
    {"KtsTrace.h", "agent"},
    {"KtsVersion.h", "agent"},
    {"RequestRecords.h", "sdk"},
    {"RequestType.h", "sdk"},
    {"ResultRecords.h", "sdk"},
    {"ResultVariants.h", "agent"},
    {"chttpclient.h", "platform/chttpclient"},
    {"clog.h", "platform/clog"},
    {"testing/KtsGoogleTest.h", "testing"},
    {"testing/KtsLabServer.h", "testing"},
    {"testing/KtsReply.h", "testing"},
    {"testing/KtsScript.h", "testing"},
    {"testing/KtsScriptedNetwork.h", "testing"},
    {"testing/KtsScriptedTransport.h", "testing"},
};

const std::string PUBLIC = "ktshttpagent";

const fs::path SOURCE_DIR = KTS_SOURCE_DIR;
const fs::path PUBLIC_DIR = SOURCE_DIR / "include" / PUBLIC;

bool IsPublic(const std::string& strInclude)
{
    return strInclude.rfind(PUBLIC + "/", 0) == 0;
}

/// The room of an included file; empty if the file is not ours.
std::string RoomOf(const std::string& strInclude, const Room& from)
{
    if (IsPublic(strInclude) && from.setMayInclude.count(PUBLIC) != 0) {
        return PUBLIC;
    }
    const std::string strHeader = IsPublic(strInclude) ? strInclude.substr(PUBLIC.size() + 1) : strInclude;
    if (const auto it = ROOM_OF_PUBLIC_HEADER.find(strHeader); it != ROOM_OF_PUBLIC_HEADER.end()) {
        return it->second;
    }
    for (const Room& room : ROOMS) {
        if (strInclude.rfind(room.strName + "/", 0) == 0) {
            return room.strName;
        }
    }
    if (fs::exists(SOURCE_DIR / from.strName / strInclude)) {
        return from.strName;
    }
    for (const Room& room : ROOMS) {
        if (fs::exists(SOURCE_DIR / room.strName / strInclude)) {
            return room.strName;
        }
    }
    return {};
}

bool IsQt(const std::string& strInclude)
{
    return strInclude.size() > 1 && strInclude[0] == 'Q' && std::isupper(strInclude[1]) != 0;
}

/// What is wrong with an include line in a room; empty if nothing is wrong.
std::string Violation(const Room& room, const std::string& strInclude)
{
    if (IsQt(strInclude) && !room.bMayUseQt) {
        return room.strName + " may not use Qt: " + strInclude;
    }
    const std::string strTarget = RoomOf(strInclude, room);
    if (strTarget.empty() || strTarget == room.strName || room.setMayInclude.count(strTarget) != 0) {
        return {};
    }
    return room.strName + " may not include " + strTarget + ": " + strInclude;
}

/// What is wrong with an include line in a public header; empty if nothing is wrong. Public headers must be
/// usable if only they are installed, so they may include only each other, the standard library and, if their
/// room may use it, Qt. Those of the test kit may include GoogleTest.
/// @param strFolder  of the header, below that of all public headers; empty, or with a "/" at its end
std::string ViolationInPublic(const Room& room, const std::string& strInclude,
                              const std::string& strFolder = {})
{
    const bool bStandard = strInclude.find_first_of("./") == std::string::npos;
    const bool bOfTheKit = room.strName == "testing" && strInclude == "gtest/gtest.h";
    const bool bPublic = ROOM_OF_PUBLIC_HEADER.count(strFolder + strInclude) != 0;
    if (!bStandard && !bPublic && !bOfTheKit) {
        return "a public header may not include " + strInclude;
    }
    return Violation(room, bPublic ? strFolder + strInclude : strInclude);
}

const Room& Named(const std::string& strName)
{
    for (const Room& room : ROOMS) {
        if (room.strName == strName) {
            return room;
        }
    }
    throw std::out_of_range(strName);
}

TEST(Arrows, TheRuleItselfSeesAWrongInclude)
{
    EXPECT_THAT(Violation(Named("sdk"), "QString"), ::testing::Not(IsEmpty()));
    EXPECT_THAT(Violation(Named("sdk"), "agent/CUIAgentReq.h"), ::testing::Not(IsEmpty()));
    EXPECT_THAT(Violation(Named("sdk"), "CUIAgentReq.h"), ::testing::Not(IsEmpty()));
    EXPECT_THAT(Violation(Named("platform/clog"), "platform/chttpclient/chttpclient.h"),
                ::testing::Not(IsEmpty()));
    EXPECT_THAT(Violation(Named("apps/ktsagent"), "sdk/RequestCatalogue.h"), ::testing::Not(IsEmpty()));
    EXPECT_THAT(Violation(Named("agent"), "IVelClientSDk.h"), IsEmpty());
    EXPECT_THAT(Violation(Named("agent"), "QString"), IsEmpty());
    EXPECT_THAT(Violation(Named("sdk"), "string"), IsEmpty());
}

TEST(Arrows, TheRuleItselfSeesAWrongIncludeOfAPublicHeader)
{
    EXPECT_THAT(Violation(Named("sdk"), "ktshttpagent/CUIAgentReq.h"), ::testing::Not(IsEmpty()));
    EXPECT_THAT(Violation(Named("platform/clog"), "ktshttpagent/chttpclient.h"), ::testing::Not(IsEmpty()));
    EXPECT_THAT(Violation(Named("net"), "ktshttpagent/clog.h"), ::testing::Not(IsEmpty()));
    EXPECT_THAT(Violation(Named("labserver"), "ktshttpagent/RequestRecords.h"), ::testing::Not(IsEmpty()));
    EXPECT_THAT(Violation(Named("sdk"), "ktshttpagent/clog.h"), IsEmpty());
    EXPECT_THAT(Violation(Named("agent"), "ktshttpagent/IVelClientSDk.h"), IsEmpty());
    EXPECT_THAT(Violation(Named("apps/ktsagent"), "ktshttpagent/CUIAgentReq.h"), IsEmpty());
}

TEST(Arrows, TheRuleItselfSeesAWrongIncludeInAPublicHeader)
{
    EXPECT_THAT(ViolationInPublic(Named("sdk"), "QString"), ::testing::Not(IsEmpty()));
    EXPECT_THAT(ViolationInPublic(Named("sdk"), "CUIAgentReq.h"), ::testing::Not(IsEmpty()));
    EXPECT_THAT(ViolationInPublic(Named("sdk"), "RequestCatalogue.h"), ::testing::Not(IsEmpty()));
    EXPECT_THAT(ViolationInPublic(Named("sdk"), "json/value.h"), ::testing::Not(IsEmpty()));
    EXPECT_THAT(ViolationInPublic(Named("agent"), "agent/SyncWait.h"), ::testing::Not(IsEmpty()));
    EXPECT_THAT(ViolationInPublic(Named("agent"), "testing/KtsReply.h"), ::testing::Not(IsEmpty()));
    EXPECT_THAT(ViolationInPublic(Named("agent"), "gtest/gtest.h"), ::testing::Not(IsEmpty()));
    EXPECT_THAT(ViolationInPublic(Named("testing"), "ScriptState.h", "testing/"), ::testing::Not(IsEmpty()));
    EXPECT_THAT(ViolationInPublic(Named("testing"), "KtsReply.h", "testing/"), IsEmpty());
    EXPECT_THAT(ViolationInPublic(Named("testing"), "gtest/gtest.h", "testing/"), IsEmpty());
    EXPECT_THAT(ViolationInPublic(Named("agent"), "QString"), IsEmpty());
    EXPECT_THAT(ViolationInPublic(Named("agent"), "IVelClientSDk.h"), IsEmpty());
    EXPECT_THAT(ViolationInPublic(Named("sdk"), "string"), IsEmpty());
}

TEST(Arrows, EveryIncludeFollowsThem)
{
    std::vector<std::string> vecViolations;
    std::size_t nFiles = 0;
    for (const Room& room : ROOMS) {
        if (!fs::exists(SOURCE_DIR / room.strName)) {
            continue;
        }
        for (const auto& entry : fs::recursive_directory_iterator(SOURCE_DIR / room.strName)) {
            if (!IsSource(entry.path())) {
                continue;
            }
            ++nFiles;
            std::ifstream file(entry.path());
            for (const std::string& strInclude : IncludesOf(file)) {
                if (const std::string strViolation = Violation(room, strInclude); !strViolation.empty()) {
                    vecViolations.push_back(entry.path().filename().string() + ": " + strViolation);
                }
            }
        }
    }
    EXPECT_GT(nFiles, 40U) << "the source tree was not found";
    EXPECT_THAT(vecViolations, IsEmpty());
}

TEST(Arrows, EveryIncludeOfAPublicHeaderFollowsThem)
{
    std::vector<std::string> vecViolations;
    std::set<std::string> setFound;
    for (const auto& entry : fs::recursive_directory_iterator(PUBLIC_DIR)) {
        if (entry.is_directory()) {
            continue;
        }
        const std::string strHeader = entry.path().lexically_relative(PUBLIC_DIR).generic_string();
        const std::string strFolder = strHeader.substr(0, strHeader.rfind('/') + 1);
        ASSERT_EQ(ROOM_OF_PUBLIC_HEADER.count(strHeader), 1U) << strHeader;
        setFound.insert(strHeader);
        std::ifstream file(entry.path());
        for (const std::string& strInclude : IncludesOf(file)) {
            if (const std::string strViolation =
                    ViolationInPublic(Named(ROOM_OF_PUBLIC_HEADER.at(strHeader)), strInclude, strFolder);
                !strViolation.empty()) {
                vecViolations.push_back(strHeader + ": " + strViolation);
            }
        }
    }
    EXPECT_EQ(setFound.size(), ROOM_OF_PUBLIC_HEADER.size());
    EXPECT_THAT(vecViolations, IsEmpty());
}

/// The names of the libraries that each target links, by the target's name.
std::map<std::string, std::string> ReadLinks()
{
    std::map<std::string, std::string> mapLinks;
    std::ifstream file(KTS_ROOM_LINKS);
    for (std::string strLine; std::getline(file, strLine);) {
        const std::size_t nColon = strLine.find(": ");
        mapLinks[strLine.substr(0, nColon)] = strLine.substr(nColon + 2);
    }
    return mapLinks;
}

TEST(Arrows, EveryRoomIsMeasured)
{
    // What counts branches and what puts faults into the code read their rooms from there.
    std::ifstream file(SOURCE_DIR / "tests/rooms.py");
    const std::string strMeasured(std::istreambuf_iterator<char>(file), {});
    for (const Room& room : ROOMS) {
        EXPECT_NE(strMeasured.find('"' + room.strName + '"'), std::string::npos) << room.strName;
    }
}

TEST(Arrows, EveryLinkLineFollowsThem)
{
    const std::map<std::string, std::string> mapLinks = ReadLinks();
    const std::map<std::string, std::vector<std::string>> mapForbidden = {
        {"kts_sdk", {"Qt5", "kts_agent", "kts_net", "CURL", "spdlog", "chttpclient", "libclog"}},
        {"chttpclient_objects", {"Qt5", "kts_sdk", "kts_agent", "kts_net"}},
        {"chttpclient", {"Qt5", "kts_sdk", "kts_agent", "kts_net"}},
        {"kts_text", {"Qt5", "kts_sdk", "kts_agent", "kts_net", "kts_system", "chttpclient", "libclog"}},
        {"libclog", {"Qt5", "kts_sdk", "kts_agent", "kts_net", "chttpclient"}},
        {"kts_net", {"kts_sdk", "kts_agent", "chttpclient", "libclog"}},
        {"kts_agent", {"CURL", "spdlog", "chttpclient"}},
        {"kts_labserver", {"Qt5", "kts_sdk", "kts_agent", "kts_net", "chttpclient", "ktshttpagent"}},
        {"kts_lab_sockets", {"Qt5", "kts_sdk", "kts_agent", "kts_net", "chttpclient", "ktshttpagent"}},
        {"ktsagent_commands", {"kts_sdk", "kts_agent", "kts_net"}},
        {"ktsagent", {"kts_sdk", "kts_agent", "kts_net"}},
        {"ktshttpagent_testing", {"kts_sdk", "kts_agent", "kts_net", "kts_labserver", "GTest", "Test"}},
    };
    for (const auto& [strTarget, vecForbidden] : mapForbidden) {
        ASSERT_EQ(mapLinks.count(strTarget), 1U) << strTarget;
        for (const std::string& strForbidden : vecForbidden) {
            EXPECT_EQ(mapLinks.at(strTarget).find(strForbidden), std::string::npos)
                << strTarget << " links " << mapLinks.at(strTarget);
        }
    }
}

} // namespace
