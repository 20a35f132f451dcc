// When memory runs out between the transport's callback and the host's receiver, the request still gets its
// one signal: a failure, or a complete success. A blocking call also ends. Each allocation is made to fail in
// turn.

#include "AgentProbe.h"
#include "CallWithFailing.h"
#include "LongOperations.h"
#include "PayloadText.h"
#include "SyncWait.h"
#include "WaitWatch.h"

#include "net/NAManager.h"

#include <ktshttpagent/RequestType.h>
#include <ktshttpagent/ResultVariants.h>

#include <QCoreApplication>
#include <QEvent>
#include <QLoggingCategory>
#include <QNetworkReply>
#include <QPointer>
#include <QTimer>

#include <algorithm>
#include <limits>
#include <memory>
#include <vector>

namespace
{

/// What an answer's signal carried, as text that the receivers below make from its arguments.
struct Signals {
    int nCount = 0;
    bool bSucc = false;
    std::string strData;

    template <class... Values>
    void Receive(bool bSuccess, const Values&... values)
    {
        EndFailing(); // the receiver's own allocations are not tested
        ++nCount;
        bSucc = bSuccess;
        strData.clear();
        ((strData += Text(values) + "|"), ...);
    }

private:
    static std::string Text(bool bValue) { return Describe(bValue); }
    static std::string Text(const QString& strValue) { return strValue.toStdString(); }
    static std::string Text(const QVariant& varValue)
    {
        std::string strText = varValue.isValid() ? varValue.typeName() : "none";
        static_cast<void>(Add<USER_INFO>(varValue, "USER_INFO", strText) ||
                          Add<SResponseGetProject>(varValue, "SResponseGetProject", strText) ||
                          Add<SResponseGetBatteryStatus>(varValue, "SResponseGetBatteryStatus", strText) ||
                          Add<SResponseGetAutoExport>(varValue, "SResponseGetAutoExport", strText) ||
                          Add<SResponseGetFtpFilePath>(varValue, "SResponseGetFtpFilePath", strText));
        return strText;
    }
    /// @param strType  the type's name, since asking for its number would register it
    template <class Record>
    static bool Add(const QVariant& varValue, const std::string& strType, std::string& strText)
    {
        if (strText != strType) {
            return false;
        }
        strText += " " + Describe(*static_cast<const Record*>(varValue.constData()));
        return true;
    }
};

class AgentOutOfMemory : public SdkTest, public testing::WithParamInterface<Operation>
{
protected:
    void SetUp() override
    {
        SdkTest::SetUp();
        m_pResponse = std::make_unique<AgentResponseProbe>(); // takes the answers
        Connect(&CUIAgentRsp::SigGetUserInfoRet);
        Connect(&CUIAgentRsp::SigPostReportChlStatRet);
        Connect(&CUIAgentRsp::SigPostReportIncubatorStatusRet);
        Connect(&CUIAgentRsp::SigGetProjectsRet);
        Connect(&CUIAgentRsp::SigGetSupportVerRet);
        Connect(&CUIAgentRsp::SigGetBattStatusRet);
        Connect(&CUIAgentRsp::SigGetAutoExportRet);
        Connect(&CUIAgentRsp::SigGetFtpFilePathRet);
        Connect(&CUIAgentRsp::SigGetChannelUpDownPlatformRet);
        Connect(&CUIAgentRsp::SigGetChannelCheckDataRet);
        Connect(&CUIAgentRsp::SigGetWhetherInCommonRet);
    }

    void TearDown() override
    {
        m_pResponse.reset();
        m_transport.vecRequests.clear(); // each is answered
        SdkTest::TearDown();
    }

