// clang-format off
// How the reply to each blocking sender is evaluated, and what its wait record holds afterwards. The rules differ
// because each server has its own way of saying yes:
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
// "-": not changed. After a no, the texts of the channel check are empty and bFlag is false. A member of another JSON
// type counts as missing. Only the last rule looks at whether the exchange succeeded: after a failed exchange the
// object is empty, which is a no by all other rules.
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

/// Stores what a reply says in the wait record of its request and ends the wait. The caller has set the
/// record to a no before. If there is not enough memory to store the answer, the record stays a no, and the
/// reply counts as unreadable.
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

/// Writes a debug line, if there is enough memory for it. Qt's usual stream prints in its destructor, which
/// can't throw, so running out of memory there would end the process.
template <class Put>
void Debug(Put fnPut)
{
    if (!LogReply().isDebugEnabled()) {
        return;
    }
    try {
        QString strLine;
        fnPut(QDebug(&strLine));
        strLine.chop(1); // the stream writes a space after each part
        const QByteArray baLine = strLine.toUtf8();
        strLine = QString(); // frees memory first: a reply may be large, and Qt copies it once more
        qCDebug(LogReply, "%s", baLine.constData());
    } catch (const std::bad_alloc&) { // the line is lost
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
            wait.strResult.swap(strResult); // last: this text gives the permission
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
        wait.nCode = code.isString() ? code.toInt() : CODE_FAILED; // toInt makes 0 of a text
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
