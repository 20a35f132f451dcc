#include <ktshttpagent/CUIAgentReq.h>

#include "AgentState.h"
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

/// What a blocking sender hands to the exchange that all of them share.
struct SSyncRequest {
    int nType;
    int nMethod;
    const char* szReplySlot; ///< of CUIAgentReq, as Qt's string-based connection takes it
    std::string strBase;
    std::string strQuery;
    std::string strBody;
};

namespace
{

// A report that failed is not to be repeated at once: the caller is held back for this long.
constexpr std::chrono::milliseconds FAILED_REPORT_PAUSE{2'000};

SSyncRequest Query(int nType, const char* szReplySlot, std::string strBase, const Json::Value& object)
{
    return {nType, NAManager::METHOD_GET, szReplySlot, std::move(strBase), BuildQueryString(object), {}};
}

SSyncRequest Report(int nType, const char* szReplySlot, std::string strBase, std::string strBody)
{
    return {nType, NAManager::METHOD_POST, szReplySlot, std::move(strBase), {}, std::move(strBody)};
}

/// The text with all its characters. Qt drops U+FEFF at the beginning of UTF-8 as a byte order mark, so
/// another character stands there.
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

/// Why a call can't be made; null where it can.
const char* WhyRefused(const BlockingCall& call, const QObject* pAgent)
{
    if (call.IsRefused()) { // then the agent may be gone already
        return "the process or its QCoreApplication is ending";
    }
    if (QCoreApplication::instance() == nullptr) {
        return "there is no QCoreApplication";
    }
    return QThread::currentThread() == pAgent->thread() ? nullptr : "this is not the thread of CUIAgentReq";
}

/// The record of a call of which nothing may come: no reply has.
const SyncWait& BlankWait()
{
    static const NeverDestroyed<SyncWait> blank; // Qt may be gone when static objects are destroyed
    return *blank;
}

/// How long a request may take that its call leaves behind, from the beginning of the call on.
QDeadlineTimer DeadlineOf(int nTimeout)
{
    return QDeadlineTimer(std::max(qint64{ExchangeLimitsInForce().timeout.count()}, qint64{nTimeout}));
}

/// Sees to a manager whose call is over.
void Leave(NAManager& manager, const QDeadlineTimer& deadline, LeftBehind& leftBehind)
{
    if (!manager.HasEnded()) {
        leftBehind.Add(manager, deadline);
    } else if (QThread::currentThread()->loopLevel() == 0) {
        // A thread without an event loop would keep it after its answer. Elsewhere the loop deletes it, which
        // keeps this caller from waiting for the end of the manager's own thread.
        QCoreApplication::sendPostedEvents(&manager, QEvent::DeferredDelete);
    }
}

} // namespace

const SyncWait& CUIAgentReq::Exchange(const SSyncRequest& request, int nTimeout)
{
    const BlockingCall call;
    if (const char* const szWhy = WhyRefused(call, this)) {
        Log_Write(1, "CUIAgentReq::Exchange", 1, "request %d is refused: %s", request.nType, szWhy);
        SBlockingOutcome refused;
        refused.eEnd = EBlockingEnd::Refused;
        refused.nType = request.nType;
        refused.strError = QString::fromLatin1(szWhy);
        KeepOutcome(refused);
        return BlankWait();
    }
    PrepareNetwork();
    SyncWait& wait = *m_mapSyncWait.value(request.nType);
    // Before the wait begins, so that it has passed for a request whose call waited for as long.
    const QDeadlineTimer deadline = DeadlineOf(nTimeout);
    const WaitWatch watch(wait, nTimeout, m_pState->bStrictWaits);
    auto pMade = std::make_unique<NAManager>(nullptr);
    const QPointer<NAManager> pManager = pMade.get();
    if (!watch.IsStrictAndBusy()) {
        watch.Follow(*pManager, *this);
        connect(pManager.data(), SIGNAL(signal_reply_finished(bool, QJsonObject)), this, request.szReplySlot);
    }
    const QString strUrl = QString::fromStdString(
        request.strBase + SDKFactory::GetInstance()->GetUrl(request.nType) + request.strQuery);
    pManager->SendRequest(strUrl, QByteArray::fromStdString(request.strBody), request.nMethod);
    static_cast<void>(pMade.release()); // from here on it deletes itself after its answer
    BlockingCall::Run(wait.loop);

    SBlockingOutcome outcome = watch.Outcome();
    outcome.nType = request.nType;
    outcome.strUrl = strUrl;
    KeepOutcome(outcome);
    // Without a manager it is deleted, and at the end of the process this object may be gone too.
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

// This endpoint takes the data as it stands, without brackets.
bool CUIAgentReq::SendPostReportStepData_ORN(QString strUrl, int nTimeout, std::string strData)
{
    return ReportOrPause(Report(RequestType::ReportStepDataOrn,
                                SLOT(Slot_PostReportStepDataORN_Reply(bool, QJsonObject)),
                                strUrl.toStdString(), std::move(strData)),
                         nTimeout);
}
