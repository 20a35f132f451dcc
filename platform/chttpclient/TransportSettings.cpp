#include "TransportSettings.h"

#include "platform/proxy/CurlProxy.h"
#include "platform/system/Environment.h"
#include "platform/text/LogWords.h"

#include <ktshttpagent/clog.h>

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace chttpclient
{
namespace
{

using Complaints = std::vector<std::string>;

std::chrono::milliseconds ReadTime(const char* szName, std::chrono::milliseconds time, std::int64_t nMin,
                                   Complaints& vecComplaints)
{
    return std::chrono::milliseconds(
        EnvironmentNumber(szName, time.count(), {nMin, MAX_MILLISECONDS}, vecComplaints));
}

std::vector<std::string> ReadProxies()
{
    std::vector<std::string> vecProxies;
    for (const char* const szName : PROXY_VARIABLES) {
        const std::string strValue = EnvironmentVariable(szName).value_or("");
        if (!strValue.empty()) {
            vecProxies.push_back(std::string(szName) + '=' + WithoutPassword(strValue));
        }
    }
    return vecProxies;
}

} // namespace

TransportSettings ReadTransportSettings()
{
    Complaints vecComplaints;
    TransportSettings settings;
    settings.connectTimeout =
        ReadTime("CHTTPCLIENT_CONNECT_TIMEOUT_MS", settings.connectTimeout, 1, vecComplaints);
    static_cast<ExchangeLimits&>(settings) = ReadExchangeLimits(vecComplaints);
    settings.nHostConnections = EnvironmentNumber("CHTTPCLIENT_HOST_CONNECTIONS", settings.nHostConnections,
                                                  {1, 1'000}, vecComplaints);
    settings.nMaxOutstanding = EnvironmentNumber("CHTTPCLIENT_MAX_OUTSTANDING", settings.nMaxOutstanding,
                                                 {1, std::numeric_limits<int>::max()}, vecComplaints);
    settings.drain = ReadTime("CHTTPCLIENT_DRAIN_MS", settings.drain, 0, vecComplaints);
    settings.postIdle = ReadTime("CHTTPCLIENT_POST_IDLE_MS", settings.postIdle, 0, vecComplaints);
    settings.strCaFile = EnvironmentVariable("CHTTPCLIENT_CA_FILE").value_or("");
    settings.bEnvironmentsProxy = !RightsAreRaised();
    settings.vecProxies = ReadProxies();
    settings.nLogLevel = LogLevelOfEnvironment();
    for (const std::string& strComplaint : vecComplaints) {
        Log_Write(1, "chttpclient::ReadTransportSettings", __LINE__, "%s", strComplaint.c_str());
    }
    return settings;
}

} // namespace chttpclient
