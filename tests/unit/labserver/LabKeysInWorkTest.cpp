// Reports with one key that come at the same time.

#include "LabFixture.h"

#include <array>
#include <atomic>
#include <mutex>
#include <set>
#include <thread>

namespace
{

/// Sends a report until it is not refused as one that is being worked on. @return the id that it got
int PostUntilStored(LabClient& client, const std::string& strBody, const std::string& strKey)
{
    for (;;) {
        const LabReply reply = client.PostWithKey(CYCLES, strBody, strKey);
        if (reply.nStatus != 409) {
            EXPECT_EQ(reply.nStatus, 200) << reply.strBody;
            return reply.json["id"].asInt();
        }
    }
}

/// Sends each of some reports on many threads at once, and expects that each is stored once.
/// @param vecPorts of the servers that the threads use in turn
void SendOnManyThreads(const std::vector<int>& vecPorts)
{
    constexpr size_t THREADS = 16;
    constexpr int REPORTS = 10;
    std::mutex mutex;
    std::set<int> setIds;
    OnThreads(THREADS, [&](size_t nThread) {
        LabClient client(vecPorts.at(nThread % vecPorts.size()));
        for (int nReport = 0; nReport < REPORTS; ++nReport) {
            const std::string strNumber = std::to_string(nReport);
            const int nId = PostUntilStored(client, '[' + strNumber + ']', "\"run-" + strNumber + '"');
            const std::lock_guard lock(mutex);
            setIds.insert(nId);
        }
    });
    EXPECT_EQ(setIds.size(), size_t{REPORTS});
    const Json::Value stored = LabClient(vecPorts.front()).Get("/lab/reports/cycle-data").json;
    EXPECT_EQ(stored["count"], REPORTS);
    for (const Json::Value& report : stored["reports"]) {
        EXPECT_EQ("run-" + report["report"][0].asString(), report["key"].asString());
        EXPECT_EQ(report["repeats"], static_cast<int>(THREADS) - 1);
    }
}

TEST(LabKeysInWork, LetOneOfManySimultaneousReportsBeStored)
{
    LabServer server;
    SendOnManyThreads({server.Start()});
}

TEST(LabKeysInWork, LetOneReportBeStoredByTwoServersOfOneFile)
{
    const TemporaryFolder folder;
    LabServer first({"127.0.0.1", 0, folder.File("lab.db")});
    LabServer second({"127.0.0.1", 0, folder.File("lab.db")});
    SendOnManyThreads({first.Start(), second.Start()});
}

/// A report whose answer a fault delays until the server stops.
class DelayedReport
{
public:
    explicit DelayedReport(LabServer& server)
    {
        LabFault fault;
        fault.strPath = CYCLES;
        fault.nDelayMs = 600'000;
        server.AddFault(fault);
        const int nPort = server.Port();
        m_thread = std::thread(
            [this, nPort] { m_nStatus = LabClient(nPort).PostWithKey(CYCLES, "[1]", "\"k\"").nStatus; });
        LabClient watcher(nPort);
        while (watcher.Get("/lab/faults").json["count"] != 0) {
            std::this_thread::yield();
        }
    }
    ~DelayedReport() { m_thread.join(); }
    DelayedReport(const DelayedReport&) = delete;
    DelayedReport& operator=(const DelayedReport&) = delete;

    int End()
    {
        m_thread.join();
        m_thread = std::thread([] {});
        return m_nStatus;
    }

private:
    int m_nStatus = -1;
    std::thread m_thread;
};

TEST(LabKeysInWork, RefuseAReportWhileTheFirstIsWorkedOn)
{
    LabServer server;
    LabClient client(server.Start());
    DelayedReport delayed(server);
    for (const char* szBody : {"[1]", "[2]", "no JSON"}) {
        const LabReply reply = client.PostWithKey(CYCLES, szBody, "\"k\"");
        EXPECT_EQ(reply.nStatus, 409) << szBody;
        EXPECT_EQ(reply.json["success"], false);
        EXPECT_EQ(reply.json["code"], 409);
        EXPECT_EQ(reply.json["message"], "A report with the same Idempotency-Key is still being worked on.");
    }
    EXPECT_EQ(client.Get("/lab/reports/cycle-data").json["count"], 0);
    EXPECT_EQ(client.PostWithKey(CYCLES, "[1]", "\"other\"").nStatus, 200);
    EXPECT_EQ(client.Post(CYCLES, "[1]").nStatus, 200);
    server.Stop();
    EXPECT_EQ(delayed.End(), 200);
    LabClient after(server.Start());
    EXPECT_EQ(after.PostWithKey(CYCLES, "[1]", "\"k\"").nStatus, 200);
    EXPECT_EQ(after.PostWithKey(CYCLES, "[2]", "\"k\"").nStatus, 422);
    EXPECT_EQ(after.Get("/lab/reports/cycle-data").json["count"], 3);
}

TEST(LabKeysInWork, AnswerARepeatOfAStoredReportWhileAnotherRepeatIsDelayed)
{
    LabServer server;
    LabClient client(server.Start());
    EXPECT_EQ(client.PostWithKey(CYCLES, "[1]", "\"k\"").nStatus, 200);
    DelayedReport delayed(server);
    EXPECT_EQ(client.PostWithKey(CYCLES, "[1]", "\"k\"").nStatus, 200);
    EXPECT_EQ(client.PostWithKey(CYCLES, "[2]", "\"k\"").nStatus, 422);
    server.Stop();
    EXPECT_EQ(delayed.End(), 200);
    LabClient after(server.Start());
    EXPECT_EQ(after.Get("/lab/reports/cycle-data").json["reports"][0]["repeats"], 2);
}

} // namespace
