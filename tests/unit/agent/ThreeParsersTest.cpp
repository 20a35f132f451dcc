// The same replies, read by the three parsers: jsoncpp (user information), RapidJSON (the other asynchronous
// queries) and Qt's (the blocking senders). docs/replies.md describes this table.

#include "Enough.h"
#include "RecordingTransport.h"
#include "ScriptedServer.h"

#include <ktshttpagent/CUIAgentReq.h>
#include <ktshttpagent/IVelClientSDk.h>
#include <ktshttpagent/ResultRecords.h>

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <ostream>
#include <sstream>
#include <string>

namespace
{

constexpr int TIMEOUT_MS = 500; // for a reply that does not end the wait

enum class Verdict {
    Yes,
    No,
    Waits, ///< the blocking sender continues to wait
};

struct Row {
    const char* szName; ///< as in docs/replies.md
    std::string strBody;
    int nUserInfo;    ///< result of a query for user information
    int nSupportVer;  ///< result of a query that reads the first element of an array
    int nInCommon;    ///< result of a query for which any array is a success
    Verdict blocking; ///< of the same query's blocking sender
};

void PrintTo(const Row& row, std::ostream* pStream)
{
    *pStream << row.szName;
}

std::string Reply(const std::string& strFurther)
{
    return R"({"success":true,"code":0,"common":true)" + strFurther + "}";
}

std::string Nested(std::size_t nLevels)
{
    return std::string(nLevels, '[') + std::string(nLevels, ']');
}

std::string Zeros(std::size_t nZeros)
{
    std::string strZeros = "0";
    for (std::size_t i = 1; i < nZeros; ++i) {
        strZeros += ",0";
    }
    return strZeros;
}

class ThreeParsers : public ::testing::TestWithParam<Row>
{
protected:
    ThreeParsers() { qputenv("KTSHTTPAGENT_SETTINGS_ROOT", "/nonexistent"); }

    /// The result of one request that is answered with this body.
    int Result(void (*fnSend)(VelCSDK::IVelClientSDk&)) const
    {
        VelCSDK::IVelClientSDk& client = *VelCSDK::SDKFactory::GetInstance();
        client.Init();
        int nAnswers = 0;
        int nLast = 0;
        client.SetResponseCallBack([&](int, const void*, const void*, int nResult) {
            ++nAnswers;
            nLast = nResult;
        });
        fnSend(client);
        RecordingTransport::Instance().Reply(GetParam().strBody);
        client.SetResponseCallBack(nullptr);
        EXPECT_EQ(nAnswers, 1);
        return nLast;
    }

    bool InCommon(const ScriptedServer& server, int nTimeout, bool& bCommon) const
    {
        return CUIAgentReq::Instance()->SendGetWhetherInCommonEx("127.0.0.1", server.Port(), nTimeout, "X",
                                                                 bCommon);
    }
};

TEST_P(ThreeParsers, JudgeAReplyAsTheTableSays)
{
    EXPECT_EQ(Result([](VelCSDK::IVelClientSDk& client) { client.GetUserInfo(1); }), GetParam().nUserInfo);
    EXPECT_EQ(Result([](VelCSDK::IVelClientSDk& client) { client.GetSupportVer("1"); }),
              GetParam().nSupportVer);
    EXPECT_EQ(Result([](VelCSDK::IVelClientSDk& client) { client.GetWhetherInCommon("X"); }),
              GetParam().nInCommon);

    // If the reply ends the wait as a failure, the call returns a new "no"; if it doesn't end the wait, the
    // call returns the "yes" before it.
    const ScriptedServer server(
        {ServerStep{HttpReply(200, Reply(""))}, ServerStep{HttpReply(200, GetParam().strBody)}});
    bool bCommon = false;
    ASSERT_TRUE(InCommon(server, ENOUGH_MS, bCommon));
    const bool bWaits = GetParam().blocking == Verdict::Waits;
    const bool bSucc = InCommon(server, bWaits ? TIMEOUT_MS : ENOUGH_MS, bCommon);
    EXPECT_EQ(bSucc, GetParam().blocking != Verdict::No);
}

TEST_P(ThreeParsers, AreInTheTableOfTheDocs)
{
    std::ifstream file(KTS_REPLIES_DOC);
    const std::string strTable{std::istreambuf_iterator<char>(file), {}};
    EXPECT_NE(strTable.find(std::string("`") + GetParam().szName + "`"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(
    Each, ThreeParsers,
    ::testing::Values(
        Row{"Plain", Reply(""), 0, 0, 0, Verdict::Yes},
        Row{"ByteOrderMark", "\xef\xbb\xbf" + Reply(""), -1, -1, -1, Verdict::Yes},
        Row{"Gb2312", Reply(",\"message\":\"\xb5\xe7\xb3\xd8\""), 0, 0, 0, Verdict::No},
        Row{"DuplicateMembers", Reply(R"(,"success":false,"code":5,"common":false)"), 5, 0, 0, Verdict::No},
        Row{"BadGatewayInAText", Reply(R"(,"message":"behind it: Bad Gateway")"), 7, -1, -1, Verdict::Yes},
        Row{"TrailingGarbage", Reply("") + "garbage", 0, -1, -1, Verdict::No},
        Row{"TrailingNul", Reply("") + std::string("\0x", 2), 0, 0, 0, Verdict::No},
        Row{"TrailingComma", Reply(","), -1, -1, -1, Verdict::No},
        Row{"Comment", "/* a */" + Reply(""), 0, -1, -1, Verdict::No},
        Row{"Depth1001", Reply(",\"x\":" + Nested(1001)), -1, 0, 0, Verdict::Yes},
        Row{"Depth1100", Reply(",\"x\":" + Nested(1100)), -1, 0, 0, Verdict::No},
        Row{"NumberBeyondADouble", Reply(",\"x\":1e400"), -1, -1, -1, Verdict::No},
        Row{"HalfASurrogatePair", Reply(R"(,"x":"\ud83d")"), -1, -1, -1, Verdict::Yes},
        Row{"ControlCharacterInAText", Reply(",\"x\":\"a\tb\""), 0, -1, -1, Verdict::Yes},
        Row{"UnknownEscape", Reply(R"(,"x":"\q")"), -1, -1, -1, Verdict::Yes},
        Row{"LeadingZero", Reply(",\"x\":01"), 0, -1, -1, Verdict::No},
        Row{"ArrayOfAnObject", "[" + Reply("") + "]", 0, 0, 0, Verdict::Yes},
        Row{"ArrayOfANo", R"([{"success":false,"code":5}])", 0, -1, 0, Verdict::No},
        Row{"EmptyArray", "[]", 0, 0, 0, Verdict::Waits},
        Row{"ArrayOfANumber", "[1]", 0, -1, 0, Verdict::Waits},
        Row{"BareTrue", "true", 0, -1, -1, Verdict::No}, Row{"EmptyObject", "{}", 0, -1, -1, Verdict::No},
        Row{"EmptyBody", "", -1, -1, -1, Verdict::No},
        Row{"SuccessAsText", R"({"success":"true","code":"0"})", 0, -1, -1, Verdict::No},
        Row{"CodeWithAPoint", R"({"success":true,"code":5.0})", 5, 0, 0, Verdict::Yes},
        Row{"ManyValues", Reply(",\"x\":[" + Zeros(300'000) + "]"), -1, 0, 0, Verdict::Yes},
        Row{"TooManyValues", Reply(",\"x\":[" + Zeros(2'000'000) + "]"), -1, -1, -1, Verdict::No}),
    [](const auto& row) { return row.param.szName; });

} // namespace
