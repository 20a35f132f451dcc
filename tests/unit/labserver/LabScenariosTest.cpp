#include "LabFixture.h"

#include "labserver/LabFaults.h"
#include "labserver/LabJson.h"
#include "labserver/LabScenarios.h"

#include <gmock/gmock.h>

namespace
{

using testing::HasSubstr;

class LabScenariosTest : public LabTest
{
protected:
    Json::Value Scenario(const std::string& strName)
    {
        const Json::Value list = Get("/lab/scenarios").json;
        for (const Json::Value& scenario : list["scenarios"]) {
            if (scenario["name"] == strName) {
                return scenario;
            }
        }
        return {};
    }

    void Start(const std::string& strScenario)
    {
        const LabReply reply = Post("/lab/scenarios", strScenario);
        EXPECT_EQ(reply.nStatus, 200) << reply.strBody;
    }
};

TEST_F(LabScenariosTest, ThoseThatAreBuiltInAreListedInTwoLanguages)
{
    const Json::Value list = Get("/lab/scenarios").json;
    EXPECT_EQ(list["count"].asUInt(), list["scenarios"].size());
    EXPECT_GE(list["count"].asInt(), 6);
    for (const Json::Value& scenario : list["scenarios"]) {
        for (const char* szText : {"name", "title", "titleZh", "description", "descriptionZh"}) {
            EXPECT_FALSE(scenario[szText].asString().empty()) << scenario;
        }
        EXPECT_EQ(scenario["on"], false);
    }
}

TEST_F(LabScenariosTest, OneIsStartedByItsNameAndEnded)
{
    Start(R"({"name": "gateway-error"})");
    EXPECT_EQ(Get("/posts/1").nStatus, 502);
    EXPECT_EQ(Get("/vomd/system/GetDxzt.action?t=1").nStatus, 502);
    EXPECT_EQ(Scenario("gateway-error")["on"], true);
    EXPECT_GT(Scenario("gateway-error")["endsInMs"].asInt(), 0);
    EXPECT_LE(Scenario("gateway-error")["endsInMs"].asInt(), 60'000);
    EXPECT_EQ(Get("/lab/faults").json["faults"][0]["scenario"], "gateway-error");
    EXPECT_EQ(m_client.Send("DELETE", "/lab/scenarios/gateway-error").nStatus, 200);
    EXPECT_EQ(m_client.Send("DELETE", "/lab/scenarios/gateway-error").nStatus, 404);
    EXPECT_EQ(Scenario("gateway-error")["on"], false);
    EXPECT_EQ(Get("/posts/1").nStatus, 200);
    EXPECT_EQ(Get("/lab/faults").json["count"], 0);
}

TEST_F(LabScenariosTest, OneOfWhichAStepHasNoEndHasNone)
{
    for (const char* szSteps : {R"({"faults": []}, {"faults": [], "forMs": 5000})",
                                R"({"faults": [], "forMs": 5000}, {"faults": []})"}) {
        Start(R"({"name": "own", "steps": [)" + std::string(szSteps) + "]}");
        EXPECT_EQ(Scenario("own")["on"], true) << szSteps;
        EXPECT_FALSE(Scenario("own").isMember("endsInMs")) << szSteps;
    }
}

TEST_F(LabScenariosTest, OneThatIsNotKnownCanNotBeEnded)
{
    EXPECT_EQ(m_client.Send("DELETE", "/lab/scenarios/none").nStatus, 404);
}

TEST_F(LabScenariosTest, OneThatIsStartedAgainIsOnOnce)
{
    Start(R"({"name": "gateway-error"})");
    Start(R"({"name": "gateway-error"})");
    EXPECT_EQ(Get("/lab/faults").json["count"], 1);
}

TEST_F(LabScenariosTest, ALoginPageComesInsteadOfJson)
{
    Start(R"({"name": "login-page"})");
    const LabReply reply = Get("/posts/1");
    EXPECT_EQ(reply.nStatus, 200);
    EXPECT_EQ(reply.strContentType, "text/html");
    EXPECT_THAT(reply.strBody, HasSubstr("<form>"));
}

TEST_F(LabScenariosTest, AReportIsStoredThoughItsAcknowledgementIsLost)
{
    Start(R"({"name": "lost-acknowledgements"})");
    EXPECT_EQ(Post(CYCLES, "[1]").nStatus, 0);
    EXPECT_EQ(Get("/lab/reports/cycle-data").json["count"], 1);
    EXPECT_EQ(Get("/posts/1").nStatus, 200);
}

TEST_F(LabScenariosTest, AllAreEndedAtOnceAndOtherFaultsStay)
{
    Start(R"({"name": "slow"})");
    Start(R"({"name": "gateway-error"})");
    Post("/lab/faults", R"({"path": "posts", "status": 418})");
    EXPECT_EQ(m_client.Send("DELETE", "/lab/scenarios").nStatus, 200);
    EXPECT_EQ(Scenario("slow")["on"], false);
    EXPECT_EQ(Get("/lab/faults").json["count"], 1);
    EXPECT_EQ(Get("/posts/1").nStatus, 418);
}

TEST_F(LabScenariosTest, OneOfTheOperatorRunsAndIsKnownFromThenOn)
{
    Start(R"({"name": "mine", "title": "Mine", "steps": [{"faults": [{"path": "posts", "status": 418}]}]})");
    EXPECT_EQ(Get("/posts/1").nStatus, 418);
    EXPECT_EQ(Scenario("mine")["title"], "Mine");
    EXPECT_FALSE(Scenario("mine").isMember("endsInMs"));
    m_client.Send("DELETE", "/lab/scenarios/mine");
    Start(R"({"name": "mine"})");
    EXPECT_EQ(Get("/posts/1").nStatus, 418);
}

TEST_F(LabScenariosTest, AStepBeginsLaterAndEndsByItself)
{
    Start(R"({"name": "mine", "steps": [
        {"forMs": 100, "faults": [{"path": "posts", "status": 500, "untilCleared": true}]},
        {"afterMs": 400000, "forMs": 10, "faults": [{"path": "vomd", "status": 501}]}]})");
    EXPECT_EQ(Get("/vomd/system/GetDxzt.action?t=1").nStatus, 200);
    EXPECT_GT(Scenario("mine")["endsInMs"].asInt(), 300'000);
    while (Get("/posts/1").nStatus == 500) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    EXPECT_EQ(Get("/posts/1").nStatus, 200);
    Start(R"({"name": "mine", "steps": [{"forMs": 0, "faults": []}]})");
    EXPECT_EQ(Scenario("mine")["on"], false);
}

TEST_F(LabScenariosTest, WhatIsNoScenarioIsRefused)
{
    EXPECT_EQ(Post("/lab/scenarios", R"({"name": "unknown"})").nStatus, 404);
    for (const char* szScenario : {"[]",
                                   "{}",
                                   R"({"name": 1})",
                                   R"({"name": "", "steps": []})",
                                   R"({"name": "a/b", "steps": []})",
                                   R"({"name": "a", "title": 1, "steps": []})",
                                   R"({"name": "a", "steps": {}})",
                                   R"({"name": "a", "steps": [1]})",
                                   R"({"name": "a", "steps": [{}]})",
                                   R"({"name": "a", "steps": [{"faults": [], "forMs": -1}]})",
                                   R"({"name": "a", "steps": [{"faults": [], "afterMs": 86400001}]})",
                                   R"({"name": "a", "steps": [{"faults": [], "forMs": "1"}]})",
                                   R"({"name": "a", "steps": [{"faults": [], "other": 1}]})",
                                   R"({"name": "a", "steps": [{"faults": [], "tls": "expired"}]})",
                                   R"({"name": "a", "steps": [{"faults": [], "restartMs": 1}]})",
                                   R"({"name": "a", "steps": [{"restartMs": 1, "forMs": 1}]})",
                                   R"({"name": "a", "steps": [{"restartMs": -1}]})",
                                   R"({"name": "a", "steps": [{"tls": "other"}]})",
                                   R"({"name": "a", "steps": [{"tls": 1}]})",
                                   R"({"name": "a", "steps": [{"faults": [{"path": "no", "status": 500}]}]})",
                                   R"({"name": "a", "steps": [{"faults": [{"path": "posts"}]}]})"}) {
        EXPECT_EQ(Post("/lab/scenarios", szScenario).nStatus, 400) << szScenario;
    }
    EXPECT_EQ(Scenario("a"), Json::Value());
}

TEST(LabScenariosAlone, AHundredAreKnownAtMost)
{
    LabFaults faults;
    LabTls tls{LabServerOptions()};
    LabRestarts restarts([] {}, [] {});
    LabScenarios scenarios(faults, tls, restarts);
    const auto fnStart = [&](int nScenario) {
        scenarios.Start(ParseJson(R"({"steps": [], "name": ")" + std::to_string(nScenario) + R"("})"));
    };
    int nScenario = 0;
    while (scenarios.ToJson().size() < 100) {
        fnStart(nScenario++);
    }
    EXPECT_THROW(fnStart(nScenario), LabError);
    EXPECT_NO_THROW(fnStart(0));
}

} // namespace
