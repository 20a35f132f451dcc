#include "SdkFixture.h"

#include "sdk/CDataResponse.h"

#include <json/json.h>

#include <memory>

namespace
{
using VelCSDK::CDataResponse;

RecordedLine CallBackLine(int nLine, const std::string& strText)
{
    return {1, "VelCSDK::CDataResponse::CHttpCallBack", nLine, strText};
}

/// The path of a reply from the transport to the handler of its id (3104).
class ReplyPath : public SdkTest
{
protected:
    void SetUp() override
    {
        SdkTest::SetUp();
        CDataResponse::Instance()->RegisterHandler(3104,
                                                   [this](const std::string& strBody, int nType, void* p) {
                                                       m_vecBodies.push_back(strBody);
                                                       EXPECT_EQ(nType, 3104);
                                                       EXPECT_EQ(p, this);
                                                   });
    }

    /// What the handler gets for a reply.
    std::string Deliver(const std::string& strBody, int nHttpError)
    {
        const std::size_t nBefore = m_vecBodies.size();
        m_transport.fnResponse(strBody, 3104, this, nHttpError);
        if (m_vecBodies.size() != nBefore + 1) {
            throw std::logic_error("calls of the handler: " + std::to_string(m_vecBodies.size() - nBefore));
        }
        return m_vecBodies.back();
    }

    std::vector<std::string> m_vecBodies;
    const std::string m_strPath = "vomd/system/GetSupportVer.action";
};

struct HeaderRow {
    const char* szName;
    std::string strBody;
    int nCode;
    std::string strDescription;
    bool bLogged;
};

void PrintTo(const HeaderRow& row, std::ostream* pStream)
{
    *pStream << row.szName;
}

class JsonHeader : public SdkTest, public testing::WithParamInterface<HeaderRow>
{
};

std::string Nested(int nLevels)
{
    return std::string(static_cast<std::size_t>(nLevels), '[') +
           std::string(static_cast<std::size_t>(nLevels), ']');
}

/// Further elements of an array.
std::string Zeros(std::size_t nTimes)
{
    std::string strZeros;
    for (std::size_t i = 0; i < nTimes; ++i) {
        strZeros += ",0";
    }
    return strZeros;
}

const std::vector<RecordedLine> g_vecReaderError{
    {1, "VelCSDK::CDataResponse::JsonHeader", 91, "Json::Reader error"}};

constexpr int CODE_BEFORE = 77;
const char* const DESCRIPTION_BEFORE = "before";
} // namespace

TEST_F(ReplyPath, HandsASoundReplyOverUnchangedAndLogsNothing)
{
    const std::string strNul("a\0b", 3);
    for (const std::string& strBody : {std::string("{\"code\":0}"), std::string(), std::string("not json"),
                                       strNul, std::string("\xff\xfe"), std::string(1000000, 'x')}) {
        EXPECT_EQ(Deliver(strBody, 0), strBody);
    }
    EXPECT_TRUE(RecordedLog().empty());
}

TEST_F(ReplyPath, ReplacesTheBodyByTheCodeOfATransportFailure)
{
    for (const int nError : {404, 500, 1, 7, -1, -28, -42, 2147483647, -2147483647 - 1}) {
        ClearRecordedLog();
        const std::string strError = std::to_string(nError);
        EXPECT_EQ(Deliver("{\"code\":0}", nError), "{\"code\":" + strError + "}");
        EXPECT_EQ(RecordedLog(), (std::vector<RecordedLine>{
                                     CallBackLine(59, "proctol:" + m_strPath + " http-error:" + strError)}));
    }
}

TEST_F(ReplyPath, LogsTheEndpointPathInForceAsItStands)
{
    m_client.SetUrlMap({{3104, "a%s%n/版本"}});
    Deliver("", 404);
    EXPECT_EQ(RecordedLog(),
              (std::vector<RecordedLine>{CallBackLine(59, "proctol:a%s%n/版本 http-error:404")}));
}

TEST_F(ReplyPath, LogsALongEndpointPathWhole)
{
    const std::string strPath(2000, 'p');
    m_client.SetUrlMap({{3104, strPath}});
    Deliver("", 404);
    EXPECT_EQ(RecordedLog(),
              (std::vector<RecordedLine>{CallBackLine(59, "proctol:" + strPath + " http-error:404")}));
}

