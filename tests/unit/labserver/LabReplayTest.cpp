// Recordings of the traffic, and servers that replay them.

#include "LabFixture.h"

#include "labserver/LabLatin1.h"
#include "labserver/LabRecording.h"
#include "labserver/LabReplay.h"
#include "labserver/LabSeen.h"

#include <csignal>
#include <fstream>
#include <gmock/gmock.h>
#include <iterator>
#include <sys/resource.h>
#include <sys/stat.h>

namespace
{

using testing::HasSubstr;

std::string ContentOf(const std::string& strFile)
{
    std::ifstream file(strFile, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::string LineOf(const Json::Value& value)
{
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    return Json::writeString(builder, value);
}

/// A request of a host, for recordings that a test writes.
LabSeen Asked(const std::string& strTarget, const std::string& strBody, const std::string& strReply)
{
    LabSeen seen;
    seen.strMethod = strBody.empty() ? "GET" : "POST";
    seen.strTarget = strTarget;
    seen.strPath = strTarget.substr(0, strTarget.find('?'));
    seen.strRequestBody = strBody;
    seen.nStatus = 200;
    seen.strReplyHead = "HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\nX-Own: yes\r\nContent-Length: 999\r\n"
                        "Keep-Alive: timeout=1\r\nConnection: close";
    seen.strReplyBody = strReply;
    return seen;
}

class LabReplayTest : public ::testing::Test
{
protected:
    void Record(const LabSeen& seen)
    {
        if (m_pRecording == nullptr) {
            m_pRecording = std::make_unique<LabRecording>(File());
        }
        m_pRecording->Add(seen);
    }

    /// Starts a server that replays what was recorded.
    LabClient& Replayed()
    {
        LabServerOptions options;
        options.strReplayFile = File();
        m_pServer = std::make_unique<LabServer>(options);
        m_pClient = std::make_unique<LabClient>(m_pServer->Start());
        return *m_pClient;
    }

    std::string WhyNot(const std::string& strContent) const
    {
        std::ofstream(File(), std::ios::binary) << strContent;
        try {
            const LabReplay replay(File());
        } catch (const std::exception& error) {
            return error.what();
        }
        return "";
    }

    std::string File() const { return m_folder.File("recording"); }

    std::unique_ptr<LabServer> m_pServer;

private:
    const TemporaryFolder m_folder;
    std::unique_ptr<LabRecording> m_pRecording;
    std::unique_ptr<LabClient> m_pClient;
};

TEST_F(LabReplayTest, AnswersAsItWasAnsweredWithHeaders)
{
    Record(Asked("/posts/1", "", "recorded"));
    Replayed();
    httplib::Client client("127.0.0.1", m_pServer->Port());
    client.set_keep_alive(true);
    const httplib::Result reply = client.Get("/posts/1");
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->status, 200);
    EXPECT_EQ(reply->body, "recorded");
    EXPECT_EQ(reply->get_header_value("Content-Type"), "text/plain");
    EXPECT_EQ(reply->get_header_value("X-Own"), "yes");
    EXPECT_EQ(reply->get_header_value_count("Content-Length"), 1U);
    EXPECT_EQ(reply->get_header_value_count("Keep-Alive"), 1U);
    EXPECT_FALSE(reply->has_header("Connection")) << "the server says itself whether it closes";
}

TEST_F(LabReplayTest, GivesTheRepliesInTheirOrderAndThenTheLastOne)
{
    for (const char* szReply : {"one", "two"}) {
        Record(Asked("/posts/1", "", szReply));
    }
    LabClient& client = Replayed();
    for (const char* szExpected : {"one", "two", "two"}) {
        EXPECT_EQ(client.Get("/posts/1").strBody, szExpected);
    }
}

TEST_F(LabReplayTest, TellsRequestsApartByTheirBodyFirst)
{
    Record(Asked("/posts", "[1]", "for 1"));
    Record(Asked("/posts", "[2]", "for 2"));
    LabClient& client = Replayed();
    EXPECT_EQ(client.Post("/posts", "[2]").strBody, "for 2");
    EXPECT_EQ(client.Post("/posts", "[1]").strBody, "for 1");
    EXPECT_EQ(client.Post("/posts", "[3]").strBody, "for 1") << "any of them, since none has this body";
    EXPECT_EQ(client.Post("/posts", "[3]").strBody, "for 2");
}

TEST_F(LabReplayTest, DoesNotTellRequestsApartByTheTime)
{
    Record(Asked("/vomd/x?a=1&t=1763900000000&b=2", "", "timed"));
    Record(Asked("/vomd/x?t=1.0.0", "", "version"));
    LabClient& client = Replayed();
    EXPECT_EQ(client.Get("/vomd/x?a=1&t=99&b=2").strBody, "timed");
    EXPECT_EQ(client.Get("/vomd/x?a=1&t=&b=2").nStatus, 404);
    EXPECT_EQ(client.Get("/vomd/x?a=2&t=99&b=2").nStatus, 404);
    EXPECT_EQ(client.Get("/vomd/x?t=1.0.0").strBody, "version");
    EXPECT_EQ(client.Get("/vomd/x?t=1.1.0").nStatus, 404);
}

TEST_F(LabReplayTest, SaysWhatWasNotRecorded)
{
    Record(Asked("/posts/1", "", "recorded"));
    LabClient& client = Replayed();
    const LabReply reply = client.Get("/posts/2");
    EXPECT_EQ(reply.nStatus, 404);
    EXPECT_EQ(reply.json["message"], "This request was not recorded.");
    EXPECT_EQ(client.Post("/posts/1", "[]").nStatus, 404);
}

TEST_F(LabReplayTest, StoresNothingAndLeavesTheOperatorHisPaths)
{
    Record(Asked(CYCLES, "[1]", "{}"));
    LabClient& client = Replayed();
    EXPECT_EQ(client.Post(CYCLES, "[1]").nStatus, 200);
    EXPECT_EQ(client.Get("/lab/reports/cycle-data").json["count"], 0);
    client.Exchanges(1);
    EXPECT_EQ(client.PostWithKey(CYCLES, "[1]", "\"key\"").nStatus, 200);
    EXPECT_EQ(client.PostWithKey(CYCLES, "[1]", "\"key\"").nStatus, 200);
    client.Post("/lab/faults", R"({"path": "open", "status": 418})");
    EXPECT_EQ(client.Post(CYCLES, "[1]").nStatus, 418);
    EXPECT_EQ(client.Post(CYCLES, "[1]").nStatus, 200);
}

TEST_F(LabReplayTest, DoesWhatAFaultDidAndShowsIt)
{
    const std::map<LabFaultKind, std::string> mapOutcomes = {{LabFaultKind::Truncate, "truncated"},
                                                             {LabFaultKind::Reset, "reset"},
                                                             {LabFaultKind::Silence, "silence"}};
    for (const auto& [eKind, strOutcome] : mapOutcomes) {
        LabSeen seen = Asked("/posts/" + strOutcome, "", "half of this");
        seen.optFault.emplace().eKind = eKind;
        seen.nStatus = eKind == LabFaultKind::Truncate ? 200 : 0;
        Record(seen);
    }
    LabClient& client = Replayed();
    unsigned nAsked = 0;
    for (const auto& [eKind, strOutcome] : mapOutcomes) {
        LabClient impatient(m_pServer->Port(), std::chrono::milliseconds(200));
        EXPECT_EQ(impatient.Get("/posts/" + strOutcome).nStatus, 0) << strOutcome;
        const Json::Value exchanges = client.Exchanges(++nAsked);
        EXPECT_EQ(exchanges[0]["outcome"], strOutcome);
        EXPECT_EQ(exchanges[0]["fault"]["path"], "/posts/" + strOutcome);
    }
}

TEST_F(LabReplayTest, HasBodiesWholeAndByteForByte)
{
    const std::string strLarge(100'000, 'x');
    std::string strBytes;
    for (int nByte = 0; nByte < 256; ++nByte) {
        strBytes += static_cast<char>(nByte);
    }
    Record(Asked("/posts/1", "", strLarge));
    Record(Asked("/posts/2", strBytes, strBytes));
    Record(Asked("/posts/3", "", "电池"));
    LabClient& client = Replayed();
    EXPECT_EQ(client.Get("/posts/1").strBody, strLarge);
    EXPECT_EQ(client.Post("/posts/2", strBytes).strBody, strBytes);
    EXPECT_EQ(client.Get("/posts/3").strBody, "电池");
}

TEST_F(LabReplayTest, OfWhatAServerDidIsTheSame)
{
    std::vector<std::string> vecTargets = {"/posts/1", "/vomd/system/GetDxzt.action?t=1", "/none"};
    std::vector<LabReply> vecReplies;
    {
        LabServerOptions options;
        LabRecording recording(File());
        options.fnSeen = [&](const LabSeen& seen) { recording.Add(seen); };
        LabServer server(options);
        LabClient client(server.Start());
        for (const std::string& strTarget : vecTargets) {
            vecReplies.push_back(client.Get(strTarget));
        }
        client.Post(CYCLES, "[1]");
        server.Stop();
    }
    LabClient& client = Replayed();
    for (std::size_t n = 0; n < vecTargets.size(); ++n) {
        const LabReply reply = client.Get(vecTargets[n]);
        EXPECT_EQ(reply.nStatus, vecReplies[n].nStatus);
        EXPECT_EQ(reply.strBody, vecReplies[n].strBody);
        EXPECT_EQ(reply.strContentType, vecReplies[n].strContentType);
    }
    EXPECT_EQ(client.Post(CYCLES, "[1]").nStatus, 200);
}

TEST_F(LabReplayTest, OfAFileThatIsNoRecordingIsRefusedWithTheLine)
{
    Record(Asked("/posts/1", "", "recorded"));
    const std::string strGood = ContentOf(File());
    const std::string strLine = "line 2 of the recording " + File() + " is not one of an exchange: ";
    EXPECT_EQ(WhyNot(strGood + "{"), strLine + "The body is not JSON.");
    EXPECT_THAT(WhyNot(strGood + "[]\n"), HasSubstr(strLine));
    EXPECT_THAT(WhyNot(strGood + "{}\n"), HasSubstr(strLine));
    for (const char* const szMember : {"method", "target", "outcome", "status", "replyBody", "requestBody"}) {
        Json::Value exchange = JsonFrom(strGood);
        exchange.removeMember(szMember);
        EXPECT_THAT(WhyNot(strGood + LineOf(exchange)),
                    testing::MatchesRegex(strLine + ".*" + szMember + ".*"));
    }
    for (const char* const szHeaders :
         {"{}", "[1]", "[[]]", "[[1, 2]]", R"([["a", 2]])", R"([["a", "b", "c"]])"}) {
        Json::Value exchange = JsonFrom(strGood);
        exchange["replyHeaders"] = JsonFrom(szHeaders);
        EXPECT_THAT(WhyNot(strGood + LineOf(exchange)), HasSubstr("replyHeaders")) << szHeaders;
    }
    EXPECT_EQ(WhyNot(""), "can't read a recording from " + File() + ": it is empty");
    EXPECT_THROW(LabReplay("/no/such/file"), std::runtime_error);
}

TEST_F(LabReplayTest, OverwritesNoFileAndItsRecordingIsItsOwnersAlone)
{
    Record(Asked("/posts/1", "", "recorded"));
    struct stat status = {};
    ASSERT_EQ(stat(File().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600U);
    try {
        const LabRecording again(File());
        ADD_FAILURE() << "it was overwritten";
    } catch (const std::exception& error) {
        EXPECT_EQ(error.what(), "can't make the recording " + File() + ": File exists");
    }
}

/// The size of a reply that there is no room for: held in the memory of the stream, or written at once.
class LabReplayOfALargeReply : public LabReplayTest, public testing::WithParamInterface<std::size_t>
{
};

TEST_P(LabReplayOfALargeReply, EndsARecordingThatCanNotGoOnAndSaysSoOnce)
{
    Record(Asked("/posts/1", "", "recorded"));
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    rlimit full = before;
    full.rlim_cur = ContentOf(File()).size() + 10;
    const auto fnBefore = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &full), 0);
    testing::internal::CaptureStderr();
    Record(Asked("/posts/2", "", std::string(GetParam(), 'x')));
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    Record(Asked("/posts/3", "", "after a gap"));
    std::signal(SIGXFSZ, fnBefore);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "ktslabserver: the recording " + File() + " ends here: File too large\n");
    EXPECT_THAT(ContentOf(File()), testing::Not(HasSubstr("after a gap")));
}

INSTANTIATE_TEST_SUITE_P(Each, LabReplayOfALargeReply, testing::Values(8, 100'000));

TEST(LabLatin1, IsTheBytesOfATextOrAsManyAsThereAre)
{
    for (const char* szBytes : {"", "plain", "\x80\xBF\xC0\xFF", "a\xFFz"}) {
        EXPECT_EQ(ToLatin1(FromLatin1(szBytes)), szBytes);
    }
    EXPECT_EQ(FromLatin1("\xFF"), "\u00FF");
    EXPECT_EQ(ToLatin1("a\xC3"), "a") << "cut within a character";
    EXPECT_EQ(ToLatin1("a\u0100\u4E2Db"), "ab") << "characters that stand for no byte";
}

} // namespace
