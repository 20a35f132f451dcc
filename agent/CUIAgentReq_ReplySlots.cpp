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

#include <ktshttpagent/CUIAgentReq.h>

#include "Logging.h"
#include "SyncWait.h"

#include <ktshttpagent/RequestType.h>

#include <QDebug>
#include <QJsonObject>

#include <new>

using namespace VelCSDK;

namespace
{

constexpr int CODE_OK = 200;
constexpr int CODE_FAILED = 404;

/// Puts what a reply says into the record of its request, which says no so far, and ends the wait. Where
/// there is no memory for that, the no stays, and the reply counts as one that can't be read.
template <class Judge>
void Answer(SyncWait& wait, Judge fnJudge)
{
    try {
        fnJudge();
    } catch (const std::bad_alloc&) {
        ExchangeEnd& end = wait.lastReply.exchange;
        end = NoMemoryFor(end.nHttpStatus);
    }
    wait.loop.quit();
}

/// Writes a debug line, if there is memory for it. The usual stream is printed by its destructor, which no
/// exception leaves: there, the want of memory would end the process.
template <class Put>
void Debug(Put fnPut)
{
    if (!LogReply().isDebugEnabled()) {
        return;
    }
    try {
        QString strLine;
        fnPut(QDebug(&strLine));
        strLine.chop(1); // the stream puts a space behind each part
        const QByteArray baLine = strLine.toUtf8();
        strLine = QString(); // a reply may be large, and Qt is about to copy it once more
        qCDebug(LogReply, "%s", baLine.constData());
    } catch (const std::bad_alloc&) { // a line less
    }
}

} // namespace

void CUIAgentReq::Slot_GetChannelCheckData_Reply(bool /*bSucc*/, QJsonObject object)
{
    SyncWait& wait = *m_mapSyncWait.value(RequestType::GetChannelCheckData);
    wait.bSucc = false;
    wait.strResult.clear();
    wait.strReason.clear();
    Answer(wait, [&] {
        if (object.value("success").toBool()) {
            const QJsonObject result = object.value("result").toObject();
            QString strResult = result.value("allowBoot").toString();
            wait.strReason = result.value("reason").toString();
            wait.strResult.swap(strResult); // which allows: only where nothing is missing
            wait.bSucc = true;
        }
    });
}

void CUIAgentReq::Slot_GetWhetherInCommon_Reply(bool /*bSucc*/, QJsonObject object)
{
    SyncWait& wait = *m_mapSyncWait.value(RequestType::GetWhetherInCommon);
    wait.bSucc = false;
    wait.bFlag = false;
    Answer(wait, [&] {
        if (object.value("success").toBool()) {
            wait.bFlag = object.value("common").toBool();
            wait.bSucc = true;
        }
    });
}

void CUIAgentReq::Slot_PostUploadData_Reply(bool /*bSucc*/, QJsonObject object)
{
    SyncWait& wait = *m_mapSyncWait.value(RequestType::PostUploadData);
    wait.bSucc = false;
    wait.nCode = CODE_FAILED;
    wait.strMessage.clear();
    Answer(wait, [&] {
        const QJsonValue code = object.value("code");
        wait.strMessage = object.value("msg").toString();
        wait.nCode = code.isString() ? code.toInt() : CODE_FAILED; // of a text that conversion makes 0
        wait.bSucc = wait.nCode == CODE_OK;
    });
}

void CUIAgentReq::Slot_PostReportCycleData_Reply(bool bSucc, QJsonObject object)
{
    Debug([&](QDebug line) { line << "CUIAgentReq::Slot_PostReportCycleData_Reply " << bSucc << object; });
    JudgeReport(RequestType::ReportCycleData, object);
}

void CUIAgentReq::Slot_PostReportStepData_Reply(bool bSucc, QJsonObject object)
{
    Debug([&](QDebug line) { line << "CUIAgentReq::Slot_PostReportStepData_Reply " << bSucc << object; });
    JudgeReport(RequestType::ReportStepData, object);
}

void CUIAgentReq::JudgeReport(int nType, const QJsonObject& object)
{
    SyncWait& wait = *m_mapSyncWait.value(nType);
    wait.bSucc = false;
    wait.nCode = CODE_FAILED;
    wait.strMessage.clear();
    Answer(wait, [&] {
        const QString strCode = object.value("code").toString();
        wait.strMessage = object.value("message").toString();
        wait.bSucc =
            !wait.strMessage.isEmpty() && strCode.compare(QLatin1String("success"), Qt::CaseInsensitive) == 0;
        wait.nCode = wait.bSucc ? CODE_OK : CODE_FAILED;
    });
    Debug([&](QDebug line) { line << QStringLiteral("message: %1").arg(wait.strMessage); });
}

void CUIAgentReq::Slot_PostReportStepDataORN_Reply(bool bSucc, QJsonObject object)
{
    Debug([&](QDebug line) { line << "CUIAgentReq::Slot_PostReportStepDataORN_Reply " << bSucc << object; });
    SyncWait& wait = *m_mapSyncWait.value(RequestType::ReportStepDataOrn);
    wait.bSucc = bSucc;
    wait.nCode = 0;
    wait.strMessage.clear();
    wait.loop.quit();
}
