#include "StartStory.h"

#include "platform/text/Escaping.h"

#include <curl/curl.h>

namespace chttpclient
{
namespace
{

const char* OrNone(const char* szText)
{
    return szText != nullptr ? szText : "none";
}

std::string Versions()
{
    const curl_version_info_data& version = *curl_version_info(CURLVERSION_NOW);
    return "libcurl " + std::string(version.version) + ", TLS library " + OrNone(version.ssl_version) +
           ", zlib " + OrNone(version.libz_version);
}

template <class Number>
std::string Setting(const char* szName, Number nValue)
{
    return std::string(", ") + szName + '=' + std::to_string(nValue);
}

} // namespace

std::string StoryOfStart(const TransportSettings& settings)
{
    std::string strStory =
        "started: " + Versions() + "; settings in force: CLOG_LEVEL=" + std::to_string(settings.nLogLevel) +
        Setting("CHTTPCLIENT_CONNECT_TIMEOUT_MS", settings.connectTimeout.count()) +
        Setting(EXCHANGE_TIMEOUT_VARIABLE, settings.timeout.count()) +
        Setting("CHTTPCLIENT_HOST_CONNECTIONS", settings.nHostConnections) +
        Setting(REPLY_BYTES_VARIABLE, settings.nMaxReplyBytes) +
        Setting("CHTTPCLIENT_MAX_OUTSTANDING", settings.nMaxOutstanding) +
        Setting("CHTTPCLIENT_POST_IDLE_MS", settings.postIdle.count()) +
        Setting("CHTTPCLIENT_DRAIN_MS", settings.drain.count()) +
        (settings.strCaFile.empty() ? ", the system's authorities"
                                    : ", CHTTPCLIENT_CA_FILE=" + EscapeUnsafe(settings.strCaFile));
    if (!settings.bEnvironmentsProxy) {
        return strStory + ", no proxy, because the process has raised rights";
    }
    for (const std::string& strProxy : settings.vecProxies) {
        strStory += ", " + EscapeUnsafe(strProxy);
    }
    return strStory + (settings.vecProxies.empty() ? ", no proxy variables" : "");
}

} // namespace chttpclient
