#include "labserver/LabRoutes.h"

#include "labserver/LabGate.h"
#include "labserver/LabJson.h"
#include "labserver/LabOperator.h"
#include "labserver/LabPage.h"
#include "labserver/LabQueries.h"
#include "labserver/LabReports.h"
#include "labserver/LabTables.h"
#include "labserver/LabWatch.h"

#include "platform/text/Escaping.h"

#include <algorithm>

namespace
{

struct LabRoute {
    std::string strMethod;
    std::string strPath; ///< one that ends in "/" stands for every path with one more segment
    LabHandler fnAnswer;
    std::string strReports{}; ///< the kind of reports that the requests bring; empty if they bring none
};

LabRoute ReportRoute(const char* szPath, const char* szKind)
{
    return {"POST", szPath, ReportHandler(szKind), szKind};
}

const std::vector<LabRoute>& Routes()
{
    static const std::vector<LabRoute> vecRoutes = {
        {"GET", "/posts/", AnswerUserInfo},
        {"GET", "/vomd/system/GetSupportVer.action", AnswerSupportVer},
        {"GET", "/vomd/system/GetSyxm.action", AnswerProjects},
        {"GET", "/vomd/system/GetDxzt.action", AnswerBattStatus},
        {"GET", "/vomd/system/autoExport.action", AnswerAutoExport},
        {"GET", "/vomd/system/xmmb/getFtpFilePath.action", AnswerFtpFilePath},
        {"GET", "/vomd/system/channelCheckData.action", AnswerChannelCheckData},
        {"GET", "/vomd/system/whetherInCommon.action", AnswerWhetherInCommon},
        ReportRoute("/vomd/system/addstatuslog.action", "channel-status"),
        ReportRoute("/vomd/system/incubatorStatus.action", "incubator-status"),
        ReportRoute("/dev-api/connector/DataCollectionController_KR_KR/saveData", "battery-data"),
        ReportRoute("/open/test-cabinet/add/kostrel/cycle", "cycle-data"),
        ReportRoute("/open/test-cabinet/add/kostrel/step", "step-data"),
        ReportRoute("/core/api/public/orn/qm/autoWriteInspection", "orn-step-data"),
        {"GET", "/lab/exchanges", ListExchanges},
        {"GET", "/lab/exchanges/", ShowExchange},
        {"GET", "/lab/rates", ListRates},
        {"GET", "/lab/events", StreamEvents},
        {"GET", "/lab/reports/", ListReports},
        {"GET", "/lab/channel-rules", ListHandler(labtables::CHANNEL_RULES)},
        {"POST", "/lab/channel-rules", AddHandler(labtables::CHANNEL_RULES)},
        {"GET", "/lab/shared-barcodes", ListHandler(labtables::SHARED_BARCODES)},
        {"POST", "/lab/shared-barcodes", AddHandler(labtables::SHARED_BARCODES)},
        {"GET", "/lab/supported-versions", ListHandler(labtables::SUPPORTED_VERSIONS)},
        {"POST", "/lab/supported-versions", AddHandler(labtables::SUPPORTED_VERSIONS)},
        {"GET", "/lab/faults", ListFaults},
        {"POST", "/lab/faults", AddFault},
        {"DELETE", "/lab/faults", ClearFaults},
    };
    return vecRoutes;
}

/// Whether a route serves a path. @param strTail gets the rest of the path after the route's
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

/// Tells those who watch what a request has changed.
void TellChange(LabEvents& events, const LabRoute& route)
{
    const std::string strOperators = "/lab/";
    if (!route.strReports.empty()) {
        events.Tell("reports", route.strReports);
    } else if (route.strMethod != "GET" && route.strPath.rfind(strOperators, 0) == 0) {
        const std::size_t nBegin = strOperators.size();
        events.Tell(route.strPath.substr(nBegin, route.strPath.find('/', nBegin) - nBegin));
    }
}

Json::Value Answer(LabContext& context, const std::string& strPath, const httplib::Request& request,
                   httplib::Response& response)
{
    const std::string strMethod = request.method == "HEAD" ? "GET" : request.method;
    std::string strAllowed;
    for (const LabRoute& route : Routes()) {
        std::string strTail;
        if (!Serves(route, strPath, strTail)) {
            continue;
        }
        if (route.strMethod == strMethod) {
            Json::Value reply = route.fnAnswer(context, {request, strTail});
            TellChange(context.watch.events, route);
            return reply;
        }
        strAllowed += (strAllowed.empty() ? "" : ", ") + route.strMethod;
    }
    if (strAllowed.empty()) {
        throw LabError(404, "There is nothing at this path.");
    }
    response.set_header("Allow", strAllowed);
    throw LabError(405, "This path takes " + strAllowed + " only.");
}

void Refuse(httplib::Response& response, int nStatus, const std::string& strWhy)
{
    response.status = nStatus;
    response.set_content(WriteJson(ErrorEnvelope(nStatus, strWhy)), JSON_CONTENT_TYPE);
}

} // namespace

bool TakesReports(const std::string& strMethod, const std::string& strPath)
{
    const auto& vecRoutes = Routes();
    return std::any_of(vecRoutes.begin(), vecRoutes.end(), [&](const LabRoute& route) {
        return !route.strReports.empty() && route.strMethod == strMethod && route.strPath == strPath;
    });
}

void AnswerRequest(LabContext& context, const std::string& strPath, const httplib::Request& request,
                   httplib::Response& response)
{
    if (AnswerPage(strPath, request, response)) {
        return;
    }
    try {
        const std::string strReply = WriteJson(Answer(context, strPath, request, response));
        // An operator sees what hosts have sent, whatever it is.
        response.set_content(IsOperatorPath(strPath) ? EscapeUnsafeInJson(strReply) : strReply,
                             JSON_CONTENT_TYPE);
    } catch (const LabError& error) {
        Refuse(response, error.Status(), error.what());
    } catch (const std::exception& error) {
        Refuse(response, 500, std::string("The request could not be served: ") + error.what());
    }
}
