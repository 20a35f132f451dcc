#pragma once

#include "platform/reply/ExchangeLimits.h"
#include "platform/system/LogLevel.h"

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

namespace chttpclient
{

/// The transport's settings with their defaults; chttpclient.h says what each means.
struct TransportSettings : ExchangeLimits {
    std::chrono::milliseconds connectTimeout{10'000};
    std::size_t nHostConnections = 8;
    std::size_t nMaxOutstanding = 100'000;
    std::chrono::milliseconds drain{3'000};
    std::chrono::milliseconds postIdle{500};
    std::string strCaFile;          ///< empty for libcurl's default
    bool bEnvironmentsProxy = true; ///< whether libcurl takes a proxy from the environment
    /// The variables that name proxies, and hosts that need none, as "NAME=VALUE" without passwords.
    std::vector<std::string> vecProxies;
    int nLogLevel = DEFAULT_LOG_LEVEL;
};

/// Reads the settings from the environment. An unusable value is logged, and the default stays in force.
TransportSettings ReadTransportSettings();

} // namespace chttpclient
