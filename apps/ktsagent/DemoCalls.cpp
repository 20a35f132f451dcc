#include "DemoCalls.h"

namespace
{

void FillChlStatus(Arguments& a)
{
    a.t = "1.1.0";
    KTSStartPlugin::tagRepoChlStatusInfo& info = a.chlStatus;
    info.PEXAVer = "1.1.0";
    info.action = "start";
    info.action_desc = "Cycle life test started";
    info.backup_dir = "/data/backup/KTS-0007";
    info.box = "1";
    info.chl = "2"; // the third channel; the report counts from 1 and says "3"
    info.com = "2.1";
    info.current = 1.5;
    info.deviceId = "KTS-0007";
    info.disch_capacity = 3.17;
    info.disch_retention = 98.6;
    info.dxtm = "CELL-0001";
    info.stepStatus = "running";
    info.ver = "1.1.0";
    info.voltage = 3.65;
    info.wtNumId = 1201;
    info.xmNameId = 107;
}

void FillChannelCheck(Arguments& a)
{
    a.channelCheck = {1201, 107, "CELL-0001", "KTS-0007", "8", "cycle life"};
}

void FillSharedBarcode(Arguments& a)
{
    a.dxtm = "CELL-0099";
}

void FillTestData(Arguments& a)
{
    a.batteryTestData = {"S1", "B2405-17", "R-12", "3.21", "3.17", "3.65", "2024-05-17 08:30:00"};
}

void FillCycle(Arguments& a)
{
    a.strData = R"({"dxtm":"CELL-0001","cycle":1})";
}

void FillStep(Arguments& a)
{
    a.strData = R"({"dxtm":"CELL-0001","step":1})";
}

LabFault BadGateway()
{
    LabFault fault;
    fault.eKind = LabFaultKind::Reply;
    fault.nStatus = 502;
    fault.strBody = "<html><body><h1>502 Bad Gateway</h1></body></html>";
    fault.strContentType = "text/html";
    return fault;
}

/// A server that answers long after `SHORT_TIMEOUT_MS`.
LabFault SlowServer()
{
    LabFault fault;
    fault.nDelayMs = 800;
    return fault;
}

} // namespace

std::vector<DemoCall> AsyncCalls()
{
    using Args = Arguments;
    return {
        {"user-info", [](Args& a) { a.userId = 7; }, Outcome::Success, 200},
        {"report-chl-status", FillChlStatus, Outcome::Success, 200},
        {"report-incubator",
         [](Args& a) {
             a.incubatorStatus = {"INC-01", true, 25.5F};
         },
         Outcome::Success, 200},
        {"projects",
         [](Args& a) {
             a.dxtmList = QStringList{"CELL-0001", "CELL-0002"};
             a.t = "1.1.0";
         },
         Outcome::Success, 200},
        {"support-ver", [](Args& a) { a.t = "1.1.0"; }, Outcome::Success, 200},
        {"batt-status", [](Args& a) { a.t = "1.1.0"; }, Outcome::Success, 200},
        {"auto-export",
         [](Args& a) {
             a.bjtzser = "B01";
             a.csxmser = "C02";
             a.dxtm = "CELL-0001";
         },
         Outcome::Success, 200},
        {"ftp-path",
         [](Args& a) {
             a.bjtzser = "B01";
             a.csxmser = "C03";
             a.supplier = "Harbour Storage";
             a.batteryStatus = "2";
         },
         Outcome::Success, 200},
        {"channel-up-down", [](Args&) {}, Outcome::NothingSent, NO_REQUEST},
        {"channel-check", FillChannelCheck, Outcome::Success, 200},
        {"in-common", FillSharedBarcode, Outcome::Success, 200},
        {"cdlx-files", [](Args& a) { a.dxtmList = QStringList{"CELL-0001"}; }, Outcome::NothingSent,
         NO_REQUEST},
        {"upload-data", FillTestData, Outcome::Sent, 200},
        {"report-cycle", FillCycle, Outcome::Sent, 200},
        {"report-step", FillStep, Outcome::Sent, 200},
        {"support-ver", [](Args& a) { a.t = "0.9.0"; }, Outcome::RefusedOrFailed, 200},
        {"batt-status", [](Args& a) { a.t = "1.1.0"; }, Outcome::RefusedOrFailed, 502, BadGateway()},
    };
}

std::vector<DemoCall> SyncCalls()
{
    return {
        {"channel-check", FillChannelCheck, Outcome::Success, 200},
        {"in-common", FillSharedBarcode, Outcome::NoAnswerInTime, 200, SlowServer()},
        {"upload-data", FillTestData, Outcome::NeverTrue, 200},
        {"report-cycle", FillCycle, Outcome::Success, 200},
        {"report-step", FillStep, Outcome::Success, 200},
        {"report-step-orn", FillStep, Outcome::Success, 200},
    };
}
