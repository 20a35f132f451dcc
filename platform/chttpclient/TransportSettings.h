#pragma once

#include "platform/reply/ExchangeLimits.h"

#include <chrono>
#include <cstddef>
#include <string>

namespace chttpclient
{

/// The transport's settings with their defaults; chttpclient.h says what each means.
struct STransportSettings : SExchangeLimits {
    std::chrono::milliseconds connectTimeout{10'000};
    std::size_t nHostConnections = 8;
    std::size_t nMaxOutstanding = 100'000;
    std::chrono::milliseconds drain{3'000};
    std::chrono::milliseconds postIdle{500};
    std::string strCaFile;          ///< empty for libcurl's own
    bool bEnvironmentsProxy = true; ///< whether libcurl takes a proxy from the environment
};

/// The settings that the environment gives. A value that can't be used is logged and leaves the default.
STransportSettings ReadTransportSettings();

} // namespace chttpclient