TEST_F(ReplyPath, TakesABadGatewayAnywhereInTheBodyForAFailure)
{
    const std::string strNul("\0Bad Gateway", 12);
    for (const std::string& strBody :
         {std::string("Bad Gateway"), std::string("<html>502 Bad Gateway</html>"),
          std::string("xBad Gateway"), std::string("Bad Gatewayx"), std::string("Bad Bad Gateway"),
          std::string("{\"code\":0,\"d\":\"Bad Gateway\"}"), strNul,
          std::string(1000000, 'x') + "Bad Gateway"}) {
        ClearRecordedLog();
        EXPECT_EQ(Deliver(strBody, 0), "{\"code\":7}");
        EXPECT_EQ(RecordedLog(),
                  (std::vector<RecordedLine>{CallBackLine(66, "proctol:" + m_strPath + " http-error:0")}));
    }
}

TEST_F(ReplyPath, TakesNothingElseForABadGateway)
{
    for (const char* szBody : {"Bad Gatewa", "ad Gateway", "bad gateway", "Bad  Gateway", "Bad Gatewai",
                               "BAD GATEWAY", "Bad Gate way", "Bad\tGateway"}) {
        EXPECT_EQ(Deliver(szBody, 0), szBody);
    }
    EXPECT_TRUE(RecordedLog().empty());
}

TEST_F(ReplyPath, ABadGatewayOutweighsTheCodeOfTheTransportAndBothAreLogged)
{
    EXPECT_EQ(Deliver("<html>502 Bad Gateway</html>", 502), "{\"code\":7}");
    EXPECT_EQ(RecordedLog(),
              (std::vector<RecordedLine>{CallBackLine(59, "proctol:" + m_strPath + " http-error:502"),
                                         CallBackLine(66, "proctol:" + m_strPath + " http-error:502")}));
}

TEST_F(ReplyPath, DropsAReplyWithoutAHandlerInSilence)
{
    int nCalls = 0;
    SetReceiver([&nCalls](int, const void*, const SResponseHeader&, int) { ++nCalls; });
    for (const int nType : {0, -1, 3099, 3112, 3113, 3114, 3115, 3116}) {
        m_transport.fnResponse("{\"success\":true}", nType, nullptr, 0);
    }
    EXPECT_EQ(nCalls, 0);
    EXPECT_TRUE(m_vecBodies.empty());
    EXPECT_TRUE(RecordedLog().empty());
}

TEST_F(ReplyPath, LogsAFailureWithoutAHandlerAllTheSame)
{
    m_transport.fnResponse("Bad Gateway", 3115, nullptr, 502);
    const std::string strText = "proctol:core/api/public/orn/qm/autoWriteInspection http-error:502";
    EXPECT_EQ(RecordedLog(),
              (std::vector<RecordedLine>{CallBackLine(59, strText), CallBackLine(66, strText)}));
}

TEST_F(ReplyPath, ReleasesTheUserDataOfARequestWithoutAHandler)
{
    for (const Operation& operation : {OP_UPLOAD, OP_CYCLE, OP_STEP}) {
        for (const int nHttpError : {0, -42}) {
            operation.fnSend(m_client);
            EXPECT_NE(Sent().back().pUserData, nullptr);
            m_transport.Reply("{\"success\":true}", nHttpError);
        }
    }
    EXPECT_EQ(RecordedLog().size(), 3U);
}

TEST_F(ReplyPath, SaysSoWhenTheHandlerOfAnIdIsEmpty)
{
    CDataResponse::Instance()->RegisterHandler(3104, nullptr);
    EXPECT_THROW(m_transport.fnResponse("{}", 3104, nullptr, 0), std::bad_function_call);
    EXPECT_TRUE(RecordedLog().empty());
}

TEST_F(ReplyPath, LetsTheExceptionOfAHandlerThrough)
{
    CDataResponse::Instance()->RegisterHandler(
        3104, [](const std::string&, int, void*) { throw std::domain_error("from the handler"); });
    EXPECT_THROW(m_transport.fnResponse("{}", 3104, nullptr, 0), std::domain_error);
}

