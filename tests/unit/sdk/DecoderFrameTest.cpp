#include "PayloadText.h"
#include "SdkFixture.h"

#include "sdk/UserData.h"
#include "sdk/requests/AllRequests.h"

#include <optional>

// What all decoders have in common: how a reply becomes a result, who gets it, and when its data is released.

namespace
{
using std::string;

/// How a decoder treats a reply whose root is an array.
enum class ArrayRule { FirstElement, AlwaysSuccess };

struct Decoder {
    Operation operation;
    ArrayRule arrayRule;
    /// The payload as text; empty for an acknowledgement, which has none.
    string (*fnDescribe)(const SResponseHeader&);
    /// The same for a payload in which only the success and the request's own data are set.
    string (*fnDescribeEmpty)(bool bSuccess);
};

void PrintTo(const Decoder& decoder, std::ostream* pStream)
{
    *pStream << decoder.operation.szName;
}

template <class Record>
string DescribePayload(const SResponseHeader& header)
{
    return Describe(Payload<Record>(header));
}

string DescribeNoPayload(const SResponseHeader& header)
{
    return header.pData == nullptr ? "" : "a payload that should not be there";
}

template <class Record>
string DescribeEmpty(bool bSuccess)
{
    return Describe(EmptyPayload<Record>(bSuccess));
}

string DescribeNothing(bool)
{
    return "";
}

string DescribeEmptySupportVer(bool bSuccess)
{
    return Describe(SSupportVer{"", "", bSuccess, "1.2.3"});
}

string DescribeEmptyProject(bool bSuccess)
{
    return Describe(SResponseGetProject{bSuccess, "tick", {}});
}

/// The decoders that judge a reply by its member "success".
const std::vector<Decoder>& Decoders()
{
    static const std::vector<Decoder> vecDecoders{
        {OP_CHL_STATUS, ArrayRule::FirstElement, DescribeNoPayload, DescribeNothing},
        {OP_INCUBATOR, ArrayRule::FirstElement, DescribeNoPayload, DescribeNothing},
        {OP_PROJECTS, ArrayRule::FirstElement, DescribePayload<SResponseGetProject>, DescribeEmptyProject},
        {OP_SUPPORT_VER, ArrayRule::FirstElement, DescribePayload<SSupportVer>, DescribeEmptySupportVer},
        {OP_BATT_STATUS, ArrayRule::FirstElement, DescribePayload<SResponseGetBatteryStatus>,
         DescribeEmpty<SResponseGetBatteryStatus>},
        {OP_AUTO_EXPORT, ArrayRule::FirstElement, DescribePayload<SResponseGetAutoExport>,
         DescribeEmpty<SResponseGetAutoExport>},
        {OP_FTP_PATH, ArrayRule::FirstElement, DescribePayload<SResponseGetFtpFilePath>,
         DescribeEmpty<SResponseGetFtpFilePath>},
        {OP_CHANNEL_CHECK, ArrayRule::AlwaysSuccess, DescribePayload<SResponseGetChannelCheckData>,
         DescribeEmpty<SResponseGetChannelCheckData>},
        {OP_IN_COMMON, ArrayRule::AlwaysSuccess, DescribePayload<SResponseGetWhetherInCommon>,
         DescribeEmpty<SResponseGetWhetherInCommon>}};
    return vecDecoders;
}

enum Outcome {
    Succeeds,      ///< result 0, success true
    Fails,         ///< result -1, success false
    EmptyArray,    ///< result 0, success false
    FirstSucceeds, ///< like an object that succeeds, or by the decoder's rule for arrays
    FirstFails,    ///< like an object that fails, or by the decoder's rule for arrays
};

struct Reply {
    const char* szName;
    string strBody;
    Outcome outcome;
};

void PrintTo(const Reply& reply, std::ostream* pStream)
{
    *pStream << reply.szName;
}

/// The outcome for a decoder, after applying its rule for arrays.
Outcome OutcomeFor(const Decoder& decoder, Outcome outcome)
{
    const bool bArray = outcome == FirstSucceeds || outcome == FirstFails;
    if (bArray && decoder.arrayRule == ArrayRule::AlwaysSuccess) {
        return EmptyArray;
    }
    return outcome == FirstSucceeds ? Succeeds : outcome == FirstFails ? Fails : outcome;
}

// NOLINTNEXTLINE(readability-function-size): a table
std::vector<Reply> Replies()
{
    return {
        {"True", R"({"success":true})", Succeeds},
        {"TrueAmongBlanks", " \r\n\t{ \"success\" : true }\n ", Succeeds},
        {"TrueAmongUnknownMembers", R"({"a":1,"success":true,"z":[{"success":false}],"":null})", Succeeds},
        {"TrueWithEscapedName", R"({"\u0073uccess":true})", Succeeds},
        {"False", R"({"success":false})", Fails},
        {"TextTrue", R"({"success":"true"})", Fails},
        {"TextEmpty", R"({"success":""})", Fails},
        {"One", R"({"success":1})", Fails},
        {"Zero", R"({"success":0})", Fails},
        {"Fraction", R"({"success":1.5})", Fails},
        {"Null", R"({"success":null})", Fails},
        {"Array", R"({"success":[true]})", Fails},
        {"Object", R"({"success":{"success":true}})", Fails},
        {"EmptyObject", "{}", Fails},
        {"OtherCase", R"({"Success":true,"SUCCESS":true})", Fails},
        {"LongerName", R"({"success ":true})", Fails},
        {"ShorterName", R"({"succes":true})", Fails},
        {"NameWithNul", R"({"success\u0000":true})", Fails},
        {"DeeperInside", R"({"result":{"success":true}})", Fails},
        {"TwiceFirstTrue", R"({"success":true,"success":false})", Succeeds},
        {"TwiceFirstFalse", R"({"success":false,"success":true})", Fails},
        {"TwiceFirstText", R"({"success":"true","success":true})", Fails},
        {"CodeOnly", R"({"code":0})", Fails},
        {"CodeIsNotRead", R"({"code":404,"description":"x","success":true})", Succeeds},

        {"RootEmptyArray", "[]", EmptyArray},
        {"RootArrayTrue", R"([{"success":true}])", FirstSucceeds},
        {"RootArrayFalse", R"([{"success":false}])", FirstFails},
        {"RootArrayTrueFalse", R"([{"success":true},{"success":false}])", FirstSucceeds},
        {"RootArrayFalseTrue", R"([{"success":false},{"success":true}])", FirstFails},
        {"RootArrayTrueNumber", R"([{"success":true},1,"x",null])", FirstSucceeds},
        {"RootArrayText", R"([{"success":"true"}])", FirstFails},
        {"RootArrayEmptyObject", "[{}]", FirstFails},
        {"RootArrayArray", "[[]]", FirstFails},
        {"RootArrayArrayTrue", R"([[{"success":true}]])", FirstFails},
        {"RootArrayBareNumber", "[1]", FirstFails},
        {"RootArrayBareText", R"(["success"])", FirstFails},
        {"RootArrayBareTrue", "[true]", FirstFails},
        {"RootArrayBareNull", "[null]", FirstFails},
        {"RootNumber", "12", Fails},
        {"RootNegative", "-7", Fails},
        {"RootFraction", "12.5", Fails},
        {"RootText", R"("success")", Fails},
        {"RootTrue", "true", Fails},
        {"RootFalse", "false", Fails},
        {"RootNull", "null", Fails},

        {"Empty", "", Fails},
        {"Blank", " \n", Fails},
        {"NotJson", "not json", Fails},
        {"Html", "<html>500</html>", Fails},
        {"Cut", R"({"success":true)", Fails},
        {"CutArray", R"([{"success":true})", Fails},
        {"OpenBracket", "[", Fails},
        {"BraceTooMany", R"({"success":true}})", Fails},
        {"TextBehind", R"({"success":true} x)", Fails},
        {"TwoRoots", R"({"success":true}{"success":true})", Fails},
        {"ArrayThenText", "[] x", Fails},
        {"CommaTooMany", R"({"success":true,})", Fails},
        {"MismatchedBrackets", R"({"success":true,"x":[}])", Fails},
        {"ColonMissing", R"({"success" true})", Fails},
        {"CommaMissing", R"({"success":true "x":1})", Fails},
        {"NumberAsName", R"({"success":true,1:2})", Fails},
        {"ValueMissing", R"({"success":})", Fails},
        {"LeadingZero", R"({"success":true,"x":01})", Fails},
        {"PlusSign", R"({"success":true,"x":+1})", Fails},
        {"PointWithoutDigits", R"({"success":true,"x":1.})", Fails},
        {"SingleQuotes", "{'success':true}", Fails},
        {"CapitalTrue", R"({"success":True})", Fails},
        {"Comment", R"(/* c */{"success":true})", Fails},
        {"NotANumber", R"({"success":true,"x":NaN})", Fails},
        {"NumberTooLarge", R"({"success":true,"x":1e999})", Fails},
        {"NumberOfFiftyDigits", R"({"success":true,"x":12345678901234567890123456789012345678901234567890})",
         Succeeds},
        {"NumberOfFiftyDecimals",
         R"({"success":true,"x":0.2345678901234567890123456789012345678901234567890})", Succeeds},
        {"ControlByteInText", "{\"success\":true,\"x\":\"a\nb\"}", Fails},
        {"HalfASurrogatePair", R"({"success":true,"x":"\ud800"})", Fails},
        {"UnknownEscape", R"({"success":true,"x":"\q"})", Fails},
        {"InvalidUtf8", "{\"success\":true,\"x\":\"\xff\xfe\"}", Succeeds},
        {"NulBehind", string("{\"success\":true}\0x", 18), Succeeds},
        {"NulInTheMiddle", string("{\"success\":true,\0}", 18), Fails},
        {"NulInText", string("{\"success\":true,\"x\":\"a\0b\"}", 26), Fails},
        {"NulAlone", string("\0", 1), Fails},
        {"FiveHundredLevels", "{\"success\":true,\"x\":" + Nested(500) + "}", Succeeds},
    };
}

class DecoderReply : public SdkTest, public testing::WithParamInterface<Reply>
{
};

class DecoderFrame : public SdkTest, public testing::WithParamInterface<Decoder>
{
protected:
    /// Answers with `strBody`. Returns the result if the payload is that of a decoder that has read nothing
    /// but "success".
    std::optional<int> ResultOfEmptyReply(const string& strBody, int nHttpError = 0)
    {
        std::optional<int> result;
        Ask(
            GetParam().operation, strBody,
            [&](int, const void*, const SResponseHeader& header, int nResult) {
                EXPECT_EQ(GetParam().fnDescribe(header), GetParam().fnDescribeEmpty(nResult == 0));
                result = nResult;
            },
            nHttpError);
        return result;
    }
};

class AnsweredRequest : public SdkTest, public testing::WithParamInterface<Operation>
{
};

class UnansweredReply : public SdkTest, public testing::WithParamInterface<int>
{
};
} // namespace

