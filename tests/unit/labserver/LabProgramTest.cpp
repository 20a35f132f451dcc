#include "ContainsPattern.h"
#include "LabFixture.h"
#include "UnsafeTexts.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <fstream>
#include <gmock/gmock.h>
#include <memory>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

using testing::EndsWith;
using testing::HasSubstr;

/// The server program, run with arguments.
class Program
{
public:
    /// @param nInput  the descriptor that becomes its standard input; -1 for that of the test
    explicit Program(std::vector<std::string> vecArguments, int nInput = -1)
    {
        std::array<int, 2> aOut{}, aErr{};
        if (pipe2(aOut.data(), O_CLOEXEC) != 0 || pipe2(aErr.data(), O_CLOEXEC) != 0) {
            throw std::runtime_error("no pipes");
        }
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, aOut[1], STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&actions, aErr[1], STDERR_FILENO);
        if (nInput >= 0) {
            posix_spawn_file_actions_adddup2(&actions, nInput, STDIN_FILENO);
        }
        vecArguments.insert(vecArguments.begin(), KTSLABSERVER);
        std::vector<char*> vecRaw;
        for (std::string& strArgument : vecArguments) {
            vecRaw.push_back(strArgument.data());
        }
        vecRaw.push_back(nullptr);
        if (posix_spawn(&m_nPid, KTSLABSERVER, &actions, nullptr, vecRaw.data(), environ) != 0) {
            throw std::runtime_error("can't start " KTSLABSERVER);
        }
        posix_spawn_file_actions_destroy(&actions);
        close(aOut[1]);
        close(aErr[1]);
        m_pOut = fdopen(aOut[0], "r");
        m_pErr = fdopen(aErr[0], "r");
    }

    ~Program()
    {
        if (m_nPid > 0) {
            Signal(SIGKILL);
            Wait();
        }
        fclose(m_pOut);
        fclose(m_pErr);
    }

    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    std::string OutLine() { return LineOf(m_pOut); }
    std::string ErrLine() { return LineOf(m_pErr); }
    void Signal(int nSignal) const { kill(m_nPid, nSignal); }

    /// @return the exit code; the negative signal number when one ended it
    int Wait()
    {
        int nStatus = 0;
        waitpid(m_nPid, &nStatus, 0);
        m_nPid = -1;
        return WIFEXITED(nStatus) ? WEXITSTATUS(nStatus) : -WTERMSIG(nStatus);
    }

    /// The port in the line that it prints when it listens; 0 when it prints something else.
    int ReadPort(const std::string& strScheme = "http")
    {
        const std::string strLine = OutLine();
        const std::string strBefore = "ktslabserver: listening on " + strScheme + "://127.0.0.1:";
        if (strLine.rfind(strBefore, 0) != 0 || strLine.back() != '/') {
            return 0;
        }
        return std::stoi(strLine.substr(strBefore.size()));
    }

private:
    static std::string LineOf(FILE* pFile)
    {
        std::string strLine;
        for (int nChar = 0; (nChar = std::fgetc(pFile)) != EOF && nChar != '\n';) {
            strLine += static_cast<char>(nChar);
        }
        return strLine;
    }

    pid_t m_nPid = -1;
    FILE* m_pOut = nullptr;
    FILE* m_pErr = nullptr;
};

TEST(LabProgram, ItPrintsItsPortServesAndEndsOnASignalWithSuccess)
{
    for (const int nSignal : {SIGTERM, SIGINT}) {
        Program program({"--port", "0"});
        const int nPort = program.ReadPort();
        ASSERT_GT(nPort, 0);
        LabClient client(nPort);
        EXPECT_EQ(client.Get("/posts/1").nStatus, 200);
        program.Signal(nSignal);
        EXPECT_EQ(program.Wait(), 0);
        EXPECT_EQ(program.ErrLine(), "");
    }
}

TEST(LabProgram, AFurtherSignalIsNoneThatItDiesOf)
{
    for (const int nFurther : {SIGINT, SIGTERM}) {
        Program program({});
        ASSERT_GT(program.ReadPort(), 0);
        program.Signal(SIGTERM);
        program.Signal(nFurther);
        EXPECT_EQ(program.Wait(), 0);
    }
}

TEST(LabProgram, ItEndsWithItsInputIfTold)
{
    std::array<int, 2> aInput{};
    ASSERT_EQ(pipe2(aInput.data(), O_CLOEXEC), 0);
    Program program({"--end-with-input"}, aInput[0]);
    close(aInput[0]);
    const int nPort = program.ReadPort();
    ASSERT_GT(nPort, 0);
    EXPECT_EQ(write(aInput[1], "ignored\n", 8), 8);
    EXPECT_EQ(LabClient(nPort).Get("/posts/1").nStatus, 200) << "it serves as long as the input is open";
    close(aInput[1]);
    EXPECT_EQ(program.Wait(), 0);
    EXPECT_EQ(program.ErrLine(), "");
}