TEST_F(ReplyPath, CallsTheHandlerThatWasRegisteredLast)
{
    int nCalls = 0;
    CDataResponse::Instance()->RegisterHandler(3104, [&nCalls](const std::string&, int, void*) { ++nCalls; });
    m_transport.fnResponse("{}", 3104, this, 0);
    EXPECT_EQ(nCalls, 1);
    EXPECT_TRUE(m_vecBodies.empty());
}

TEST_F(ReplyPath, AHandlerMayReplaceItselfWhileItIsCalled)
{
    const auto pState = std::make_shared<std::string>("before");
    CDataResponse::Instance()->RegisterHandler(3104, [pState](const std::string& strBody, int, void*) {
        CDataResponse::Instance()->RegisterHandler(3104, [](const std::string&, int, void*) {});
        *pState = strBody;
    });
    m_transport.fnResponse("after", 3104, nullptr, 0);
    EXPECT_EQ(*pState, "after");
    EXPECT_EQ(pState.use_count(), 1);
}

TEST_F(ReplyPath, InitPutsTheDecodersBackInPlaceOfOtherHandlers)
{
    m_client.Init();
    Ask(OP_SUPPORT_VER, "{\"success\":true}",
        [](int, const void*, const SResponseHeader&, int nResult) { EXPECT_EQ(nResult, 0); });
    EXPECT_TRUE(m_vecBodies.empty());
}

TEST_F(ReplyPath, HasOneInstanceThatRegistersItselfOnce)
{
    const std::vector<std::string> vecBefore = m_transport.vecCalls;
    EXPECT_EQ(CDataResponse::Instance(), CDataResponse::Instance());
    EXPECT_EQ(m_transport.vecCalls, vecBefore);
}

TEST_F(ReplyPath, AnInstanceAfterAReleaseIsEmptyAndRegistersItselfAgain)
{
    const std::size_t nBefore = m_transport.vecCalls.size();
    CDataResponse::ReleaseInstance();
    CDataResponse::ReleaseInstance();
    EXPECT_EQ(m_transport.vecCalls.size(), nBefore);
    CDataResponse::Instance();
    ASSERT_EQ(m_transport.vecCalls.size(), nBefore + 1);
    EXPECT_EQ(m_transport.vecCalls.back(), "CHttpClientSetResponseCallBack");
    m_transport.fnResponse("{}", 3104, nullptr, 0);
    EXPECT_TRUE(m_vecBodies.empty());
}

TEST_P(JsonHeader, ReadsTheEnvelope)
{
    int nCode = CODE_BEFORE;
    std::string strDescription = DESCRIPTION_BEFORE;
    Json::Value root;
    CDataResponse::Instance()->JsonHeader(GetParam().strBody, root, nCode, strDescription);
    EXPECT_EQ(nCode, GetParam().nCode);
    EXPECT_EQ(strDescription, GetParam().strDescription);
    EXPECT_EQ(RecordedLog(), GetParam().bLogged ? g_vecReaderError : std::vector<RecordedLine>{});
}

