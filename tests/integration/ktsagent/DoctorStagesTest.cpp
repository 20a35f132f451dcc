// The stages of "ktsagent doctor" that look for names and connect to addresses.

#include "doctor/Stages.h"

#include "ScriptedServer.h"

#include <QCoreApplication>

#include <gmock/gmock.h>

using testing::HasSubstr;
using testing::SizeIs;

namespace
{

/// Waits for sockets, which needs an application.
class DoctorStage : public testing::Test
{
protected:
    DoctorStage() { m_context.timeout = std::chrono::minutes(1); }

    Context m_context;

private:
    int m_nArguments = 1;
    char m_szName[5] = "test";
    char* m_arArguments[2] = {m_szName, nullptr};
    QCoreApplication m_application{m_nArguments, m_arArguments};
};

} // namespace

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
