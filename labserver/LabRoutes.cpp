#include "labserver/LabRoutes.h"

#include "labserver/LabChannels.h"
#include "labserver/LabGate.h"
#include "labserver/LabJson.h"
#include "labserver/LabOperator.h"
#include "labserver/LabPage.h"
#include "labserver/LabQueries.h"
#include "labserver/LabReports.h"
#include "labserver/LabReportsCsv.h"
#include "labserver/LabTables.h"
#include "labserver/LabWatch.h"

#include "platform/text/Escaping.h"

#include <algorithm>

namespace
{

struct LabRoute {
    std::string strMethod;
    std::string strPath; ///< one that ends in "/" stands for every path with one more segment
    const char* szWhat;  ///< what is at the path, for people
    LabHandler fnAnswer;
    std::string strReports{}; ///< the kind of reports that the requests bring; empty if they bring none
};

LabRoute ReportRoute(const char* szPath, const char* szKind)
{
    return {"POST", szPath, "takes a report", ReportHandler(szKind), szKind};
}

const std::vector<LabRoute>& Routes()
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
        {"GET", "/lab/exchanges",
         "the latest requests of hosts, newest first: before, limit, path, host, outcome", ListExchanges},
        {"GET", "/lab/exchanges/", "one of them, whole, by its id", ShowExchange},
        {"GET", "/lab/rates",
         "how many requests came in each of the last 300 seconds, and how long they took", ListRates},
        {"GET", "/lab/events", "what happens, as server-sent events", StreamEvents},
        {"GET", "/lab/reports/",
         "stored reports of a kind: after, limit, search; with .csv behind the kind, as a file", ListReports},
        {"GET", "/lab/channels", "each channel with its last status", ListChannels},
        {"GET", "/lab/channel-rules", "which channels may start", ListHandler(labtables::CHANNEL_RULES)},
        {"POST", "/lab/channel-rules", "adds a rule, or an array of rules",
         AddHandler(labtables::CHANNEL_RULES)},
        {"DELETE", "/lab/channel-rules/", "deletes a rule by its id",
         RemoveHandler(labtables::CHANNEL_RULES)},
        {"GET", "/lab/shared-barcodes", "which barcodes are in common",
         ListHandler(labtables::SHARED_BARCODES)},
        {"POST", "/lab/shared-barcodes", "adds a barcode, or an array of them",
         AddHandler(labtables::SHARED_BARCODES)},
        {"DELETE", "/lab/shared-barcodes/", "deletes a barcode by its id",
         RemoveHandler(labtables::SHARED_BARCODES)},
        {"GET", "/lab/supported-versions", "which versions are supported",
         ListHandler(labtables::SUPPORTED_VERSIONS)},
        {"POST", "/lab/supported-versions", "adds a version, or an array of them",
         AddHandler(labtables::SUPPORTED_VERSIONS)},
        {"DELETE", "/lab/supported-versions/", "deletes a version by its id",
         RemoveHandler(labtables::SUPPORTED_VERSIONS)},
        {"GET", "/lab/faults", "the faults that are on", ListFaults},
        {"POST", "/lab/faults", "switches a fault on", AddFault},
        {"DELETE", "/lab/faults", "switches all faults off", ClearFaults},
        {"DELETE", "/lab/faults/", "switches a fault off by its id", RemoveFault},
        {"GET", "/lab/scenarios", "the scenarios", ListScenarios},
        {"POST", "/lab/scenarios", "starts a scenario", StartScenario},
        {"DELETE", "/lab/scenarios", "ends all scenarios", EndScenarios},
        {"DELETE", "/lab/scenarios/", "ends a scenario by its name", EndScenario},
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

/// What can be asked of this server.
Json::Value Interface()
{
    Json::Value paths(Json::arrayValue);
    for (const LabRoute& route : Routes()) {
        Json::Value path(Json::objectValue);
        path["method"] = route.strMethod;
        path["path"] = route.strPath;
        path["what"] = route.szWhat;
        paths.append(std::move(path));
    }
    Json::Value interface(Json::objectValue);
    interface["name"] = "ktslabserver";
    interface["version"] = KTS_VERSION;
    interface["paths"] = std::move(paths);
    return interface;
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
    if (strPath == "/lab/" && strMethod == "GET") {
        return Interface();
    }
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

void RequireHostPath(const std::string& strFaultPath)
{
    const std::string strPath = (strFaultPath.compare(0, 1, "/") == 0 ? "" : "/") + strFaultPath;
    const auto& vecRoutes = Routes();
    const bool bUsed =
        !strFaultPath.empty() && std::any_of(vecRoutes.begin(), vecRoutes.end(), [&](const LabRoute& route) {
            std::string strTail;
            return !IsOperatorPath(route.strPath) &&
                   (Covers(strPath, route.strPath) || Serves(route, strPath, strTail));
        });
    if (!bUsed) {
        throw LabError(400, "No host uses the path \"" + strFaultPath + "\", or one below it.");
    }
}

void AnswerRequest(LabContext& context, const std::string& strPath, const httplib::Request& request,
                   httplib::Response& response)
{
    if (AnswerPage(strPath, request, response)) {
        return;
    }
    try {
        if (AnswerReportsCsv(context, strPath, request, response)) {
            return;
        }
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
