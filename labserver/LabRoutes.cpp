#include "labserver/LabRoutes.h"

#include "labserver/LabChannels.h"
#include "labserver/LabGate.h"
#include "labserver/LabHostRoutes.h"
#include "labserver/LabJson.h"
#include "labserver/LabObserver.h"
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

const std::vector<LabRoute>& OperatorRoutes()
{
    static const std::vector<LabRoute> vecRoutes = {
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
        {"GET", "/lab/authority.pem", "the authority of the certificates that this server makes",
         ShowAuthority},
    };
    return vecRoutes;
}

const std::vector<LabRoute>& RoutesFor(const std::string& strPath)
{
    return IsOperatorPath(strPath) ? OperatorRoutes() : HostRoutes();
}

/// What can be asked of this server.
Json::Value Interface()
{
    Json::Value paths(Json::arrayValue);
    for (const auto* pRoutes : {&HostRoutes(), &OperatorRoutes()}) {
        for (const LabRoute& route : *pRoutes) {
            Json::Value path(Json::objectValue);
            path["method"] = route.strMethod;
            path["path"] = route.strPath;
            path["what"] = route.szWhat;
            paths.append(std::move(path));
        }
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
    for (const LabRoute& route : RoutesFor(strPath)) {
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
        const Json::Value reply = Answer(context, strPath, request, response);
        if (reply.isString()) {
            response.set_content(reply.asString(), "text/plain; charset=utf-8");
            return;
        }
        const std::string strReply = WriteJson(reply);
        // An operator sees what hosts have sent, whatever it is.
        response.set_content(IsOperatorPath(strPath) ? EscapeUnsafeInJson(strReply) : strReply,
                             JSON_CONTENT_TYPE);
    } catch (const LabError& error) {
        Refuse(response, error.Status(), error.what());
    } catch (const std::exception& error) {
        Refuse(response, 500, std::string("The request could not be served: ") + error.what());
    }
}
