// What each end of an attempt means for a report.

#include "outbox/Judge.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

namespace
{

using outbox::Judge;
using outbox::Judgement;
using outbox::Verdict;

struct Row {
    const char* szName;
    int nError;
    const char* szBody;
    Verdict eVerdict;
    bool bUnclear = false;
    bool bSeen = true;
    bool bHttp = true;
};

void PrintTo(const Row& row, std::ostream* pStream)
{
    *pStream << row.szName;
}

class JudgeEach : public ::testing::TestWithParam<Row>
{
};

TEST_P(JudgeEach, AsTheTableSays)
{
    const Row& row = GetParam();
    const Judgement judgement = Judge({row.nError, row.szBody, row.bHttp, row.bSeen});
    EXPECT_EQ(judgement.eVerdict, row.eVerdict);
    EXPECT_EQ(judgement.bUnclear, row.bUnclear);
}

constexpr auto ACK = Verdict::Acknowledged;
constexpr auto LATER = Verdict::TryLater;
constexpr auto NO = Verdict::SaidNo;
constexpr auto POISON = Verdict::Poison;
constexpr auto WRONG = Verdict::WrongPlace;

INSTANTIATE_TEST_SUITE_P(
    Bodies, JudgeEach,
    ::testing::Values(
        Row{"SuccessTrue", 0, R"({"success":true})", ACK}, Row{"SuccessFalse", 0, R"({"success":false})", NO},
        Row{"SuccessFalseAsText", 0, R"({"success":"false"})", ACK}, Row{"Code0", 0, R"({"code":0})", ACK},
        Row{"Code200", 0, R"({"code":200})", ACK}, Row{"Code200WithAPoint", 0, R"({"code":200.0})", ACK},
        Row{"Code0WithAPoint", 0, R"({"code":0.0})", ACK}, Row{"CodeHalf", 0, R"({"code":0.5})", NO},
        Row{"Code1", 0, R"({"code":1})", NO}, Row{"Code201", 0, R"({"code":201})", NO},
        Row{"CodeBelow0", 0, R"({"code":-1})", NO}, Row{"CodeOf64Bits", 0, R"({"code":5000000000})", NO},
        Row{"CodeOf64BitsBelow0", 0, R"({"code":-5000000000})", NO},
        Row{"CodeSuccess", 0, R"({"code":"success"})", ACK}, Row{"CodeText0", 0, R"({"code":"0"})", ACK},
        Row{"CodeText200", 0, R"({"code":"200"})", ACK}, Row{"CodeText500", 0, R"({"code":"500"})", NO},
        Row{"CodeMinus0", 0, R"({"code":-0})", ACK}, Row{"CodeBelowHalf", 0, R"({"code":-0.5})", NO},
        Row{"Code200AndAHalf", 0, R"({"code":200.5})", NO},
        Row{"FirstOfTwoCodesCounts", 0, R"({"code":0,"code":5})", ACK},
        Row{"CodeNull", 0, R"({"code":null})", ACK}, Row{"CodeTrue", 0, R"({"code":true})", NO},
        Row{"CodeObject", 0, R"({"code":{}})", NO}, Row{"CodeArray", 0, R"({"code":[0]})", NO},
        Row{"SuccessTrueButCode500", 0, R"({"success":true,"code":500})", NO},
        Row{"SuccessFalseButCode200", 0, R"({"code":200,"success":false})", NO},
        Row{"FirstOfTwoCounts", 0, R"({"success":true,"success":false})", ACK},
        Row{"InnerMembersDontCount", 0, R"({"data":{"success":false,"code":5},"success":true})", ACK},
        Row{"MemberAfterAnInnerObject", 0, R"({"data":{"a":[1,{}]},"success":false})", NO},
        Row{"ArrayOfANo", 0, R"([{"success":false}])", NO},
        Row{"ArrayOfAYes", 0, R"([{"success":true}])", ACK},
        Row{"OnlyTheFirstElementCounts", 0, R"([{"success":true},{"success":false}])", ACK},
        Row{"AfterANumberNoElementCounts", 0, R"([1,{"success":false}])", ACK},
        Row{"ArrayInAnArray", 0, R"([[{"success":false}]])", ACK}, Row{"EmptyArray", 0, "[]", ACK},
        Row{"Empty", 0, "", ACK}, Row{"NoJson", 0, "OK", ACK}, Row{"EmptyObject", 0, "{}", ACK},
        Row{"CutOffAfterTheNo", 0, R"({"success":false,"mess)", NO},
        Row{"Page", 0, "<html><body>Sign in</body></html>", WRONG},
        Row{"PageAfterBlanks", 0, " \r\n\t<!doctype html>", WRONG},
        Row{"BadGatewayIn2xx", 0, "<h1>502 Bad Gateway</h1>", LATER, true},
        Row{"BadGatewayInAJson", 0, R"({"success":true,"message":"Bad Gateway"})", LATER, true},
        Row{"BadGatewayIn404", 404, "Bad Gateway", LATER, true}),
    [](const auto& row) { return row.param.szName; });

INSTANTIATE_TEST_SUITE_P(
    Statuses, JudgeEach,
    ::testing::Values(Row{"Continue100", 100, "", LATER, true}, Row{"Redirection301", 301, "", WRONG},
                      Row{"NotModified304", 304, "", WRONG}, Row{"BadRequest400", 400, "", POISON},
                      Row{"Unauthorized401", 401, "", WRONG}, Row{"Payment402", 402, "", WRONG},
                      Row{"Forbidden403", 403, "", WRONG}, Row{"NotFound404", 404, "", WRONG},
                      Row{"MethodNotAllowed405", 405, "", WRONG}, Row{"Timeout408", 408, "", LATER},
                      Row{"Conflict409", 409, "", LATER, true}, Row{"Gone410", 410, "", WRONG},
                      Row{"TooLarge413", 413, "", POISON}, Row{"UrlTooLong414", 414, "", POISON},
                      Row{"MediaType415", 415, "", POISON}, Row{"Unprocessable422", 422, "", POISON},
                      Row{"TooEarly425", 425, "", LATER}, Row{"TooMany429", 429, "", LATER},
                      Row{"HeaderTooLarge431", 431, "", POISON}, Row{"Legal451", 451, "", WRONG},
                      Row{"Error500", 500, "", LATER, true}, Row{"NotImplemented501", 501, "", WRONG},
                      Row{"BadGateway502", 502, "", LATER, true}, Row{"Unavailable503", 503, "", LATER},
                      Row{"GatewayTimeout504", 504, "", LATER, true}, Row{"Version505", 505, "", WRONG},
                      Row{"Unknown599", 599, "", LATER, true},
                      Row{"AYesDoesNotMendAStatus", 500, R"({"success":true})", LATER, true}),
    [](const auto& row) { return row.param.szName; });

INSTANTIATE_TEST_SUITE_P(
    Outcomes, JudgeEach,
    ::testing::Values(
        Row{"NotRunning", -2, "", LATER, true}, Row{"InvalidUrl", -3, "", Verdict::Hopeless},
        Row{"NoHttpReply", -1, "", WRONG, true},
        Row{"OtherScheme", -1, "", Verdict::Hopeless, false, false, false},
        Row{"NameNotFound", -6, "", LATER, false, false}, Row{"Refused", -7, "", LATER, false, false},
        Row{"InvalidReplyHeader", -8, "", LATER, true}, Row{"TimedOut", -28, "", LATER, true},
        Row{"TimedOutBeforeSending", -28, "", LATER, false, false}, Row{"Tls", -35, "", WRONG, false, false},
        Row{"Certificate", -60, "", WRONG, false, false}, Row{"CaFile", -77, "", WRONG, false, false},
        Row{"Cancelled", -42, "", Verdict::NotEnded, true},
        Row{"CancelledBeforeSending", -42, "", Verdict::NotEnded, false, false},
        Row{"InvalidHeaderOfTheReport", -43, "", Verdict::Hopeless, false, false},
        Row{"InvalidHeaderOfTheReply", -43, "", WRONG, true}, Row{"NoReply", -52, "", LATER, true},
        Row{"ReplyTooLarge", -63, "", LATER, true},
        Row{"TooManyOutstanding", -1000, "", LATER, false, false}),
    [](const auto& row) { return row.param.szName; });

TEST(JudgeBody, OfMoreThanTheLimitIsNotRead)
{
    std::string strBody = R"({"success":false,"fill":")";
    strBody.append(outbox::MOST_BODY_BYTES - strBody.size() - 2, 'x') += "\"}";
    ASSERT_EQ(strBody.size(), outbox::MOST_BODY_BYTES);
    EXPECT_EQ(Judge({0, strBody}).eVerdict, NO);
    strBody += ' ';
    EXPECT_EQ(Judge({0, strBody}).eVerdict, ACK);
    EXPECT_EQ(Judge({404, strBody}).eVerdict, WRONG);
}

TEST(JudgeBody, MayBeNestedAsDeepAsItLikes)
{
    const std::size_t DEPTH = outbox::MOST_BODY_BYTES / 2 - 50;
    const std::string strDeep = std::string(DEPTH, '[') + std::string(DEPTH, ']');
    EXPECT_EQ(Judge({0, R"({"data":)" + strDeep + R"(,"success":false})"}).eVerdict, NO);
    EXPECT_EQ(Judge({0, R"({"success":false,"data":)" + std::string(DEPTH, '[')}).eVerdict, NO);
}

TEST(JudgeReason, HasTheStatusOrTheOutcome)
{
    EXPECT_EQ(outbox::Reason(POISON, 422), "the server can't read the report: status 422");
    EXPECT_EQ(outbox::Reason(ACK, 0), "the server acknowledged it: status 2xx");
    EXPECT_EQ(outbox::Reason(Verdict::Hopeless, -3), "the request is invalid: outcome -3");
    EXPECT_NE(outbox::Reason(NO, 0), outbox::Reason(WRONG, 0));
    EXPECT_NE(outbox::Reason(LATER, 0), outbox::Reason(Verdict::NotEnded, 0));
}

} // namespace
