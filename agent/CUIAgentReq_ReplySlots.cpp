// clang-format off
// How the reply to each blocking sender is judged, and what its wait record holds then. The rules differ on purpose,
// each server has its own way of saying yes:
//
//   request        bSucc, the yes                  strResult, strReason    bFlag   nCode              strMessage
//   -------------  ------------------------------  ----------------------  ------  -----------------  ----------
//   channel check  "success" is true               "allowBoot", "reason"   -       -                  -
//                                                  of the "result"
//   in common      "success" is true               -                       common  -                  -
//   upload         never                           -                       -       0 when "code" is   "msg"
//                                                                                  a text, else 404
//   cycle, step    "code" is the text "success"    -                       -       200 after a yes,   "message"
//                  in any case, and "message" a                                    404 after a no
//                  text that is not empty
//   ORN step       the exchange succeeded,         -                       -       0                  empty
//                  whatever the body
//
// "-" stays as it was. After a no, the texts of the channel check are empty and bFlag is false. A member of another
// JSON type counts as absent. Whether the exchange succeeded matters to the last rule alone: after a failed one the
// object is empty, and the other rules say no to that.
// clang-format on

#include "CUIAgentReq.h"

#include "Logging.h"
#include "RequestCatalogue.h"
#include "SyncWait.h"

#include <QDebug>
#include <QJsonObject>

using namespace VelCSDK;

namespace
{

constexpr int CODE_OK = 200;
constexpr int CODE_FAILED = 404;

} // namespace

void CUIAgentReq::Slot_GetChannelCheckData_Reply(bool /*bSucc*/, QJsonObject object)
{
    const bool bOk = object.value("success").toBool();
    const QJsonObject result = bOk ? object.value("result").toObject() : QJsonObject();
    SyncWait& wait = *m_mapSyncWait.value(RequestType::GetChannelCheckData);
    wait.bSucc = bOk;
    wait.strResult = result.value("allowBoot").toString();
    wait.strReason = result.value("reason").toString();
    wait.loop.quit();
}

void CUIAgentReq::Slot_GetWhetherInCommon_Reply(bool /*bSucc*/, QJsonObject object)
{
    const bool bOk = object.value("success").toBool();
    SyncWait& wait = *m_mapSyncWait.value(RequestType::GetWhetherInCommon);
    wait.bSucc = bOk;
    wait.bFlag = bOk && object.value("common").toBool();
    wait.loop.quit();
}

void CUIAgentReq::Slot_PostUploadData_Reply(bool /*bSucc*/, QJsonObject object)
{
    const QJsonValue code = object.value("code");
    SyncWait& wait = *m_mapSyncWait.value(RequestType::PostUploadData);
    wait.nCode = code.isString() ? code.toInt() : CODE_FAILED; // of a text that conversion makes 0
    wait.bSucc = wait.nCode == CODE_OK;
    wait.strMessage = object.value("msg").toString();
    wait.loop.quit();
}

void CUIAgentReq::Slot_PostReportCycleData_Reply(bool bSucc, QJsonObject object)
{
    qCDebug(logReply) << "CUIAgentReq::Slot_PostReportCycleData_Reply " << bSucc << object;
    JudgeReport(RequestType::ReportCycleData, object);
}

void CUIAgentReq::Slot_PostReportStepData_Reply(bool bSucc, QJsonObject object)
{
    qCDebug(logReply) << "CUIAgentReq::Slot_PostReportStepData_Reply " << bSucc << object;
    JudgeReport(RequestType::ReportStepData, object);
}

void CUIAgentReq::JudgeReport(int nType, const QJsonObject& object)
{
    const QString strMessage = object.value("message").toString();
    const QString strCode = object.value("code").toString();
    SyncWait& wait = *m_mapSyncWait.value(nType);
    wait.bSucc = !strMessage.isEmpty() && strCode.compare(QLatin1String("success"), Qt::CaseInsensitive) == 0;
    wait.nCode = wait.bSucc ? CODE_OK : CODE_FAILED;
    wait.strMessage = strMessage;
    wait.loop.quit();
    qCDebug(logReply) << QStringLiteral("message: %1").arg(strMessage);
}

void CUIAgentReq::Slot_PostReportStepDataORN_Reply(bool bSucc, QJsonObject object)
{
    qCDebug(logReply) << "CUIAgentReq::Slot_PostReportStepDataORN_Reply " << bSucc << object;
    SyncWait& wait = *m_mapSyncWait.value(RequestType::ReportStepDataOrn);
    wait.bSucc = bSucc;
    wait.nCode = 0;
    wait.strMessage.clear();
    wait.loop.quit();
}
