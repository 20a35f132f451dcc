// The parts of "ktsagent doctor" that judge what was found, each by itself.

#include "doctor/ReplyKind.h"
#include "doctor/Stages.h"

#include <gmock/gmock.h>

#include <ostream>

using testing::HasSubstr;
using testing::SizeIs;

namespace
{

/// An answer, and what is said about it.
struct JudgedAnswer {
    const char* szName;
    int nStatus;
    const char* szBody;
    ReplyKind::Kind eKind;
    const char* szSays;
};

void PrintTo(const JudgedAnswer& row, std::ostream* pOut)
{
    *pOut << row.szName;
}

class KindOfAReply : public testing::TestWithParam<JudgedAnswer>
{
};

/// How far this clock is ahead of the server's, and what is said about it.
struct JudgedClock {
    const char* szName;
    int nSecondsAhead;
    Mark eMark;
    const char* szSays;
};

void PrintTo(const JudgedClock& row, std::ostream* pOut)
{
    *pOut << row.szName;
}

class ClockOfTheServer : public testing::TestWithParam<JudgedClock>
{
};

} // namespace

TEST_P(KindOfAReply, IsFound)
{
    HttpAnswer answer;
    answer.nStatus = GetParam().nStatus;
    answer.strBody = GetParam().szBody;
    const ReplyKind kind = KindOf(answer);
    EXPECT_EQ(kind.eKind, GetParam().eKind);
    EXPECT_THAT(kind.strSays, HasSubstr(GetParam().szSays));
    EXPECT_EQ(kind.strToDo.empty(), kind.eKind == ReplyKind::Kind::Yes);
}

using Kind = ReplyKind::Kind;
INSTANTIATE_TEST_SUITE_P(
    Each, KindOfAReply,
    testing::Values(
        JudgedAnswer{"Success", 200, R"({"success":true})", Kind::Yes, "with a success"},
        JudgedAnswer{"NoWord", 200, R"({"data":[]})", Kind::Yes, "with a success"},
        JudgedAnswer{"Code200", 200, R"({"code":200})", Kind::Yes, "with a success"},
        JudgedAnswer{"Code500", 200, R"({"code":500})", Kind::No, "says no (status 200): without a message"},
        JudgedAnswer{"Array", 200, R"([{"success":false,"msg":"full"}])", Kind::No, "\"full\""},
        JudgedAnswer{"ArrayOfNumbers", 200, "[1]", Kind::Other, "not a JSON object (status 200)"},
        JudgedAnswer{"SuccessWithABadStatus", 500, R"({"success":true})", Kind::No, "(status 500)"},
        JudgedAnswer{"SuccessWithAnEarlyStatus", 103, R"({"success":true})", Kind::No, "(status 103)"},
        JudgedAnswer{"UnknownBadStatus", 505, "down", Kind::Other, "not a JSON object (status 505)"},
        JudgedAnswer{"WordsOfAGateway", 200, "Bad Gateway", Kind::Other, "a gateway's error (status 200)"},
        JudgedAnswer{"Unauthorized", 401, "who?", Kind::Other, "a refusal (status 401)"},
        JudgedAnswer{"UnauthorizedAtAProxy", 407, "who?", Kind::Other, "a refusal (status 407)"},
        JudgedAnswer{"Document", 200, " <!DOCTYPE html>hi", Kind::Other, "a web page, not JSON"},
        JudgedAnswer{"Login", 200, "<html><a>Login</a>", Kind::Other, "a login page, not JSON"}),
    testing::PrintToStringParamName());

TEST(EnvironmentOfTheDoctor, WithoutAVariableOfTheLibraryIsSaidToHaveNone)
{
    Context context; // with no setting, so with none from a variable
    EXPECT_EQ(CheckEnvironment(context).back().strSays,
              "No variable of the library is set; all defaults are in force.");
}

TEST_P(ClockOfTheServer, IsCompared)
{
    Context context;
    context.tpServerTime = QDateTime::currentDateTimeUtc();
    context.optServerTime = context.tpServerTime.addSecs(-GetParam().nSecondsAhead);
    const Findings vecFindings = CheckClock(context);
    ASSERT_THAT(vecFindings, SizeIs(1));
    EXPECT_EQ(vecFindings.front().eMark, GetParam().eMark);
    EXPECT_THAT(vecFindings.front().strSays, HasSubstr(GetParam().szSays));
}

INSTANTIATE_TEST_SUITE_P(
    Each, ClockOfTheServer,
    testing::Values(JudgedClock{"Equal", 0, Mark::Ok, "agree to 1 s"},
                    JudgedClock{"LittleAhead", 29, Mark::Ok, "agree to 30 s"},
                    JudgedClock{"Ahead", 30, Mark::Warning, "is 30 s ahead of the server's"},
                    JudgedClock{"Behind", -299, Mark::Warning, "is 299 s behind the server's"},
                    JudgedClock{"FarBehind", -300, Mark::Failed, "is 300 s behind the server's"}),
    testing::PrintToStringParamName());

TEST(DoctorsContext, KnowsNothingOfSettingsThatAreNotThere)
{
    const Context context;
    EXPECT_EQ(context.FindSetting("CLOG_FILES"), nullptr);
    EXPECT_EQ(context.CaFile(), "");
    EXPECT_FALSE(context.HasTransportsSettings());
}