    /// Answers while the n-th allocation fails, and all later ones when `bFailsOn`.
    /// @return false when there were fewer allocations
    bool AnswerWithFailing(int nAllocation, bool bFailsOn, int nHttpError = 0)
    {
        GetParam().fnSend(m_client);
        const RecordedRequest request = m_transport.vecRequests.back();
        m_signals = {};
        CallWithFailing(nAllocation, bFailsOn, "the transport", [&] {
            m_transport.fnResponse(m_strReply, request.nType, request.pUserData, nHttpError);
        });
        return HasFailed();
    }

    std::string GoodAnswer()
    {
        EXPECT_FALSE(AnswerWithFailing(std::numeric_limits<int>::max(), false));
        EXPECT_EQ(m_signals.nCount, 1);
        EXPECT_TRUE(m_signals.bSucc);
        return m_signals.strData;
    }

    /// Checks the signal of an answer for which an allocation failed.
    static void Check(const Signals& signals, const std::string& strGood, int nAllocation)
    {
        EXPECT_EQ(signals.nCount, 1) << nAllocation;
        if (signals.bSucc) { // not needed, so all is there
            EXPECT_EQ(signals.strData, strGood) << nAllocation;
        } else {
            for (const char* const szYes : {"yes|", "true|"}) {
                EXPECT_EQ(signals.strData.find(szYes), std::string::npos) << nAllocation;
            }
            EXPECT_TRUE(strGood.empty() || signals.strData != strGood) << nAllocation;
        }
    }

    const std::string m_strReply = RichReply();
    std::unique_ptr<AgentResponseProbe> m_pResponse;
    Signals m_signals;

private:
    template <class... Arguments>
    void Connect(void (CUIAgentRsp::*pSignal)(Arguments...))
    {
        QObject::connect(m_pResponse.get(), pSignal,
                         [this](const Arguments&... arguments) { m_signals.Receive(arguments...); });
    }
};

TEST_P(AgentOutOfMemory, IsAFailureWithItsOneSignal)
{
    int nFailures = 0;
    for (const bool bFailsOn : {false, true}) {
        for (int nAllocation = 1; AnswerWithFailing(nAllocation, bFailsOn); ++nAllocation) {
            const Signals signals = m_signals;
            nFailures += signals.bSucc ? 0 : 1;
            Check(signals, GoodAnswer(), nAllocation);
        }
    }
    EXPECT_GT(nFailures, 1);
}

// The first answers of a process, which register the types of their records with Qt.
TEST_P(AgentOutOfMemory, OfFirstAnswersIsAFailureWithItsOneSignal)
{
    std::vector<Signals> vecSignals;
    for (int nAllocation = 1; AnswerWithFailing(nAllocation, false); ++nAllocation) {
        vecSignals.push_back(m_signals);
    }
    const std::string strGood = GoodAnswer();
    for (std::size_t i = 0; i < vecSignals.size(); ++i) {
        Check(vecSignals[i], strGood, static_cast<int>(i) + 1);
    }
}

TEST_P(AgentOutOfMemory, DoesNotKeepAFailedExchangeFromItsSignal)
{
    for (const bool bFailsOn : {false, true}) {
        for (int nAllocation = 1; AnswerWithFailing(nAllocation, bFailsOn, -27); ++nAllocation) {
            EXPECT_EQ(m_signals.nCount, 1) << nAllocation;
            EXPECT_FALSE(m_signals.bSucc) << nAllocation;
        }
        EXPECT_EQ(m_signals.nCount, 1);
    }
}

INSTANTIATE_TEST_SUITE_P(Each, AgentOutOfMemory, testing::ValuesIn(LongOperations()),
                         testing::PrintToStringParamName());

#if defined(KTS_OWN_MALLOC) // elsewhere the leak checker would report what Qt leaks then

// When Qt has no memory to queue a signal, the receiver misses that signal; the process, and the next answer,
// are not affected.
TEST(AgentQueueOutOfMemory, CostsAtMostTheOneSignal)
{
    auto& client = *VelCSDK::SDKFactory::GetInstance();
    client.Init();
    client.SetServerAddr("10.1.1.5", 80);
    auto pResponse = std::make_unique<AgentResponseProbe>();
    const QObject host;
    const std::string strReply = RichReply();
    const CHttpClientResponse& fnResponse = RecordingTransport::Instance().fnResponse;
    int nSignals = 0;
    QObject::connect(
        pResponse.get(), &CUIAgentRsp::SigGetSupportVerRet, &host, [&] { ++nSignals; }, Qt::QueuedConnection);
    const auto Answer = [&](int nAllocation) {
        client.GetSupportVer(LONG_TEXT);
        const RecordedRequest request = RecordingTransport::Instance().vecRequests.back();
        nSignals = 0;
        FailAllocation(nAllocation, false);
        EXPECT_NO_THROW(fnResponse(strReply, request.nType, request.pUserData, 0));
        EndFailing();
        const bool bFailed = HasFailed();
        QCoreApplication::processEvents();
        return bFailed;
    };
    int nMissed = 0;
    for (int nAllocation = 1; Answer(nAllocation); ++nAllocation) {
        EXPECT_LE(nSignals, 1) << nAllocation;
        nMissed += nSignals == 0 ? 1 : 0;
        Answer(std::numeric_limits<int>::max());
        EXPECT_EQ(nSignals, 1) << "after " << nAllocation;
    }
    EXPECT_GT(nMissed, 0) << "Qt no longer loses signals, so this can be promised now";
    pResponse.reset();
    RecordingTransport::Instance().vecRequests.clear(); // each is answered
}

#endif

/// A complete reply of Qt's.
class FinishedReply : public QNetworkReply
{
public:
    FinishedReply(const std::string& strBody, QObject* pParent)
        : QNetworkReply(pParent), m_body(QByteArray::fromStdString(strBody))
    {
        setAttribute(QNetworkRequest::HttpStatusCodeAttribute, 200);
        open(QIODevice::ReadOnly);
    }

