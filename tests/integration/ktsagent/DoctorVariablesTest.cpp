// What "ktsagent doctor" says about variables of the environment.

#include "DoctorProcess.h"

#include "labserver/LabServer.h"

using testing::HasSubstr;

namespace
{

class DoctorOfVariables : public DoctorProcess
{
};

} // namespace

TEST_F(DoctorOfVariables, FindsAMisspeltVariable)
{
    qputenv("CHTTPCLIENT_TIMOUT_MS", "5");
    ExpectFailure(
        Examine("127.0.0.1:9"), "environment",
        "CHTTPCLIENT_TIMOUT_MS is read by nobody; it is probably a misspelt CHTTPCLIENT_TIMEOUT_MS.");
}

TEST_F(DoctorOfVariables, FindsAMisspeltPrefixOfAVariable)
{
    qputenv("CHTPCLIENT_TIMEOUT_MS", "5");
    ExpectFailure(Examine("127.0.0.1:9"), "environment", "probably a misspelt CHTTPCLIENT_TIMEOUT_MS.");
}

TEST_F(DoctorOfVariables, OnlyWarnsOfAVariableThatResemblesNone)
{
    qputenv("CHTTPCLIENT_OF_THIS_SITE", "5");
    LabServer server;
    server.Start();
    const KtsagentRun run = Examine(Loopback(server.Port()));
    EXPECT_EQ(run.nExit, 0);
    EXPECT_THAT(Sentences(run.Object(), "environment", "warning"), HasSubstr("CHTTPCLIENT_OF_THIS_SITE"));
}

TEST_F(DoctorOfVariables, FindsAVariableWithAValueThatCantBeUsed)
{
    qputenv("CHTTPCLIENT_DRAIN_MS", "3s");
    ExpectFailure(Examine("127.0.0.1:9"), "environment",
                  "CHTTPCLIENT_DRAIN_MS is \"3s\", no number from 0 to");
}

TEST_F(DoctorOfVariables, FindsAFileOfAuthoritiesWithATypingError)
{
    qputenv("CHTTPCLIENT_CA_FILE", "/etc/ssl/my-authorty.pem");
    ExpectFailure(Examine("https://127.0.0.1:9"), "environment",
                  "CHTTPCLIENT_CA_FILE is \"/etc/ssl/my-authorty.pem\", which can't be read: ");
}

TEST_F(DoctorOfVariables, NamesTheVariablesInForce)
{
    qputenv("CHTTPCLIENT_DRAIN_MS", "17");
    EXPECT_THAT(Sentences(Examine("127.0.0.1:9", {"--timeout", "500"}).Object(), "environment", "ok"),
                HasSubstr("CHTTPCLIENT_DRAIN_MS=17"));
}

TEST_F(DoctorOfVariables, DoesNotTakeTheSchemeOfAUrlForAVariable)
{
    EXPECT_THAT(Sentences(Examine("https://127.0.0.1:9").Object(), "environment", "ok"),
                testing::Not(HasSubstr("KTSHTTPAGENT_TLS")));
}

TEST_F(DoctorOfVariables, NamesThatForTlsIfTheServerIsNoUrl)
{
    qputenv("KTSHTTPAGENT_TLS", "off");
    EXPECT_THAT(Sentences(Examine("127.0.0.1:9").Object(), "environment", "ok"),
                HasSubstr("KTSHTTPAGENT_TLS=off"));
}

TEST_F(DoctorOfVariables, OnlyWarnsOfAFileOfAuthoritiesThatIsNotNeeded)
{
    qputenv("CHTTPCLIENT_CA_FILE", "/etc/ssl/my-authorty.pem");
    const KtsagentRun run = Examine("http://127.0.0.1:9");
    ExpectFailure(run, "connection", "accepts no connection");
    EXPECT_THAT(Sentences(run.Object(), "environment", "warning"), HasSubstr("which can't be read: "));
}
