// Repeated blocking calls: by objects that are created, destroyed and created again, in waits nested three
// deep, and after settings have changed in between.

#include "SyncOutcome.h"

#include <QTimer>

#include <memory>
#include <string>
#include <vector>

namespace
{

constexpr int ROUNDS = 3;
constexpr int UPLOAD = 3112;

/// A host may have any number of request objects of a class of its own.
class Host : public CUIAgentReq
{
public:
    Host() = default;

    bool Check(const ScriptedServer& server, int nTimeout = ENOUGH_MS, const char* szBarcode = "X")
    {
        bAllow = false;
        return SendGetChannelCheckDataEx("127.0.0.1", server.Port(), nTimeout, {1, 2, szBarcode, "", "", ""},
                                         bAllow, strReason);
    }

    bool bAllow = false;
    QString strReason;
};

class SyncAgain : public ::testing::Test
{
protected:
    SyncAgain()
    {
        qputenv("KTSHTTPAGENT_SETTINGS_ROOT", "/nonexistent");
        qputenv("CHTTPCLIENT_TIMEOUT_MS", "2000");
    }

    /// Handles events until a server has closed that many connections.
    static void WaitForClosed(const ScriptedServer& closing, std::size_t nCount)
    {
        const ScriptedServer after([&](const WireRequest&) {
            EXPECT_TRUE(closing.WaitForClosed(nCount));
            return ServerStep{YES};
        });
        Host host;
        EXPECT_TRUE(host.Check(after));
    }

    static void ExpectEnd(const CUIAgentReq& host, EBlockingEnd eEnd, int nStatus, const char* szError)
    {
        const SBlockingOutcome outcome = host.LastOutcome();
        EXPECT_EQ(outcome.eEnd, eEnd);
        EXPECT_EQ(outcome.nHttpStatus, nStatus);
        EXPECT_THAT(outcome.strError.toStdString(), ::testing::StrEq(szError));
    }

