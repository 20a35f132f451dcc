#include "Operations.h"

#include <ktshttpagent/RequestType.h>

#include <algorithm>
#include <stdexcept>

namespace
{

const OperationOption OPTION_SERVER{
    "--server", "host and port of the server, [ADDRESS]:PORT for IPv6; or its URL", &Arguments::server};
const OperationOption OPTION_URL{"--url", "base URL of the server, with its trailing \"/\"",
                                 &Arguments::strUrl};
const OperationOption OPTION_T{"--t", "the member \"t\"", &Arguments::t};
const OperationOption OPTION_DXTM{"--dxtm", "cell barcode", &Arguments::dxtm};
const OperationOption OPTION_DXTM_LIST{"--dxtm", "cell barcodes, repeated or with commas between them",
                                       &Arguments::dxtmList};
const OperationOption OPTION_BJTZSER{"--bjtzser", "the member \"bjtzser\"", &Arguments::bjtzser};
const OperationOption OPTION_CSXMSER{"--csxmser", "the member \"csxmser\"", &Arguments::csxmser};
const OperationOption OPTION_DATA{"--data", "the inside of a JSON array, sent unchecked in [ and ]",
                                  &Arguments::strData};
const OperationOption OPTION_BODY{"--data", "the whole JSON body, sent unchecked as it stands",
                                  &Arguments::strData};

const OperationOption OPTION_SUPPLIER{"--supplier", "the member \"supplier\"", &Arguments::supplier};
const OperationOption OPTION_BATTERY_STATUS{"--batteryStatus,--battery-status",
                                            "the member \"batteryStatus\"", &Arguments::batteryStatus};

const OperationAnswer NO_ANSWER{AnswerSignal()};
const OperationAnswer NOTHING_SENT{AnswerSignal(), "", false};

template <class Record>
std::function<std::vector<FieldSlot>(Arguments&)> RecordIn(Record Arguments::*pRecord)
{
    return [pRecord](Arguments& arguments) { return FieldSlotsOf(arguments.*pRecord); };
}

SyncSender SyncReport(int nId, bool (CUIAgentReq::*pSend)(QString, int, std::string))
{
    return {nId, [pSend](CUIAgentReq& req, Arguments& a, int nTimeoutMs, NamedValues&) {
                return (req.*pSend)(a.strUrl, nTimeoutMs, a.strData.toStdString());
            }};
}

namespace RequestType = VelCSDK::RequestType;
using Req = CUIAgentReq;
using Rsp = CUIAgentRsp;
using Args = Arguments;

const std::vector<Operation> OPERATIONS{
    {"user-info",
     RequestType::GetUserInfo,
     "Who is this user?",
     {OPTION_SERVER, {"--userId,--user-id", "the user's number", &Args::userId}},
     [](Req& req, Args& a) { req.SendGetUserInfo(a.server.strIp, a.server.nPort, a.userId); },
     {&Rsp::SigGetUserInfoRet}},
    {"report-chl-status",
     RequestType::ReportChlStatus,
     "Report one line of a channel's status log",
     {OPTION_SERVER, OPTION_T},
     [](Req& req, Args& a) { req.SendPostReportChlStatus(a.server.strIp, a.server.nPort, a.t, a.chlStatus); },
     {&Rsp::SigPostReportChlStatRet},
     RecordIn(&Args::chlStatus)},
    {"report-incubator",
     RequestType::ReportIncubatorStatus,
     "Report an incubator's state",
     {OPTION_SERVER},
     [](Req& req, Args& a) {
         req.SendPostReportIncubatorStatus(a.server.strIp, a.server.nPort, a.incubatorStatus);
     },
     {&Rsp::SigPostReportIncubatorStatusRet},
     RecordIn(&Args::incubatorStatus)},
    {"projects",
     RequestType::GetProjects,
     "The test projects of cells",
     {OPTION_SERVER, OPTION_DXTM_LIST, OPTION_T},
     [](Req& req, Args& a) { req.SendGetProjects(a.server.strIp, a.server.nPort, a.dxtmList, a.t); },
     {&Rsp::SigGetProjectsRet, "vData"}},
    {"support-ver",
     RequestType::GetSupportVer,
     "Is this version supported?",
     {OPTION_SERVER, OPTION_T},
     [](Req& req, Args& a) { req.SendGetSupportVer(a.server.strIp, a.server.nPort, a.t); },
     {&Rsp::SigGetSupportVerRet}},
    {"batt-status",
     RequestType::GetBattStatus,
     "The states that batteries may be in",
     {OPTION_SERVER, OPTION_T},
     [](Req& req, Args& a) { req.SendGetBattStatus(a.server.strIp, a.server.nPort, a.t); },
     {&Rsp::SigGetBattStatusRet, "vData"}},
    {"auto-export",
     RequestType::GetAutoExport,
     "The data of a cell's export file",
     {OPTION_SERVER, OPTION_BJTZSER, OPTION_CSXMSER, OPTION_DXTM},
     [](Req& req, Args& a) {
         req.SendGetAutoExport(a.server.strIp, a.server.nPort, a.bjtzser, a.csxmser, a.dxtm);
     },
     {&Rsp::SigGetAutoExportRet, "vData"}},
    {"ftp-path",
     RequestType::GetFtpFilePath,
     "Where test files are kept",
     {OPTION_SERVER, OPTION_BJTZSER, OPTION_CSXMSER, OPTION_SUPPLIER, OPTION_BATTERY_STATUS},
     [](Req& req, Args& a) {
         req.SendGetFtpFilePath(a.server.strIp, a.server.nPort, a.bjtzser, a.csxmser, a.supplier,
                                a.batteryStatus);
     },
     {&Rsp::SigGetFtpFilePathRet, "vData"}},
    {"channel-up-down",
     RequestType::GetChannelUpDownPlatform,
     "Sets the server address; nothing is sent",
     {OPTION_SERVER},
     [](Req& req, Args& a) {
         req.SendGetChannelUpDownPlatform(a.server.strIp, a.server.nPort, 0, 0, "", "", "", "", 0, "");
     },
     NOTHING_SENT},
    {"channel-check",
     RequestType::GetChannelCheckData,
     "May this channel start?",
     {OPTION_SERVER},
     [](Req& req, Args& a) { req.SendGetChannelCheckData(a.server.strIp, a.server.nPort, a.channelCheck); },
     {&Rsp::SigGetChannelCheckDataRet, "strMessage"},
     RecordIn(&Args::channelCheck),
     SyncSender{RequestType::GetChannelCheckData,
                [](Req& req, Args& a, int nTimeoutMs, NamedValues& vecOut) {
                    bool bAllow = false;
                    QString strReason;
                    const bool bSucc = req.SendGetChannelCheckDataEx(
                        a.server.strIp, a.server.nPort, nTimeoutMs, a.channelCheck, bAllow, strReason);
                    vecOut.insert(vecOut.end(), {{"bAllow", bAllow}, {"strReason", strReason}});
                    return bSucc;
                }}},
    {"in-common",
     RequestType::GetWhetherInCommon,
     "Is this cell barcode in common?",
     {OPTION_SERVER, OPTION_DXTM},
     [](Req& req, Args& a) { req.SendGetWhetherInCommon(a.server.strIp, a.server.nPort, a.dxtm); },
     {&Rsp::SigGetWhetherInCommonRet},
     nullptr,
     SyncSender{RequestType::GetWhetherInCommon,
                [](Req& req, Args& a, int nTimeoutMs, NamedValues& vecOut) {
                    bool bCommon = false;
                    const bool bSucc = req.SendGetWhetherInCommonEx(a.server.strIp, a.server.nPort,
                                                                    nTimeoutMs, a.dxtm, bCommon);
                    vecOut.emplace_back("bCommon", bCommon);
                    return bSucc;
                }}},
    {"cdlx-files",
     RequestType::GetCdlxFileListByDxtmList,
     "Sets the server address; nothing is sent",
     {OPTION_SERVER, OPTION_DXTM_LIST},
     [](Req& req, Args& a) { req.SendGetCdlxFileListByDxtmList(a.server.strIp, a.server.nPort, a.dxtmList); },
     NOTHING_SENT},
    {"upload-data",
     RequestType::PostUploadData,
     "Report one battery test result",
     {OPTION_SERVER},
     [](Req& req, Args& a) { req.SendPostUploadData(a.server.strIp, a.server.nPort, a.batteryTestData); },
     NO_ANSWER,
     RecordIn(&Args::batteryTestData),
     SyncSender{RequestType::PostUploadData,
                [](Req& req, Args& a, int nTimeoutMs, NamedValues&) {
                    return req.SendPostUploadDataEx(a.server.strIp, a.server.nPort, nTimeoutMs,
                                                    a.batteryTestData);
                },
                false}},
    {"report-cycle",
     RequestType::ReportCycleData,
     "Report cycle data",
     {OPTION_URL, OPTION_DATA},
     [](Req& req, Args& a) { req.SendPostReportCycleData(a.strUrl, a.strData.toStdString()); },
     NO_ANSWER,
     nullptr,
     SyncReport(RequestType::ReportCycleData, &Req::SendPostReportCycleDataEx)},
    {"report-step",
     RequestType::ReportCycleData,
     "Report step data, to the cycle endpoint; with --sync to the step endpoint",
     {OPTION_URL, OPTION_DATA},
     [](Req& req, Args& a) { req.SendPostReportStepData(a.strUrl, a.strData.toStdString()); },
     NO_ANSWER,
     nullptr,
     SyncReport(RequestType::ReportStepData, &Req::SendPostReportStepDataEx)},
    {"report-step-orn",
     RequestType::ReportStepDataOrn,
     "Report step data to the ORN endpoint, always with --sync",
     {OPTION_URL, OPTION_BODY},
     nullptr,
     NO_ANSWER,
     nullptr,
     SyncReport(RequestType::ReportStepDataOrn, &Req::SendPostReportStepData_ORN)},
};

} // namespace

const std::vector<Operation>& Operations()
{
    return OPERATIONS;
}

const Operation& FindOperation(const std::string& strName)
{
    const auto& vecOperations = Operations();
    const auto it = std::find_if(vecOperations.begin(), vecOperations.end(),
                                 [&](const Operation& operation) { return operation.strName == strName; });
    if (it == vecOperations.end()) {
        throw std::out_of_range("no operation " + strName);
    }
    return *it;
}

std::string OperationOf(int nType)
{
    const auto& vecOperations = Operations();
    const auto found =
        std::find_if(vecOperations.begin(), vecOperations.end(), [nType](const Operation& operation) {
            return operation.nId == nType || (operation.optSync && operation.optSync->nId == nType);
        });
    return found == vecOperations.end() ? std::to_string(nType) : found->strName;
}
