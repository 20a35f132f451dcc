#include "labserver/LabHostRoutes.h"

#include "labserver/LabFaults.h"
#include "labserver/LabJson.h"
#include "labserver/LabQueries.h"
#include "labserver/LabReports.h"

#include <algorithm>

namespace
{

LabRoute ReportRoute(const char* szPath, const char* szKind)
{
    return {"POST", szPath, "takes a report", ReportHandler(szKind), szKind};
}

} // namespace

bool Serves(const LabRoute& route, const std::string& strPath, std::string& strTail)
{
    if (route.strPath.back() != '/') {
        return strPath == route.strPath;
    }
    if (strPath.compare(0, route.strPath.size(), route.strPath) != 0) {
        return false;
    }
    strTail = strPath.substr(route.strPath.size());
    return !strTail.empty() && strTail.find('/') == std::string::npos;
}

const std::vector<LabRoute>& HostRoutes()
{
    static const std::vector<LabRoute> vecRoutes = {
        {"GET", "/posts/", "a user", AnswerUserInfo},
        {"GET", "/vomd/system/GetSupportVer.action", "whether a version is supported", AnswerSupportVer},
        {"GET", "/vomd/system/GetSyxm.action", "the projects of cells", AnswerProjects},
        {"GET", "/vomd/system/GetDxzt.action", "the states that batteries can have", AnswerBattStatus},
        {"GET", "/vomd/system/autoExport.action", "what is exported about a cell", AnswerAutoExport},
        {"GET", "/vomd/system/xmmb/getFtpFilePath.action", "where files go", AnswerFtpFilePath},
        {"GET", "/vomd/system/channelCheckData.action", "whether a channel may start",
         AnswerChannelCheckData},
        {"GET", "/vomd/system/whetherInCommon.action", "whether a barcode is in common",
         AnswerWhetherInCommon},
        ReportRoute("/vomd/system/addstatuslog.action", "channel-status"),
        ReportRoute("/vomd/system/incubatorStatus.action", "incubator-status"),
        ReportRoute("/dev-api/connector/DataCollectionController_KR_KR/saveData", "battery-data"),
        ReportRoute("/open/test-cabinet/add/kostrel/cycle", "cycle-data"),
        ReportRoute("/open/test-cabinet/add/kostrel/step", "step-data"),
        ReportRoute("/core/api/public/orn/qm/autoWriteInspection", "orn-step-data"),
    };
    return vecRoutes;
}

bool TakesReports(const std::string& strMethod, const std::string& strPath)
{
    const auto& vecRoutes = HostRoutes();
    return std::any_of(vecRoutes.begin(), vecRoutes.end(), [&](const LabRoute& route) {
        return !route.strReports.empty() && route.strMethod == strMethod && route.strPath == strPath;
    });
}

void RequireHostPath(const std::string& strFaultPath)
{
    const std::string strPath = (strFaultPath.compare(0, 1, "/") == 0 ? "" : "/") + strFaultPath;
    const auto& vecRoutes = HostRoutes();
    const bool bUsed =
        !strFaultPath.empty() && std::any_of(vecRoutes.begin(), vecRoutes.end(), [&](const LabRoute& route) {
            std::string strTail;
            return Covers(strPath, route.strPath) || Serves(route, strPath, strTail);
        });
    if (!bUsed) {
        throw LabError(400, "No host uses the path \"" + strFaultPath + "\", or one below it.");
    }
}