TEST_P(DecoderReply, GivesItsResultAndOtherwiseEmptyPayloadFromEveryDecoder)
{
    for (const Decoder& decoder : Decoders()) {
        SCOPED_TRACE(decoder.operation.szName);
        const Outcome outcome = OutcomeFor(decoder, GetParam().outcome);
        Ask(decoder.operation, GetParam().strBody,
            [&](int nType, const void* pUser, const SResponseHeader& header, int nResult) {
                EXPECT_EQ(nType, decoder.operation.nType);
                EXPECT_EQ(pUser, Sent().back().pUserData);
                EXPECT_EQ(nResult, outcome == Fails ? -1 : 0);
                EXPECT_EQ(header.nCode, nResult);
                EXPECT_EQ(header.strExtra1 + header.strExtra2 + header.strMessage, "");
                EXPECT_EQ(decoder.fnDescribe(header), decoder.fnDescribeEmpty(outcome == Succeeds));
            });
    }
    EXPECT_TRUE(RecordedLog().empty());
}

INSTANTIATE_TEST_SUITE_P(Each, DecoderReply, testing::ValuesIn(Replies()), testing::PrintToStringParamName());

TEST_P(DecoderFrame, SurvivesAMillionOpenBrackets)
{
    for (const char* szOpen : {"[", "{\"a\":", "[{\"a\":"}) {
        string strBody;
        while (strBody.size() < 1000000) {
            strBody += szOpen;
        }
        EXPECT_EQ(ResultOfEmptyReply(strBody), -1);
    }
}