INSTANTIATE_TEST_SUITE_P(
    Each, JsonHeader,
    testing::Values(
        HeaderRow{"Whole", R"({"code":0,"description":"ok"})", 0, "ok", false},
        HeaderRow{"NegativeCode", R"({"code":-7})", -7, "before", false},
        HeaderRow{"LargestCode", R"({"code":2147483647})", 2147483647, "before", false},
        HeaderRow{"SmallestCode", R"({"code":-2147483648})", -2147483647 - 1, "before", false},
        HeaderRow{"CodeBeyondAnInt", R"({"code":2147483648})", 77, "before", false},
        HeaderRow{"CodeFarBeyondAnInt", R"({"code":123456789012345678901234567890})", 77, "before", false},
        HeaderRow{"HugeCode", R"({"code":1e300})", 77, "before", false},
        HeaderRow{"WholeCodeWithAPoint", R"({"code":12.0})", 12, "before", false},
        HeaderRow{"FractionalCode", R"({"code":12.5})", 77, "before", false},
        HeaderRow{"CodeAsText", R"({"code":"200"})", 77, "before", false},
        HeaderRow{"CodeNull", R"({"code":null})", 77, "before", false},
        HeaderRow{"CodeTrue", R"({"code":true})", 77, "before", false},
        HeaderRow{"CodeArray", R"({"code":[1]})", 77, "before", false},
        HeaderRow{"CodeObject", R"({"code":{"code":1}})", 77, "before", false},
        HeaderRow{"DescriptionNumber", R"({"description":5})", 77, "before", false},
        HeaderRow{"DescriptionNull", R"({"description":null})", 77, "before", false},
        HeaderRow{"DescriptionArray", R"({"description":["x"]})", 77, "before", false},
        HeaderRow{"DescriptionEmpty", R"({"description":""})", 77, "", false},
        HeaderRow{"DescriptionChinese", R"({"description":"失败"})", 77, "失败", false},
        HeaderRow{"DescriptionEscaped", R"({"description":"\u5931\u8d25\n\"\\"})", 77, "失败\n\"\\", false},
        HeaderRow{"OtherCase", R"({"Code":1,"Description":"x"})", 77, "before", false},
        HeaderRow{"EmptyObject", "{}", 77, "before", false},
        HeaderRow{"UnknownMembers", R"({"a":[{"code":1}],"code":3})", 3, "before", false},
        HeaderRow{"Comments", "/* a */ {\"code\":3} // b", 3, "before", false},
        HeaderRow{"Array", R"([{"code":3}])", 77, "before", false},
        HeaderRow{"EmptyArray", "[]", 77, "before", false}, HeaderRow{"Number", "12", 77, "before", false},
        HeaderRow{"Text", "\"code\"", 77, "before", false}, HeaderRow{"True", "true", 77, "before", false},
        HeaderRow{"Null", "null", 77, "before", false}, HeaderRow{"NotJson", "not json", -1, "before", true},
        HeaderRow{"Cut", R"({"code":0,"description":"ok")", -1, "before", true},
        HeaderRow{"Empty", "", -1, "before", true}, HeaderRow{"Blank", " \r\n", -1, "before", true},
        HeaderRow{"NulAfterTheEnd", std::string("{\"code\":3}\0x", 12), 3, "before", false},
        HeaderRow{"NulInTheMiddle", std::string("{\"code\"\0:3}", 11), -1, "before", true},
        HeaderRow{"DeepInAMember", "{\"x\":" + Nested(900) + ",\"code\":3}", 3, "before", false},
        HeaderRow{"TooDeepInAMember", "{\"x\":" + Nested(1100) + ",\"code\":3}", -1, "before", true},
        HeaderRow{"TooDeep", Nested(100000), -1, "before", true},
        HeaderRow{"ManyBrackets", std::string(200000, '['), -1, "before", true}),
    testing::PrintToStringParamName());

TEST_F(ReplyPath, TheEnvelopeReaderReadsNoReplyOfTooManyValues)
{
    for (const std::string& strBody :
         {std::string(1000000, '['), "{\"code\":3,\"x\":[0" + Zeros(250000) + "]}"}) {
        ClearRecordedLog();
        int nCode = CODE_BEFORE;
        std::string strDescription = DESCRIPTION_BEFORE;
        Json::Value root;
        CDataResponse::Instance()->JsonHeader(strBody, root, nCode, strDescription);
        EXPECT_EQ(nCode, -1);
        EXPECT_EQ(strDescription, DESCRIPTION_BEFORE);
        EXPECT_TRUE(root.isNull());
        EXPECT_EQ(RecordedLog(),
                  (std::vector<RecordedLine>{{1, "VelCSDK::CDataResponse::JsonHeader", 91,
                                              "Json::Reader error: more than 250000 values (an eighth of "
                                              "KTSHTTPAGENT_MAX_REPLY_VALUES) in " +
                                                  std::to_string(strBody.size()) + " bytes"}}));
    }
}

TEST_F(ReplyPath, TheEnvelopeReaderHandsOverTheWholeRootWithItsComments)
{
    int nCode = 0;
    std::string strDescription;
    Json::Value root;
    CDataResponse::Instance()->JsonHeader("// why\n{\"code\":3,\"id\":[1,2]}", root, nCode, strDescription);
    EXPECT_TRUE(root.hasComment(Json::commentBefore));
    EXPECT_EQ(root["id"][1].asInt(), 2);
}