TEST(LabProgram, ItDoesNotMindTheEndOfItsInputIfNotTold)
{
    const int nEmpty = open("/dev/null", O_RDONLY | O_CLOEXEC);
    Program program({}, nEmpty);
    close(nEmpty);
    LabClient client(program.ReadPort());
    EXPECT_EQ(client.Get("/posts/1").nStatus, 200);
    program.Signal(SIGTERM);
    EXPECT_EQ(program.Wait(), 0);
}

TEST(LabProgram, ABusyPortIsSaidInOneLineAndIsAFailure)
{
    LabServer server;
    const std::string strPort = std::to_string(server.Start());
    Program program({"--port", strPort});
    EXPECT_EQ(program.Wait(), 1);
    EXPECT_EQ(program.ErrLine(),
              "ktslabserver: can't listen on 127.0.0.1:" + strPort + ": Address already in use");
    EXPECT_EQ(program.ErrLine(), "");
    EXPECT_EQ(program.OutLine(), "");
}

TEST(LabProgram, ADataFileThatCanNotBeOpenedIsSaidInOneLineAndIsAFailure)
{
    const TemporaryFolder folder;
    Program program({"--data", folder.File("missing/lab.db")});
    EXPECT_EQ(program.Wait(), 1);
    EXPECT_THAT(program.ErrLine(), testing::StartsWith("ktslabserver: can't open data file "));
    EXPECT_EQ(program.ErrLine(), "");
}

TEST(LabProgram, ItKeepsReportsInItsDataFile)
{
    const TemporaryFolder folder;
    for (int nRun = 1; nRun <= 2; ++nRun) {
        Program program({"--data", folder.File("lab.db")});
        LabClient client(program.ReadPort());
        client.Post("/open/test-cabinet/add/kostrel/cycle", "[1]");
        EXPECT_EQ(client.Get("/lab/reports/cycle-data").json["count"], nRun);
        program.Signal(SIGTERM);
        EXPECT_EQ(program.Wait(), 0);
    }
}

TEST(LabProgram, TwoOfThemShareADataFileFromItsMakingOn)
{
    const TemporaryFolder folder;
    std::array<Program, 2> aPrograms{Program({"--data", folder.File("lab.db")}),
                                     Program({"--data", folder.File("lab.db")})};
    std::array<LabClient, 2> aClients{LabClient(aPrograms[0].ReadPort()), LabClient(aPrograms[1].ReadPort())};
    for (int nReport = 1; nReport <= 6; ++nReport) {
        const bool bOdd = nReport % 2 != 0;
        LabClient& sender = aClients[bOdd ? 1 : 0];
        LabClient& reader = aClients[bOdd ? 0 : 1];
        EXPECT_EQ(sender.Post("/open/test-cabinet/add/kostrel/cycle", "[1]").nStatus, 200);
        EXPECT_EQ(reader.Get("/lab/reports/cycle-data").json["count"], nReport);
    }
    EXPECT_EQ(aClients[0].Get("/lab/channel-rules").json["count"], 3);
}

TEST(LabProgram, AnAcknowledgedReportOutlivesAKilledServer)
{
    const TemporaryFolder folder;
    {
        Program program({"--data", folder.File("lab.db")});
        LabClient client(program.ReadPort());
        EXPECT_EQ(client.Post("/open/test-cabinet/add/kostrel/cycle", "[1]").nStatus, 200);
        program.Signal(SIGKILL);
        EXPECT_EQ(program.Wait(), -SIGKILL);
    }
    Program program({"--data", folder.File("lab.db")});
    EXPECT_EQ(LabClient(program.ReadPort()).Get("/lab/reports/cycle-data").json["count"], 1);
}

TEST(LabProgram, TheNumberOfConnectionsCanBeSet)
{
    Program program({"--max-connections", "1"});
    const int nPort = program.ReadPort();
    LabClient first(nPort);
    EXPECT_EQ(first.Get("/posts/1").nStatus, 200);
    EXPECT_EQ(LabClient(nPort).Get("/posts/1").nStatus, 503);
}

