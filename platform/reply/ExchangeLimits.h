#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

// The limits of one exchange with a server, the same on both interfaces. Settings from the environment:
//
// - CHTTPCLIENT_TIMEOUT_MS, in milliseconds, by default 60000: how long a request may take once it is sent. A
//   request that outlives its blocking call is given up after this time. For a download, it is the time that
//   the whole download may take.
// - CHTTPCLIENT_MAX_REPLY_BYTES, by default 67108864: the largest unpacked body of a reply, and the largest
//   file of a download.
//
// The transport reads them at each `CHttpClientInit`. It logs a value that is not a decimal number or is out
// of range; the default then stays in force. The blocking interface reads them once, when `CUIAgentReq` is
// created or, if earlier, when a download is started. It leaves the logging to the transport, so a site's own
// transport must log such values too.

// libcurl takes times as a long, which has 32 bits on Windows.
inline constexpr std::int64_t MAX_MILLISECONDS = std::numeric_limits<std::int32_t>::max();

struct ExchangeLimits {
    std::chrono::milliseconds timeout{60'000};
    std::size_t nMaxReplyBytes = std::size_t{64} * 1024 * 1024;
};

inline constexpr const char* EXCHANGE_TIMEOUT_VARIABLE = "CHTTPCLIENT_TIMEOUT_MS";
inline constexpr const char* REPLY_BYTES_VARIABLE = "CHTTPCLIENT_MAX_REPLY_BYTES";

/// The limits of the blocking interface. May be called from any thread.
const ExchangeLimits& ExchangeLimitsInForce();

/// Reads the limits from the environment.
/// @param vecComplaints  gets a sentence for each variable whose value can't be used
ExchangeLimits ReadExchangeLimits(std::vector<std::string>& vecComplaints);