TEST_P(DecoderFrame, SurvivesAMillionNestedArraysAtTheRoot)
{
    int nResult = 1;
    Ask(GetParam().operation, Nested(1000000), [&](int, const void*, const SResponseHeader& header, int n) {
        nResult = n;
        EXPECT_EQ(GetParam().fnDescribe(header), GetParam().fnDescribeEmpty(false));
    });
    if (GetParam().arrayRule == ArrayRule::FirstElement) {
        EXPECT_EQ(nResult, -1);
    } else { // with a depth limit the parse fails, without one it is an array like any other
        EXPECT_TRUE(nResult == -1 || nResult == 0) << nResult;
    }
}

TEST_P(DecoderFrame, SurvivesAMillionNestedArraysInAMemberThatNobodyReads)
{
    const std::optional<int> result = ResultOfEmptyReply("{\"success\":true,\"x\":" + Nested(1000000) + "}");
    EXPECT_TRUE(result == 0 || result == -1);
}

TEST_P(DecoderFrame, ReadsSuccessBehindAMillionMembers)
{
    string strBody = "{";
    for (int i = 0; i < 100000; ++i) {
        strBody += "\"m" + std::to_string(i) + "\":" + std::to_string(i) + ",";
    }
    EXPECT_EQ(ResultOfEmptyReply(strBody + "\"success\":true}"), 0);
}