TEST(LabProgram, IsNotHeldBackByASoftLimitOfDescriptors)
{
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    rlimit low = before;
    low.rlim_cur = 64;
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &low), 0);
    Program program({}); // inherits it
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
    const int nPort = program.ReadPort();
    std::vector<std::unique_ptr<LabClient>> vecClients;
    for (int nClient = 0; nClient < 100; ++nClient) {
        vecClients.push_back(std::make_unique<LabClient>(nPort));
        ASSERT_EQ(vecClients.back()->Get("/posts/1").nStatus, 200) << nClient;
    }
}

TEST(LabProgram, BeginsWithScenarios)
{
    const TemporaryFolder folder;
    std::ofstream(folder.File("own.json"))
        << R"( {"name": "own", "steps": [{"faults": [{"path": "posts", "status": 418, "untilCleared": true}]}]})";
    Program program({"--scenario", "slow", "--scenario", folder.File("own.json")});
    LabClient client(program.ReadPort());
    const Json::Value scenarios = client.Get("/lab/scenarios").json["scenarios"];
    int nOn = 0;
    for (const Json::Value& scenario : scenarios) {
        nOn += scenario["on"].asBool() ? 1 : 0;
    }
    EXPECT_EQ(nOn, 2);
    const Json::Value faults = client.Get("/lab/faults").json["faults"];
    EXPECT_EQ(faults[0]["scenario"], "slow");
    EXPECT_EQ(faults[1]["scenario"], "own");
}

TEST(LabProgram, AScenarioThatThereIsNotIsSaidAndIsAFailure)
{
    const TemporaryFolder folder;
    std::ofstream(folder.File("bad.json")) << "{";
    for (const auto& [strScenario, strWhy] :
         {std::pair<std::string, std::string>{"none", "There is no scenario \"none\"."},
          {" ", "There is no scenario \" \"."},
          {"/", "The name of a scenario has at least one character, and no \"/\"."}, // a folder
          {folder.File("bad.json"), "The body is not JSON."}}) {
        Program program({"--scenario", strScenario});
        EXPECT_EQ(program.ErrLine(), "ktslabserver: --scenario " + strScenario + ": " + strWhy);
        EXPECT_EQ(program.Wait(), 1);
    }
}

TEST(LabProgram, PrintsALineForEachRequestOfAHost)
{
    Program program({"--log"});
    LabClient client(program.ReadPort());
    client.Get("/posts/7?a=%1b[2J");
    EXPECT_THAT(
        program.OutLine(),
        testing::MatchesRegex("20[^ ]+Z 127\\.0\\.0\\.1:[0-9]+ GET /posts/7\\?a=%1b\\[2J 200 answered 0 "
                              "[0-9]+ [0-9]+\\.[0-9][0-9][0-9] -"));
    client.Get("/lab/faults"); // the operator's
    client.PostWithKey(CYCLES, "[1]", "\"my key\"");
    EXPECT_THAT(program.OutLine(), testing::MatchesRegex(".* POST .* 200 answered 3 .* my\\\\x20key"));
    for (const char* szNotQuoted : {"begun\"", "\"ended", "\""}) {
        client.PostWithKey(CYCLES, "[1]", szNotQuoted);
        EXPECT_THAT(program.OutLine(), EndsWith(std::string(" ") + szNotQuoted));
    }
    client.Get("/none");
    EXPECT_THAT(program.OutLine(), HasSubstr(" GET /none 404 refused "));
}

TEST(LabProgram, ServesHttpsWithACertificateThatItMakes)
{
    Program program({"--tls-made"});
    const int nPort = program.ReadPort("https");
    ASSERT_GT(nPort, 0);
    const TemporaryFolder folder;
    std::ofstream(folder.File("authority.pem")) << LabClient(nPort).Get("/lab/authority.pem").strBody;
    httplib::SSLClient client("127.0.0.1", nPort);
    client.set_ca_cert_path(folder.File("authority.pem").c_str());
    EXPECT_TRUE(client.Get("/posts/1"));
}

TEST(LabProgram, TellsWhyFilesForHttpsOrAReplayCanNotBeUsed)
{
    const TemporaryFolder folder;
    const std::string strNone = folder.File("none");
    const std::vector<std::vector<std::string>> vecCalls = {
        {"--tls", strNone, strNone}, {"--replay", strNone}, {"--record", folder.File("none/of/these")}};
    for (const std::vector<std::string>& vecArguments : vecCalls) {
        Program program(vecArguments);
        EXPECT_THAT(program.ErrLine(), HasSubstr(strNone)) << vecArguments.front();
        EXPECT_EQ(program.Wait(), 1) << vecArguments.front();
        EXPECT_EQ(program.OutLine(), "");
    }
}

