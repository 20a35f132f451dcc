#include <ktshttpagent/CUIAgentReq.h>

#include "FieldConversion.h"
#include "VelClientSDk.h"
#include "requests/ReportCycleData.h"

#include <ktshttpagent/RequestType.h>
#include <ktshttpagent/clog.h>

#include <exception>
#include <string>

using namespace VelCSDK;

namespace
{

/// The SDK client, after setting the server to which it sends.
IVelClientSDk& ClientFor(const QString& strIp, int nPort)
{
    IVelClientSDk& client = *SDKFactory::GetInstance();
    client.SetServerAddr(strIp.toStdString(), nPort);
    return client;
}

IVelClientSDk& ClientFor(const QString& strUrl)
{
    IVelClientSDk& client = *SDKFactory::GetInstance();
    client.SetServerUrl(strUrl.toStdString());
    return client;
}

/// Answers a request that could not be sent in the same way as a failed exchange, but on the caller's thread.
void AnswerUnsent(int nType)
{
    const auto* const pClient = static_cast<VelClientSDk*>(SDKFactory::GetInstance());
    if (const ResponseCallBack fnResponse = pClient->GetResponseCallBack("source")) {
        fnResponse(nType, nullptr, nullptr, -1);
    }
}

/// Why a request could not be sent, for the log.
std::string Reason(const std::exception& error)
{
    const auto* const pField = dynamic_cast<const FailedField*>(&error);
    return pField == nullptr ? error.what() : pField->Description() + ": " + error.what();
}

std::string JoinList(const QStringList& list)
{
    return list.join(',').toStdString();
}

} // namespace

void CUIAgentReq::SendGetUserInfo(QString strIp, int nPort, int userId)
{
    ClientFor(strIp, nPort).GetUserInfo(userId);
}

void CUIAgentReq::SendGetSupportVer(QString strIp, int nPort, QString t)
{
    ClientFor(strIp, nPort).GetSupportVer(t.toStdString());
}

void CUIAgentReq::SendGetProjects(QString strIp, int nPort, QStringList dxtmList, QString t)
{
    ClientFor(strIp, nPort).GetProjects(JoinList(dxtmList), t.toStdString());
}

void CUIAgentReq::SendGetBattStatus(QString strIp, int nPort, QString t)
{
    ClientFor(strIp, nPort).GetBattStatus(t.toStdString());
}

void CUIAgentReq::SendGetAutoExport(QString strIp, int nPort, QString bjtzser, QString csxmser, QString dxtm)
{
    ClientFor(strIp, nPort).GetAutoExport(bjtzser.toStdString(), csxmser.toStdString(), dxtm.toStdString());
}

void CUIAgentReq::SendGetFtpFilePath(QString strIp, int nPort, QString bjtzser, QString csxmser,
                                     QString supplier, QString batteryStatus)
{
    ClientFor(strIp, nPort)
        .GetFtpFilePath(bjtzser.toStdString(), csxmser.toStdString(), supplier.toStdString(),
                        batteryStatus.toStdString());
}

void CUIAgentReq::SendGetChannelUpDownPlatform(QString strIp, int nPort, int /*unused*/, int /*unused*/,
                                               QString /*unused*/, QString /*unused*/, QString /*unused*/,
                                               QString /*unused*/, int /*unused*/, QString /*unused*/)
{
    ClientFor(strIp, nPort);
}

void CUIAgentReq::SendGetChannelCheckData(QString strIp, int nPort, tagSRequestGetChannelCheckData req)
{
    ClientFor(strIp, nPort)
        .GetChannelCheckData(req.wtNumId, req.xmNameId, req.dxtm, req.deviceId, req.chl, req.purpose);
}

void CUIAgentReq::SendGetWhetherInCommon(QString strIp, int nPort, QString dxtm)
{
    ClientFor(strIp, nPort).GetWhetherInCommon(dxtm.toStdString());
}

void CUIAgentReq::SendGetCdlxFileListByDxtmList(QString strIp, int nPort, QStringList /*dxtmList*/)
{
    ClientFor(strIp, nPort);
}

void CUIAgentReq::SendPostReportChlStatus(QString strIp, int nPort, QString t,
                                          KTSStartPlugin::tagRepoChlStatusInfo& info)
{
    try {
        ClientFor(strIp, nPort).ReportChlStatus(t.toStdString(), info);
    } catch (const std::exception& error) {
        Log_Write(1, "CUIAgentReq::SendPostReportChlStatus", 1, "%s", Reason(error).c_str());
        AnswerUnsent(RequestType::ReportChlStatus);
    }
}

void CUIAgentReq::SendPostReportIncubatorStatus(QString strIp, int nPort,
                                                KTSStartPlugin::tagRepoIncubatorStatus& status)
{
    ClientFor(strIp, nPort).ReportIncubatorStatus(status);
}

void CUIAgentReq::SendPostUploadData(QString strIp, int nPort, tagBatteryTestData& data)
{
    ClientFor(strIp, nPort).PostUploadData(data);
}

void CUIAgentReq::SendPostReportCycleData(QString strUrl, std::string strData)
{
    ClientFor(strUrl).ReportCycleData(requests::ReportCycleData::JsonArrayOf(strData));
}

void CUIAgentReq::SendPostReportStepData(QString strUrl, std::string strData)
{
    ClientFor(strUrl).ReportStepData(requests::ReportCycleData::JsonArrayOf(strData));
}
