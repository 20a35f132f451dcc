#pragma once

// The four profiles, as their registry keys with "/" as the separator, and their values.

constexpr const char* PLUGIN = "HKEY_LOCAL_MACHINE/SOFTWARE/ZORVAL/BRELK/KTSStartPlugin";
constexpr const char* ORN = "HKEY_LOCAL_MACHINE/SOFTWARE/ZORVAL/ORN/NETCFG";
constexpr const char* TAMOR = "HKEY_LOCAL_MACHINE/SOFTWARE/ZORVAL/TAMOR/NETCFG";
constexpr const char* PLIX = "HKEY_LOCAL_MACHINE/SOFTWARE/ZORVAL/PLIX/NETCFG";

struct SettingRow {
    const char* szName;
    int nType;
    const char* szProfile;
};

// Deliberately independent of the library's own table: this is what sites have in their registries.
inline const SettingRow ROWS[] = {
    {"HttpUrlAddStatusLog", 3101, PLUGIN},
    {"HttpUrlAutoExport", 3106, PLUGIN},
    {"HttpUrlGetDxzt", 3105, PLUGIN},
    {"HttpUrlGetFtpFilePath", 3107, PLUGIN},
    {"HttpUrlGetSupportVer", 3104, PLUGIN},
    {"HttpUrlGetSyxm", 3103, PLUGIN},
    {"HttpUrlIncubatorStatus", 3102, PLUGIN},
    {"HttpUrlReportLocation", 0, PLUGIN},
    {"HttpUrlGetChannelUpDownPlatform", 3108, PLUGIN},
    {"HttpUrlGetChannelCheckData", 3109, PLUGIN},
    {"HttpUrlGetWhetherInCommon", 3110, PLUGIN},
    {"HttpUrlGetCdlxFileListByDxtmList", 3111, PLUGIN},
    {"HttpUrlPostBatteryTestData", 3112, TAMOR},
    {"HttpUrlPostReportCycleData", 3113, PLIX},
    {"HttpUrlPostReportStepData", 3114, PLIX},
    {"HttpUrlPostReportStepData", 3115, ORN},
};
