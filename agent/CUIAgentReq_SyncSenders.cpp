#include <ktshttpagent/CUIAgentReq.h>

#include "AgentState.h"
#include "CallFigures.h"
#include "CallStory.h"
#include "QueryString.h"
#include "SyncWait.h"
#include "WaitWatch.h"
#include "requests/GetChannelCheckData.h"
#include "requests/GetWhetherInCommon.h"
#include "requests/PostUploadData.h"
#include "requests/ReportCycleData.h"

#include "net/NAManager.h"
#include "net/NetworkUse.h"
#include "platform/reply/ExchangeLimits.h"
#include "platform/system/NeverDestroyed.h"

#include <ktshttpagent/IVelClientSDk.h>
#include <ktshttpagent/RequestType.h>
#include <ktshttpagent/clog.h>

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPointer>
#include <QThread>

#include <json/value.h>

#include <algorithm>
#include <chrono>
#include <memory>

using namespace VelCSDK;

/// What a blocking sender passes to `Exchange`, which all of them use.
struct SSyncRequest {
    int nType;
    int nMethod;
    const char* szReplySlot; ///< slot of CUIAgentReq, as Qt's SLOT macro writes it
    std::string strBase;
    std::string strQuery;
    std::string strBody;
};

namespace
{

// After a failed report the caller is delayed for this long, so that it does not retry at once.
constexpr std::chrono::milliseconds FAILED_REPORT_PAUSE{2'000};

SSyncRequest Query(int nType, const char* szReplySlot, std::string strBase, const Json::Value& object)
{
    return {nType, NAManager::METHOD_GET, szReplySlot, std::move(strBase), BuildQueryString(object), {}};
}

SSyncRequest Report(int nType, const char* szReplySlot, std::string strBase, std::string strBody)
{
    return {nType, NAManager::METHOD_POST, szReplySlot, std::move(strBase), {}, std::move(strBody)};
}

/// Converts a text completely. Qt drops U+FEFF at the beginning of UTF-8 as a byte order mark; another
/// character in front prevents that.
QString WholeText(const std::string& strUtf8)
{
    return QString::fromStdString(' ' + strUtf8).mid(1);
}

std::string BatteryJson(const tagBatteryTestData& data)
{
    QJsonObject object;
    for (const auto& field : requests::PostUploadData::FIELDS) {
        object.insert(QLatin1String(field.szName), WholeText(data.*field.pField));
    }
    return QJsonDocument(object).toJson(QJsonDocument::Compact).toStdString();
}

/// Why a call can't be made; null if it can.
const char* WhyRefused(const NetworkCall& call, const QObject* pAgent)
{
    if (call.IsRefused()) { // checked first: then the agent may be destroyed already
        return "the process or its QCoreApplication is ending";
    }
    if (QCoreApplication::instance() == nullptr) {
        return "there is no QCoreApplication";
    }
    return QThread::currentThread() == pAgent->thread() ? nullptr : "this is not the thread of CUIAgentReq";
}

/// An empty wait record, for a call that has no result.
const SyncWait& BlankWait()
{
    static const NeverDestroyed<SyncWait> blank; // Qt may already be destroyed when static objects are
    return *blank;
}

/// The deadline of a request whose call returns before the reply, counted from now, the beginning of the
/// call.
QDeadlineTimer DeadlineOf(int nTimeout)
{
    return QDeadlineTimer(std::max(qint64{ExchangeLimitsInForce().timeout.count()}, qint64{nTimeout}));
}

/// How the exchange of a call ended; null if the call did not see that.
const ExchangeEnd* EndOf(const SBlockingOutcome& outcome, const SyncWait& wait)
{
    switch (outcome.eEnd) {
    case EBlockingEnd::Answered:
    case EBlockingEnd::Failed:
    case EBlockingEnd::Unreadable:
        return &wait.lastReply.exchange;
    case EBlockingEnd::TimedOut:
        return outcome.nHttpStatus != 0 ? &wait.noAnswer.exchange : nullptr;
    default:
        return nullptr;
    }
}

/// Ends or keeps the manager of a call that is over.
void Leave(NAManager& manager, const QDeadlineTimer& deadline, LeftBehind& leftBehind)
{
    if (!manager.HasEnded()) {
        manager.EndTrace();
        leftBehind.Add(manager, deadline);
    } else if (QThread::currentThread()->loopLevel() == 0) {
        // Without an event loop nothing else would delete the manager. With one, the loop deletes it, so that
        // this caller need not wait for the end of the manager's own thread.
        QCoreApplication::sendPostedEvents(&manager, QEvent::DeferredDelete);
    }
}

} // namespace

const SyncWait& CUIAgentReq::Exchange(const SSyncRequest& request, int nTimeout)
{
    const NetworkCall call;
    CountCallBegin(request.nType);
    if (const char* const szWhy = WhyRefused(call, this)) {
        Log_Write(1, "CUIAgentReq::Exchange", 1, "request %d is refused: %s", request.nType, szWhy);
        SBlockingOutcome refused;
        refused.eEnd = EBlockingEnd::Refused;
        refused.nType = request.nType;
        refused.strError = QString::fromLatin1(szWhy);
        KeepOutcome(refused);
        const FinishedCall ended{refused, false, request.strBody, nullptr};
        CountCallEnd(ended);
        TraceCallEnd(ended, &refused);
        return BlankWait();
    }
    PrepareNetwork();
    SyncWait& wait = *m_mapSyncWait.value(request.nType);
    // Set before the wait begins: if the call waits as long as the deadline allows, the deadline has passed
    // afterwards.
    const QDeadlineTimer deadline = DeadlineOf(nTimeout);
    const WaitWatch watch(wait, nTimeout, m_pState->bStrictWaits);
    auto pMade = std::make_unique<NAManager>(nullptr);
    const QPointer<NAManager> pManager = pMade.get();
    const void* const pExchange = static_cast<QNetworkAccessManager*>(pMade.get()); // its name in the trace
    if (!watch.IsStrictAndBusy()) {
        watch.Follow(*pManager, *this);
        connect(pManager.data(), SIGNAL(signal_reply_finished(bool, QJsonObject)), this, request.szReplySlot);
    }
    const QString strUrl = QString::fromStdString(
        request.strBase + SDKFactory::GetInstance()->GetUrl(request.nType) + request.strQuery);
    pManager->SendRequest(strUrl, QByteArray::fromStdString(request.strBody), request.nMethod);
    static_cast<void>(pMade.release()); // from here on the manager deletes itself after its answer
    NetworkCall::Run(wait.loop);

    SBlockingOutcome outcome = watch.Outcome();
    outcome.nType = request.nType;
    outcome.strUrl = strUrl;
    KeepOutcome(outcome);
    const FinishedCall finished{outcome, request.nMethod == NAManager::METHOD_POST, request.strBody,
                                EndOf(outcome, wait)};
    LogCall(finished);
    CountCallEnd(finished);
    TraceCallEnd(finished, pExchange);
    // A null pointer means that the manager is deleted; at the end of the process this object may then be
    // destroyed too.
    if (pManager != nullptr) {
        Leave(*pManager, deadline, m_pState->leftBehind);
    }
    return watch.IsStrictAndBusy() ? BlankWait() : wait;
}

bool CUIAgentReq::ReportOrPause(const SSyncRequest& request, int nTimeout)
{
    const bool bSucc = Exchange(request, nTimeout).bSucc;
    if (!bSucc) {
        HoldBack(FAILED_REPORT_PAUSE);
    }
    return bSucc;
}

bool CUIAgentReq::SendGetChannelCheckDataEx(QString strIp, int nPort, int nTimeout,
                                            tagSRequestGetChannelCheckData req, bool& bAllow,
                                            QString& strReason)
{
    const SyncWait& wait = Exchange(
        Query(RequestType::GetChannelCheckData, SLOT(Slot_GetChannelCheckData_Reply(bool, QJsonObject)),
              JointServerInfo(strIp.toStdString(), nPort), requests::GetChannelCheckData::Query(req)),
        nTimeout);
    bAllow = wait.strResult.compare(QLatin1String("yes"), Qt::CaseInsensitive) == 0;
    strReason = wait.strReason;
    return wait.bSucc;
}

bool CUIAgentReq::SendGetWhetherInCommonEx(QString strIp, int nPort, int nTimeout, QString strDxtm,
                                           bool& bCommon)
{
    const SyncWait& wait = Exchange(Query(RequestType::GetWhetherInCommon,
                                          SLOT(Slot_GetWhetherInCommon_Reply(bool, QJsonObject)),
                                          JointServerInfo(strIp.toStdString(), nPort),
                                          requests::GetWhetherInCommon::Query(strDxtm.toStdString())),
                                    nTimeout);
    bCommon = wait.bFlag;
    return wait.bSucc;
}

bool CUIAgentReq::SendPostUploadDataEx(QString strIp, int nPort, int nTimeout, tagBatteryTestData& data)
{
    return Exchange(Report(RequestType::PostUploadData, SLOT(Slot_PostUploadData_Reply(bool, QJsonObject)),
                           JointServerInfo(strIp.toStdString(), nPort), BatteryJson(data)),
                    nTimeout)
        .bSucc;
}

bool CUIAgentReq::SendPostReportCycleDataEx(QString strUrl, int nTimeout, std::string strData)
{
    return ReportOrPause(Report(RequestType::ReportCycleData,
                                SLOT(Slot_PostReportCycleData_Reply(bool, QJsonObject)), strUrl.toStdString(),
                                requests::ReportCycleData::JsonArrayOf(strData)),
                         nTimeout);
}

bool CUIAgentReq::SendPostReportStepDataEx(QString strUrl, int nTimeout, std::string strData)
{
    return ReportOrPause(Report(RequestType::ReportStepData,
                                SLOT(Slot_PostReportStepData_Reply(bool, QJsonObject)), strUrl.toStdString(),
                                requests::ReportCycleData::JsonArrayOf(strData)),
                         nTimeout);
}

// This endpoint takes the data as given, without brackets.
bool CUIAgentReq::SendPostReportStepData_ORN(QString strUrl, int nTimeout, std::string strData)
{
    return ReportOrPause(Report(RequestType::ReportStepDataOrn,
                                SLOT(Slot_PostReportStepDataORN_Reply(bool, QJsonObject)),
                                strUrl.toStdString(), std::move(strData)),
                         nTimeout);
}
