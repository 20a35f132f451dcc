#include "FleetStatus.h"

KTSStartPlugin::tagRepoChlStatusInfo StatusOf(const DueReport& report)
{
    constexpr double HIGHEST_VOLTAGE = 4.2;
    constexpr double MILLI = 0.001;
    constexpr std::int64_t VOLTAGES = 1200; // down to 3 V
    KTSStartPlugin::tagRepoChlStatusInfo status;
    status.com = "2.1";
    status.ver = "1.1.0";
    status.PEXAVer = "1.0";
    status.deviceId = "FLEET-" + std::to_string(report.nHost);
    status.box = "1";
    status.chl = std::to_string(report.nChannel);
    status.dxtm = "CELL-" + std::to_string(report.nHost) + "-" + std::to_string(report.nChannel);
    status.cycle = static_cast<unsigned int>(report.nTurn);
    status.voltage =
        HIGHEST_VOLTAGE - MILLI * static_cast<double>((report.nTurn + report.nChannel) % VOLTAGES);
    status.current = -1.0;
    status.disch_capacity = 3.0;
    status.disch_retention = 100.0;
    status.stepStatus = "CC";
    status.step_state = "running";
    status.action = "step";
    status.action_desc = "a simulated host";
    status.backup_dir = "/data/fleet";
    return status;
}

std::string TickCount(const DueReport& report)
{
    return std::to_string(report.due.count());
}

std::chrono::microseconds DueAt(const std::string& strTick)
{
    return std::chrono::microseconds(std::stoll(strTick));
}
