// "ktsagent outbox drain" sends what hosts that ended have left.

#include "OutboxProcess.h"
#include "ScriptedServer.h"

#include <gmock/gmock.h>

#include <mutex>
#include <string>
#include <vector>

using testing::HasSubstr;
using testing::UnorderedElementsAre;

namespace
{

class OutboxDrain : public OutboxProcess
{
protected:
    OutboxDrain() { qputenv("CHTTPCLIENT_DRAIN_MS", "0"); }

    ScriptedServer::Script Answering(const ServerStep& step)
    {
        return [this, step](const WireRequest& request) {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_vecArrived.push_back(request.strBody);
            return step;
        };
    }

    std::vector<std::string> Arrived()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_vecArrived;
    }

    std::mutex m_mutex;
    std::vector<std::string> m_vecArrived;
};

} // namespace

TEST_F(OutboxDrain, SendsWhatHostsHaveLeft)
{
    const ScriptedServer server(Answering(Ok()));
    for (const std::string strBody : {"first", "second"}) {
        Add(*Open(), strBody, server.Url("/saveData"));
    }
    const KtsagentRun run = Outbox("drain");
    EXPECT_EQ(run.nExit, 0) << run.strErr;
    EXPECT_EQ(run.strOut, "sent: 2\nnew dead letters: 0\nleft: 0\n");
    EXPECT_THAT(Arrived(), UnorderedElementsAre("first", "second"));
    EXPECT_EQ(JsonOf("status")["waiting"].asInt(), 0);
}

TEST_F(OutboxDrain, EndsAtOnceIfNothingWaits)
{
    Open();
    EXPECT_EQ(Outbox("drain").strOut, "sent: 0\nnew dead letters: 0\nleft: 0\n");
}

TEST_F(OutboxDrain, LeavesRunningHostsWhatIsTheirs)
{
    const ScriptedServer server(Answering(Ok()));
    const auto pHost = Open();
    Add(*pHost, "of a running host", server.Url("/saveData"));
    Add(*Open(), "left", server.Url("/saveData"));
    const KtsagentRun run = Outbox("drain");
    EXPECT_EQ(run.nExit, 0) << run.strErr;
    EXPECT_EQ(run.strOut, "sent: 1\nnew dead letters: 0\nleft: 0\n");
    EXPECT_THAT(Arrived(), UnorderedElementsAre("left"));
    EXPECT_EQ(pHost->Status().nWaiting, 1U);
}

TEST_F(OutboxDrain, CountsWhatIsLeftWhenTheTimeIsUp)
{
    const ScriptedServer server(Silent());
    Add(*Open(), "1", server.Url("/saveData"));
    const KtsagentRun run = Outbox("drain", {"--timeout", "1"});
    EXPECT_EQ(run.nExit, 1);
    EXPECT_EQ(run.strOut, "sent: 0\nnew dead letters: 0\nleft: 1\n");
    EXPECT_EQ(JsonOf("status")["waiting"].asInt(), 1);
}

TEST_F(OutboxDrain, CountsDeadLetters)
{
    const ScriptedServer server(Answering(ServerStep{HttpReply(400, "{}")}));
    Add(*Open(), "1", server.Url("/saveData"));
    const KtsagentRun run = Outbox("drain");
    EXPECT_EQ(run.strOut, "sent: 0\nnew dead letters: 1\nleft: 0\n");
    EXPECT_EQ(Arrived().size(), 3U);
    EXPECT_EQ(JsonOf("list", {"--dead"})[0]["status"].asInt(), 400);
}

TEST_F(OutboxDrain, DrainsTheFolderThatIsNamedAndNotTheEnvironments)
{
    const ScriptedServer server(Answering(Ok()));
    Add(*Open(), "1", server.Url("/saveData"));
    qputenv("KTSHTTPAGENT_OUTBOX", m_folder.filePath("other").toLocal8Bit());
    const KtsagentRun run = Outbox("drain");
    qunsetenv("KTSHTTPAGENT_OUTBOX");
    EXPECT_EQ(run.nExit, 0) << run.strErr;
    EXPECT_THAT(run.strOut, HasSubstr("sent: 1\n"));
}