TEST(LabProgram, ReplaysWhatAnotherOneHasRecorded)
{
    const TemporaryFolder folder;
    Program recorder({"--record", folder.File("recording")});
    const LabReply asked = LabClient(recorder.ReadPort()).Get("/posts/1");
    recorder.Signal(SIGTERM); // it ends once the request is recorded
    EXPECT_EQ(recorder.Wait(), 0);
    Program player({"--replay", folder.File("recording")});
    LabClient client(player.ReadPort());
    EXPECT_EQ(client.Get("/posts/1").strBody, asked.strBody);
    EXPECT_EQ(client.Get("/posts/2").nStatus, 404);
}

TEST(LabProgram, SaysThatThereIsNoLogInWhereOthersCanConnect)
{
    for (const char* szAddress : {"127.0.0.2", "localhost"}) {
        Program local({"--address", szAddress});
        local.ReadPort();
        local.Signal(SIGTERM);
        EXPECT_EQ(local.ErrLine(), "") << szAddress;
    }
    Program open({"--address", "0.0.0.0"});
    open.ReadPort();
    EXPECT_EQ(open.ErrLine(),
              "ktslabserver: there is no log-in: every program that can connect to 0.0.0.0 may read the "
              "data and change the answers");
}

TEST(LabProgram, AnIPv6AddressStandsInBrackets)
{
    Program program({"--address", "::1"});
    const std::string strLine = program.OutLine();
    if (strLine.empty()) {
        GTEST_SKIP() << "this machine has no IPv6: " << program.ErrLine();
    }
    EXPECT_THAT(strLine, testing::StartsWith("ktslabserver: listening on http://[::1]:"));
    Program second(
        {"--address", "::1", "--port", std::to_string(std::stoi(strLine.substr(strLine.rfind(':') + 1)))});
    EXPECT_EQ(second.Wait(), 1);
    EXPECT_THAT(second.ErrLine(), testing::StartsWith("ktslabserver: can't listen on [::1]:"));
}

TEST(LabProgram, WrongUsageIsSaidAndHasAnExitStatusOfItsOwn)
{
    const std::vector<std::vector<std::string>> vecWrong = {{"--port", "65536"},
                                                            {"--port", "x"},
                                                            {"--port"},
                                                            {"--address", ""},
                                                            {"--max-connections", "0"},
                                                            {"--nonsense"},
                                                            {"more"},
                                                            {"--tls", "one"},
                                                            {"--tls-made", "--tls", "a", "b"},
                                                            {"--replay", "a", "--data", "b"}};
    for (const std::vector<std::string>& vecArguments : vecWrong) {
        Program program(vecArguments);
        EXPECT_THAT(program.ErrLine(), testing::Not("")) << vecArguments.front();
        EXPECT_EQ(program.Wait(), 2) << vecArguments.front();
    }
}

TEST(LabProgram, WhatItRepeatsOfItsArgumentsDoesATerminalNoHarm)
{
    const std::string strHostile = "x\x1b[2J\n\u202eevil\xff";
    const std::string strShown = "x\\x1b[2J\\n\\xe2\\x80\\xaeevil\\xff";
    const TemporaryFolder folder;
    const std::vector<std::vector<std::string>> vecCalls = {{"--data", folder.File("missing/" + strHostile)},
                                                            {"--address", strHostile},
                                                            {"--port", strHostile},
                                                            {"--" + strHostile},
                                                            {strHostile}};
    for (const std::vector<std::string>& vecArguments : vecCalls) {
        Program program(vecArguments);
        EXPECT_THAT(program.ErrLine(), testing::HasSubstr(strShown)) << EscapeOf(vecArguments.front());
        EXPECT_NE(program.Wait(), 0) << EscapeOf(vecArguments.front());
    }
}

TEST(LabProgram, AskingForHelpIsNoError)
{
    Program program({"--help"});
    EXPECT_EQ(program.Wait(), 0);
    EXPECT_THAT(program.OutLine(), testing::StartsWith("A stand-in laboratory server"));
    std::string strRest;
    for (int nLine = 0; nLine < 30; ++nLine) { // more than there are
        strRest += program.OutLine() + '\n';
    }
    EXPECT_THAT(
        strRest,
        ContainsPattern(
            "--help(.|\n)*--port(.|\n)*--address(.|\n)*--data(.|\n)*--max-connections(.|\n)*Exit status: 0"));
}

TEST(LabProgram, HasTheLimitsThatItsPageStatesIfNotTold)
{
    const LabServerOptions options;
    EXPECT_EQ(options.nMaxConnections, 1100);
    EXPECT_EQ(options.patience, std::chrono::seconds(60));
}

} // namespace