    void abort() override {}
    qint64 bytesAvailable() const override
    {
        return m_body.size() - m_nRead + QNetworkReply::bytesAvailable();
    }
    bool isSequential() const override { return true; }

protected:
    qint64 readData(char* pData, qint64 nMost) override
    {
        const qint64 nBytes = std::min<qint64>(nMost, m_body.size() - m_nRead);
        std::copy_n(m_body.constData() + m_nRead, nBytes, pData);
        m_nRead += nBytes;
        return nBytes > 0 ? nBytes : -1;
    }

private:
    const QByteArray m_body;
    qint64 m_nRead = 0;
};

const std::string REPLY = R"({"success":true,"common":true,"result":{"allowBoot":"yes","reason":")" +
                          LONG_TEXT + R"("},"code":"success","msg":")" + LONG_TEXT + R"(","message":")" +
                          LONG_TEXT + R"("})";

/// Sends nothing: the reply is already there.
class AnsweredManager : public NAManager
{
public:
    AnsweredManager() : NAManager(nullptr) {}
    FinishedReply* Reply() const { return m_pReply; }

protected:
    QNetworkReply* createRequest(Operation /*eOperation*/, const QNetworkRequest& /*request*/,
                                 QIODevice* /*pBody*/) override
    {
        m_pReply = new FinishedReply(REPLY, this);
        return m_pReply;
    }

private:
    FinishedReply* m_pReply = nullptr;
};

struct BlockingCase {
    const char* szName;
    const char* szSlot;
    int nType;
};

class BlockingOutOfMemory : public testing::TestWithParam<BlockingCase>
{
protected:
#if defined(__SANITIZE_THREAD__)
    void SetUp() override
    {
        GTEST_SKIP() << "if a program has its own operator delete, the sanitizer takes memory that Qt frees "
                        "for memory freed by the program";
    }
#endif