TEST_P(DecoderFrame, TakesATransportFailureForAFailureWhateverTheBodySays)
{
    for (const int nHttpError : {404, 500, 1, -7, -28, -42}) {
        ClearRecordedLog();
        EXPECT_EQ(ResultOfEmptyReply("{\"success\":true}", nHttpError), -1);
        EXPECT_EQ(RecordedLog().size(), 1U);
    }
}

TEST_P(DecoderFrame, TakesABadGatewayForAFailure)
{
    EXPECT_EQ(ResultOfEmptyReply("{\"success\":true,\"x\":\"Bad Gateway\"}"), -1);
    EXPECT_EQ(RecordedLog().size(), 1U);
}

INSTANTIATE_TEST_SUITE_P(Each, DecoderFrame, testing::ValuesIn(Decoders()),
                         testing::PrintToStringParamName());

TEST_P(AnsweredRequest, ReleasesItsUserDataWhenTheReceiverThrows)
{
    SetReceiver([](int, const void*, const SResponseHeader&, int) { throw std::domain_error("receiver"); });
    for (const char* szBody : {"{\"success\":true}", "{}", "[]", "", "not json"}) {
        GetParam().fnSend(m_client);
        EXPECT_THROW(m_transport.Reply(szBody), std::domain_error);
    }
}

TEST_P(AnsweredRequest, ReleasesItsUserDataWhenThereIsNoReceiver)
{
    m_client.SetResponseCallBack(nullptr);
    GetParam().fnSend(m_client);
    EXPECT_THROW(m_transport.Reply("{\"success\":true}"), std::bad_function_call);
}

TEST_P(AnsweredRequest, AnswersAReplyWithoutUserData)
{
    int nCalls = 0;
    SetReceiver([&](int nType, const void* pUser, const SResponseHeader&, int nResult) {
        ++nCalls;
        EXPECT_EQ(nType, GetParam().nType);
        EXPECT_EQ(pUser, nullptr);
        EXPECT_EQ(nResult, 0);
    });
    m_transport.fnResponse("{\"success\":true}", GetParam().nType, nullptr, 0);
    EXPECT_EQ(nCalls, 1);
}

TEST_P(AnsweredRequest, AnswersInTheOrderOfTheReplies)
{
    std::vector<const void*> vecUsers;
    SetReceiver([&](int, const void* pUser, const SResponseHeader&, int) { vecUsers.push_back(pUser); });
    GetParam().fnSend(m_client);
    GetParam().fnSend(m_client);
    m_transport.Reply("{}");
    m_transport.Reply("{}");
    EXPECT_EQ(vecUsers, (std::vector<const void*>{Sent()[0].pUserData, Sent()[1].pUserData}));
}

INSTANTIATE_TEST_SUITE_P(Each, AnsweredRequest, testing::ValuesIn(AnsweredOperations()),
                         testing::PrintToStringParamName());

TEST_P(UnansweredReply, NeverReachesTheReceiver)
{
    int nCalls = 0;
    SetReceiver([&nCalls](int, const void*, const SResponseHeader&, int) { ++nCalls; });
    for (const char* szBody : {"{\"success\":true}", "[]", "", "not json"}) {
        m_transport.fnResponse(szBody, GetParam(), nullptr, 0);
    }
    EXPECT_EQ(nCalls, 0);
    EXPECT_TRUE(RecordedLog().empty());
}

