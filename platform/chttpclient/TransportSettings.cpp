#include "TransportSettings.h"

#include "platform/clog/clog.h"
#include "platform/system/Environment.h"

#include <charconv>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>

namespace chttpclient
{
namespace
{

// libcurl takes its times as a long, which has 32 bits on Windows.
constexpr std::int64_t MAX_MILLISECONDS = std::numeric_limits<std::int32_t>::max();

/// The decimal number that an environment variable holds, if it lies in the range; or else the default.
std::int64_t ReadNumber(const char* szName, std::int64_t nDefault, std::int64_t nMin, std::int64_t nMax)
{
    const std::optional<std::string> strValue = EnvironmentVariable(szName);
    if (!strValue) {
        return nDefault;
    }
    std::int64_t nValue = 0;
    const char* const pValueEnd = strValue->data() + strValue->size();
    const auto [pEnd, error] = std::from_chars(strValue->data(), pValueEnd, nValue);
    if (error != std::errc() || pEnd != pValueEnd || nValue < nMin || nValue > nMax) {
        Log_Write(1, "chttpclient::ReadTransportSettings", __LINE__,
                  "%s is \"%s\", no number from %lld to %lld; %lld stays in force", szName, strValue->c_str(),
                  static_cast<long long>(nMin), static_cast<long long>(nMax),
                  static_cast<long long>(nDefault));
        return nDefault;
    }
    return nValue;
}

std::chrono::milliseconds ReadTime(const char* szName, std::chrono::milliseconds time, std::int64_t nMin)
{
    return std::chrono::milliseconds(ReadNumber(szName, time.count(), nMin, MAX_MILLISECONDS));
}

std::size_t ReadCount(const char* szName, std::size_t nCount, std::int64_t nMax)
{
    return static_cast<std::size_t>(ReadNumber(szName, static_cast<std::int64_t>(nCount), 1, nMax));
}

} // namespace

STransportSettings ReadTransportSettings()
{
    STransportSettings settings;
    settings.connectTimeout = ReadTime("CHTTPCLIENT_CONNECT_TIMEOUT_MS", settings.connectTimeout, 1);
    settings.timeout = ReadTime("CHTTPCLIENT_TIMEOUT_MS", settings.timeout, 1);
    settings.nHostConnections = ReadCount("CHTTPCLIENT_HOST_CONNECTIONS", settings.nHostConnections, 1'000);
    settings.nMaxReplyBytes = ReadCount("CHTTPCLIENT_MAX_REPLY_BYTES", settings.nMaxReplyBytes,
                                        std::numeric_limits<std::int64_t>::max());
    settings.nMaxOutstanding =
        ReadCount("CHTTPCLIENT_MAX_OUTSTANDING", settings.nMaxOutstanding, std::numeric_limits<int>::max());
    settings.drain = ReadTime("CHTTPCLIENT_DRAIN_MS", settings.drain, 0);
    settings.postIdle = ReadTime("CHTTPCLIENT_POST_IDLE_MS", settings.postIdle, 0);
    settings.strCaFile = EnvironmentVariable("CHTTPCLIENT_CA_FILE").value_or("");
    settings.bEnvironmentsProxy = !RightsAreRaised();
    return settings;
}

} // namespace chttpclient
