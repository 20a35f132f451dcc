#include "Endpoints.h"

#include "AgentSession.h"
#include "Exchange.h"
#include "ValueWriter.h"

#include "platform/text/Escaping.h"

#include <ktshttpagent/IVelClientSDk.h>
#include <ktshttpagent/RequestType.h>

#include <algorithm>
#include <iomanip>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

namespace
{

constexpr int FIRST_ID = VelCSDK::RequestType::GetUserInfo;
constexpr int LAST_ID = VelCSDK::RequestType::ReportStepDataOrn;

struct Endpoint {
    int nId;
    std::string strPath;
    std::string strOrigin; ///< where the path comes from
};

std::vector<Endpoint> ReadEndpoints()
{
    const AgentSession session;
    VelCSDK::IVelClientSDk* const pClient = VelCSDK::SDKFactory::GetInstance();
    std::vector<Endpoint> vecEndpoints;
    for (int nId = FIRST_ID; nId <= LAST_ID; ++nId) {
        vecEndpoints.push_back({nId, pClient->GetUrl(nId), session.Req().EndpointOrigin(nId).toStdString()});
    }
    return vecEndpoints;
}

void PrintJson(const std::vector<Endpoint>& vecEndpoints)
{
    JsonWriter writer;
    writer.StartList();
    for (const Endpoint& endpoint : vecEndpoints) {
        writer.StartObject();
        writer.Key("id");
        writer.Integer(endpoint.nId);
        writer.Key("path");
        writer.Text(endpoint.strPath);
        writer.Key("origin");
        writer.Text(endpoint.strOrigin);
        writer.EndObject();
    }
    writer.EndList();
    std::cout << writer.Result() << std::endl;
}

void PrintTable(const std::vector<Endpoint>& vecEndpoints)
{
    std::size_t nWidth = 0;
    for (const Endpoint& endpoint : vecEndpoints) {
        nWidth = std::max(nWidth, EscapeUnsafe(endpoint.strPath).size());
    }
    for (const Endpoint& endpoint : vecEndpoints) {
        std::cout << endpoint.nId << "  " << std::left << std::setw(static_cast<int>(nWidth) + 2)
                  << EscapeUnsafe(endpoint.strPath) << EscapeUnsafe(endpoint.strOrigin) << "\n";
    }
    std::cout << std::flush;
}

} // namespace

void AddEndpointsCommand(CLI::App& app, int& nExit)
{
    CLI::App& command =
        *app.add_subcommand("endpoints", "The endpoint path in force for each request type id");
    const auto pJson = std::make_shared<bool>(false);
    command.add_flag("--json", *pJson, "print a JSON list");
    command.callback([pJson, &nExit] {
        (*pJson ? PrintJson : PrintTable)(ReadEndpoints());
        nExit = ExitSuccess;
    });
}