INSTANTIATE_TEST_SUITE_P(Each, UnansweredReply, testing::Values(3108, 3111, 3112, 3113, 3114, 3115));

namespace
{
class DecoderContext : public SdkTest
{
protected:
    template <class Check>
    void ExpectContext(const Operation& operation, Check fnCheck)
    {
        Ask(operation, "{}", [&](int, const void* pUser, const SResponseHeader&, int) {
            ASSERT_NE(pUser, nullptr);
            fnCheck(pUser);
        });
    }
};
} // namespace

TEST_F(DecoderContext, IsTheTextOfARequestWithOneText)
{
    const auto fnExpect = [this](const Operation& operation, const string& strText) {
        ExpectContext(operation, [&](const void* p) { EXPECT_EQ(*static_cast<const string*>(p), strText); });
    };
    fnExpect(OP_CHL_STATUS, "tick");
    fnExpect(OP_SUPPORT_VER, "1.2.3");
    fnExpect(OP_BATT_STATUS, "tick");
    fnExpect(OP_IN_COMMON, "DX1");
}

TEST_F(DecoderContext, IsTheNumberOfTheUser)
{
    ExpectContext(OP_USER_INFO, [](const void* p) { EXPECT_EQ(*static_cast<const int*>(p), 42); });
}

TEST_F(DecoderContext, IsTheRecordOfARequestWithSeveralArguments)
{
    ExpectContext(OP_PROJECTS, [](const void* p) {
        const auto& query = *static_cast<const VelCSDK::requests::GetProjects::Arguments*>(p);
        EXPECT_EQ(query.dxtm + "|" + query.t, "DX1|tick");
    });
    ExpectContext(OP_AUTO_EXPORT, [](const void* p) {
        const auto& query = *static_cast<const VelCSDK::requests::GetAutoExport::Arguments*>(p);
        EXPECT_EQ(query.bjtzser + "|" + query.csxmser + "|" + query.dxtm, "B01|C02|DX9");
    });
    ExpectContext(OP_FTP_PATH, [](const void* p) {
        const auto& query = *static_cast<const VelCSDK::requests::GetFtpFilePath::Arguments*>(p);
        EXPECT_EQ(query.bjtzser + "|" + query.csxmser + "|" + query.supplier + "|" + query.batteryStatus,
                  "B01|C02|Li|new");
    });
    ExpectContext(OP_CHANNEL_CHECK, [](const void* p) {
        const auto& query = *static_cast<const tagSRequestGetChannelCheckData*>(p);
        EXPECT_EQ(query.wtNumId, 12);
        EXPECT_EQ(query.xmNameId, 7);
        EXPECT_EQ(query.dxtm + "|" + query.deviceId + "|" + query.chl + "|" + query.purpose, "X|D1|3|p");
    });
}

TEST_F(DecoderContext, IsNullForAnIncubatorStatus)
{
    Ask(OP_INCUBATOR, "{}",
        [](int, const void* pUser, const SResponseHeader&, int) { EXPECT_EQ(pUser, nullptr); });
}

TEST_F(DecoderContext, IsEchoedInThePayloadOfASupportVersionAndOfProjects)
{
    for (const string& strText : {string("1"), string(), string("电池 \"x\""), string(100000, 'x')}) {
        SetReceiver([&](int nType, const void*, const SResponseHeader& header, int) {
            EXPECT_EQ(nType == 3104 ? Payload<SSupportVer>(header).strVersion
                                    : Payload<SResponseGetProject>(header).strUserText,
                      strText);
        });
        for (const char* szBody : {"{\"success\":true}", "[]", "[{}]", "12", "not json"}) {
            m_client.GetSupportVer(strText);
            m_transport.Reply(szBody);
            m_client.GetProjects("other", strText);
            m_transport.Reply(szBody);
        }
    }
}

TEST_F(DecoderContext, ThatIsMissingLeavesTheEchoEmpty)
{
    SetReceiver([](int, const void*, const SResponseHeader& header, int) {
        EXPECT_EQ(Payload<SSupportVer>(header).strVersion, "");
    });
    m_transport.fnResponse("{\"success\":true}", 3104, nullptr, 0);
    SetReceiver([](int, const void*, const SResponseHeader& header, int) {
        EXPECT_EQ(Payload<SResponseGetProject>(header).strUserText, "");
    });
    m_transport.fnResponse("{\"success\":true}", 3103, nullptr, 0);
}