    const ScriptedServer m_yes{ServerStep{YES}};
    const ScriptedServer m_no{ServerStep{NO}};
    const ScriptedServer m_silent{Silent()};
    const std::string m_strTimeOut = "no answer came within 200 ms";
};

TEST_F(SyncAgain, AnObjectMadeAfterAnotherBeginsAnew)
{
    for (int nRound = 1; nRound <= ROUNDS; ++nRound) {
        Host host;
        EXPECT_EQ(host.LastOutcome().eEnd, EBlockingEnd::NoCall);
        EXPECT_FALSE(host.HasStrictWaits());
        EXPECT_FALSE(host.Check(m_silent, SHORT_MS)) << "returned the yes that an earlier object had got";
        ExpectEnd(host, EBlockingEnd::TimedOut, 0, m_strTimeOut.c_str());
        host.SetStrictWaits(true);
        EXPECT_TRUE(host.Check(m_yes));
        ExpectEnd(host, EBlockingEnd::Answered, 200, "");
    }
}

TEST_F(SyncAgain, ARequestThatAnEndedObjectLeftBehindIsGivenUpInItsTime)
{
    for (int nRound = 1; nRound <= ROUNDS; ++nRound) {
        auto pHost = std::make_unique<Host>();
        EXPECT_FALSE(pHost->Check(m_silent, SHORT_MS));
        EXPECT_TRUE(m_silent.WaitForRequests(static_cast<std::size_t>(nRound)));
    }
    WaitForClosed(m_silent, ROUNDS);
}

TEST_F(SyncAgain, AReplyToACallOfAnEndedObjectIsNobodys)
{
    for (int nRound = 1; nRound <= ROUNDS; ++nRound) {
        Gate gate;
        const ScriptedServer late([&](const WireRequest&) { return gate.Then({YES}); });
        auto pHost = std::make_unique<Host>();
        EXPECT_FALSE(pHost->Check(late, SHORT_MS));
        EXPECT_TRUE(late.WaitForRequests(1));
        pHost = std::make_unique<Host>();
        const ScriptedServer no([&](const WireRequest&) {
            gate.Open();
            EXPECT_TRUE(late.WaitForClosed(1)) << "it is closed once its reply was handled";
            return ServerStep{NO};
        });
        EXPECT_FALSE(pHost->Check(no));
        ExpectEnd(*pHost, EBlockingEnd::Answered, 200, "");
    }
}

TEST_F(SyncAgain, EachOutcomeTellsOfItsOwnCallAlone)
{
    const ScriptedServer failing(ServerStep{HttpReply(404, "")});
    const ScriptedServer list(ServerStep{HttpReply(200, "[]")});
    Host host;
    for (int nRound = 1; nRound <= ROUNDS; ++nRound) {
        EXPECT_FALSE(host.Check(failing));
        EXPECT_EQ(host.LastOutcome().eEnd, EBlockingEnd::Failed);
        EXPECT_EQ(host.LastOutcome().nHttpStatus, 404);
        EXPECT_FALSE(host.Check(m_silent, SHORT_MS));
        ExpectEnd(host, EBlockingEnd::TimedOut, 0, m_strTimeOut.c_str());
        EXPECT_TRUE(host.Check(m_yes));
        ExpectEnd(host, EBlockingEnd::Answered, 200, "");
        EXPECT_TRUE(host.Check(list, 2'000)) << "should return the previous yes";
        ExpectEnd(host, EBlockingEnd::TimedOut, 200,
                  "no answer came within 2000 ms: the body is an array that does not begin with an object");
        EXPECT_TRUE(host.Check(m_silent, SHORT_MS)) << "should return the previous yes";
        ExpectEnd(host, EBlockingEnd::TimedOut, 0, m_strTimeOut.c_str());
    }
}

TEST_F(SyncAgain, ACallIsStrictWheneverThatIsOnAndNeverElse)
{
    Host host;
    for (int nRound = 1; nRound <= ROUNDS; ++nRound) {
        host.SetStrictWaits(false);
        EXPECT_TRUE(host.Check(m_yes));
        ExpectEnd(host, EBlockingEnd::Answered, 200, "");
        EXPECT_TRUE(host.Check(m_silent, SHORT_MS))
            << "should return the previous reply's result, round " << nRound;
        host.SetStrictWaits(true);
        EXPECT_FALSE(host.Check(m_silent, SHORT_MS)) << "round " << nRound;
        EXPECT_FALSE(host.bAllow);
        EXPECT_TRUE(host.Check(m_yes));
        ExpectEnd(host, EBlockingEnd::Answered, 200, "");
    }
}

/// A channel check; during its wait a query whether a barcode is in common; during that wait an upload.
/// During each of these waits the host makes two more channel checks, which are answered with yes.
class NestedCalls
{
public:
    explicit NestedCalls(Host& host) : m_host(host) {}

    void Make()
    {
        QTimer::singleShot(0, [this] {
            CheckTwice();
            QTimer::singleShot(0, [this] {
                CheckTwice();
                QTimer::singleShot(0, [this] {
                    CheckTwice();
                    m_gate.Open();
                });
                Upload();
            });
            InCommon();
        });
        m_host.Check(m_check);
        m_vecEnds.push_back(m_host.LastOutcome());
    }

    /// The outcomes of the calls of different kinds, in the order of their return.
    const std::vector<SBlockingOutcome>& Ends() const { return m_vecEnds; }
    /// How many of the inner checks were refused because another one was waiting.
    int Busy() const { return m_nBusy; }

private:
    void CheckTwice()
    {
        for (const char* const szBarcode : {"first", "second"}) {
            m_host.Check(m_yes, ENOUGH_MS, szBarcode);
            m_nBusy += m_host.LastOutcome().eEnd == EBlockingEnd::Busy ? 1 : 0;
        }
    }

    void Upload()
    {
        tagBatteryTestData data;
        m_host.SendPostUploadDataEx("127.0.0.1", m_upload.Port(), ENOUGH_MS, data);
        m_vecEnds.push_back(m_host.LastOutcome());
    }

    void InCommon()
    {
        bool bCommon = false;
        m_host.SendGetWhetherInCommonEx("127.0.0.1", m_common.Port(), ENOUGH_MS, "X", bCommon);
        m_vecEnds.push_back(m_host.LastOutcome());
    }

    Host& m_host;
    Gate m_gate; ///< opened in the innermost wait; the answers then may come in any order
    const ScriptedServer m_yes{ServerStep{YES}};
    const ScriptedServer m_upload{[this](const WireRequest&) { return m_gate.Then({NO}); }};
    const ScriptedServer m_common{[this](const WireRequest&) { return m_gate.Then({COMMON}); }};
    const ScriptedServer m_check{[this](const WireRequest&) { return m_gate.Then({NO}); }};
    std::vector<SBlockingOutcome> m_vecEnds;
    int m_nBusy = 0;
};

TEST_F(SyncAgain, WaitsWithinWaitsReturnFromTheInnermostOnAndEachWithItsOwnAnswer)
{
    Host host;
    host.SetStrictWaits(true);
    for (int nRound = 1; nRound <= ROUNDS; ++nRound) {
        NestedCalls calls(host);
        calls.Make();
        EXPECT_EQ(calls.Busy(), 6) << nRound;
        ASSERT_EQ(calls.Ends().size(), 3U);
        const int arTypes[] = {UPLOAD, IN_COMMON, CHECK};
        for (std::size_t nCall = 0; nCall < 3; ++nCall) {
            EXPECT_EQ(calls.Ends()[nCall].nType, arTypes[nCall]);
            EXPECT_EQ(calls.Ends()[nCall].eEnd, EBlockingEnd::Answered) << arTypes[nCall];
            EXPECT_EQ(calls.Ends()[nCall].bSucc, arTypes[nCall] == IN_COMMON) << arTypes[nCall];
        }
    }
}

} // namespace
