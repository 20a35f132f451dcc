#include "QueryPath.h"

#include <ktshttpagent/RequestType.h>

#include <algorithm>
#include <iterator>
#include <stdexcept>

namespace RequestType = VelCSDK::RequestType;

// The arguments are invented, but of the kind that hosts send. The first query is the one that a server can
// answer with the least work.
const std::vector<QueryPath>& QueryPaths()
{
    static const std::vector<QueryPath> PATHS{
        {RequestType::GetSupportVer, "support-ver", "?t=1.1.0"},
        {RequestType::GetBattStatus, "batt-status", "?t=1.1.0"},
        {RequestType::GetUserInfo, "user-info", "/7"},
        {RequestType::GetProjects, "projects", "?dxtm=CELL-0001&t=1.1.0"},
        {RequestType::GetAutoExport, "auto-export", "?bjtzser=B01&csxmser=C02&dxtm=CELL-0001"},
        {RequestType::GetFtpFilePath, "ftp-path",
         "?batteryStatus=2&bjtzser=B01&csxmser=C03&supplier=Harbour%20Storage"},
        {RequestType::GetChannelCheckData, "channel-check",
         "?chl=8&deviceId=KTS-0007&dxtm=CELL-0001&purpose=cycle%20life&wtNumId=1201&xmNameId=107"},
        {RequestType::GetWhetherInCommon, "in-common", "?dxtm=CELL-0001"},
    };
    return PATHS;
}

namespace
{

/// @throws std::invalid_argument for an unknown name
const QueryPath& Find(const std::string& strName)
{
    const auto& vecAll = QueryPaths();
    const auto it = std::find_if(vecAll.begin(), vecAll.end(),
                                 [&](const QueryPath& path) { return path.strName == strName; });
    if (it != vecAll.end()) {
        return *it;
    }
    std::string strKnown;
    for (const QueryPath& path : vecAll) {
        strKnown.append(strKnown.empty() ? "" : ", ").append(path.strName);
    }
    throw std::invalid_argument("'" + strName + "' is no query; these are: " + strKnown);
}

} // namespace

std::vector<QueryPath> ChosenPaths(const std::vector<std::string>& vecNames)
{
    std::vector<QueryPath> vecChosen;
    std::transform(vecNames.begin(), vecNames.end(), std::back_inserter(vecChosen), Find);
    return vecChosen;
}