    /// Makes a blocking call's reply arrive while the n-th allocation fails, and all later ones when
    /// `bFailsOn`.
    /// @return false when there were fewer allocations
    bool ReceiveWithFailing(int nAllocation, bool bFailsOn)
    {
        SyncWait& wait = *m_request.m_mapSyncWait.value(GetParam().nType);
        const WaitWatch watch(wait, PATIENCE_MS, false);
        const QPointer<AnsweredManager> pManager = new AnsweredManager; // deletes itself, or can't
        watch.Follow(*pManager, m_request);
        QObject::connect(pManager.data(), SIGNAL(signal_reply_finished(bool, QJsonObject)), &m_request,
                         GetParam().szSlot);
        pManager->SendRequest("http://127.0.0.1/", {}, NAManager::METHOD_GET);
        QTimer::singleShot(0, &wait.loop, [&] {
            CallWithFailing(nAllocation, bFailsOn, "Qt's event loop",
                            [&] { Q_EMIT pManager->finished(pManager->Reply()); });
        });
        wait.loop.exec();
        m_outcome = watch.Outcome();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        delete pManager.data();
        return HasFailed();
    }

    static constexpr int PATIENCE_MS = 60'000;

    AgentRequestProbe m_request;
    SBlockingOutcome m_outcome;
};

TEST_P(BlockingOutOfMemory, EndsTheCallAsAFailure)
{
    const bool bIsUpload = GetParam().nType == VelCSDK::RequestType::PostUploadData; // which never succeeds
    for (const bool bDebugLines : {false, true}) {
        QLoggingCategory::setFilterRules(bDebugLines ? "ktshttpagent.reply=true"
                                                     : "ktshttpagent.reply=false");
        for (const bool bFailsOn : {false, true}) {
            int nFailures = 0;
            for (int nAllocation = 1; ReceiveWithFailing(nAllocation, bFailsOn); ++nAllocation) {
                const SyncWait& wait = *m_request.m_mapSyncWait.value(GetParam().nType);
                ASSERT_NE(m_outcome.eEnd, EBlockingEnd::TimedOut) << nAllocation;
                if (m_outcome.eEnd == EBlockingEnd::Answered) { // not needed, so all is there
                    EXPECT_EQ(m_outcome.bSucc, !bIsUpload) << nAllocation;
                    continue;
                }
                ++nFailures;
                EXPECT_EQ(m_outcome.eEnd, EBlockingEnd::Unreadable) << nAllocation;
                EXPECT_FALSE(m_outcome.bSucc) << nAllocation;
                EXPECT_NE(m_outcome.strError.indexOf("memory"), -1) << m_outcome.strError.toStdString();
                EXPECT_FALSE(wait.bFlag) << nAllocation;
                EXPECT_NE(wait.strResult, "yes") << nAllocation;
                EXPECT_EQ(wait.strMessage, "") << nAllocation;
            }
            EXPECT_GT(nFailures, 1);
            EXPECT_EQ(m_outcome.eEnd, EBlockingEnd::Answered);
            EXPECT_EQ(m_outcome.bSucc, !bIsUpload);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Each, BlockingOutOfMemory,
    testing::Values(BlockingCase{"ChannelCheck", SLOT(Slot_GetChannelCheckData_Reply(bool, QJsonObject)),
                                 3109},
                    BlockingCase{"InCommon", SLOT(Slot_GetWhetherInCommon_Reply(bool, QJsonObject)), 3110},
                    BlockingCase{"Upload", SLOT(Slot_PostUploadData_Reply(bool, QJsonObject)), 3112},
                    BlockingCase{"Cycle", SLOT(Slot_PostReportCycleData_Reply(bool, QJsonObject)), 3113},
                    BlockingCase{"Step", SLOT(Slot_PostReportStepData_Reply(bool, QJsonObject)), 3114},
                    BlockingCase{"OrnStep", SLOT(Slot_PostReportStepDataORN_Reply(bool, QJsonObject)), 3115}),
    [](const auto& param) { return std::string(param.param.szName); });

} // namespace
