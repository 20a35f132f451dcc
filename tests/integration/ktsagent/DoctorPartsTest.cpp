// The parts of "ktsagent doctor" that judge what was found, each by itself.

#include "doctor/Reach.h"
#include "doctor/ReplyKind.h"
#include "doctor/Stages.h"

#include "ScriptedServer.h"

#include <QCoreApplication>

#include <gmock/gmock.h>

#include <ostream>

using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

namespace
{

constexpr std::chrono::milliseconds ENOUGH{60'000};

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

/// Stages that wait for sockets, which needs an application.
class DoctorStage : public testing::Test
{
protected:
    DoctorStage() { m_context.timeout = ENOUGH; }

    Context m_context;

private:
    int m_nArguments = 1;
    char m_szName[5] = "test";
    char* m_arArguments[2] = {m_szName, nullptr};
    QCoreApplication m_application{m_nArguments, m_arArguments};
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

TEST_F(DoctorStage, NamesTheAddressesOfAName)
{
    m_context.server.strIp = "localhost";
    const Findings vecFindings = CheckName(m_context);
    ASSERT_THAT(vecFindings, SizeIs(1));
    EXPECT_EQ(vecFindings.front().eMark, Mark::Ok);
    EXPECT_THAT(vecFindings.front().strSays, HasSubstr("localhost has the addresses "));
    EXPECT_FALSE(m_context.lstAddresses.isEmpty());
}

TEST_F(DoctorStage, LeavesAnInterfaceUsableThatReachesAnUnknownNameByItsProxy)
{
    m_context.server.strIp = "laboratory.invalid";
    m_context.blocking.bUsesProxy = true;
    const Findings vecFindings = CheckName(m_context);
    ASSERT_THAT(vecFindings, SizeIs(1));
    EXPECT_EQ(vecFindings.front().eMark, Mark::Failed);
    EXPECT_FALSE(m_context.asynchronous.bReachesServer);
    EXPECT_TRUE(m_context.blocking.bReachesServer);
}

TEST_F(DoctorStage, LeavesAnInterfaceUsableThatReachesAServerThatIsDownByItsProxy)
{
    const RefusingPort port;
    m_context.lstAddresses = {QHostAddress(QHostAddress::LocalHost), QHostAddress("::1")};
    m_context.server.nPort = port.Port();
    m_context.asynchronous.bUsesProxy = true;
    m_context.blocking.bReachesServer = false;
    const Findings vecFindings = CheckConnection(m_context);
    ASSERT_THAT(vecFindings, SizeIs(2));
    EXPECT_EQ(vecFindings.front().eMark, Mark::Failed);
    EXPECT_THAT(vecFindings.back().strSays, HasSubstr("[::1]:"));
    EXPECT_TRUE(m_context.asynchronous.bReachesServer);
    EXPECT_FALSE(m_context.blocking.bReachesServer);
}

TEST_F(DoctorStage, OnlyWarnsOfAnAddressThatRefusesIfAnotherConnects)
{
    const ScriptedServer server(ServerStep{HttpReply(200, "{}")});
    m_context.lstAddresses = {QHostAddress(QHostAddress::LocalHost), QHostAddress("127.0.0.77")};
    m_context.server.nPort = server.Port();
    const Findings vecFindings = CheckConnection(m_context);
    ASSERT_THAT(vecFindings, SizeIs(2));
    EXPECT_EQ(vecFindings.front().eMark, Mark::Ok);
    EXPECT_EQ(vecFindings.back().eMark, Mark::Warning);
    EXPECT_TRUE(m_context.asynchronous.bReachesServer);
}

TEST(DoctorsContext, KnowsNothingOfSettingsThatAreNotThere)
{
    const Context context;
    EXPECT_EQ(context.FindSetting("CLOG_FILES"), nullptr);
    EXPECT_EQ(context.CaFile(), "");
    EXPECT_FALSE(context.HasTransportsSettings());
}
