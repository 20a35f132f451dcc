#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

// What one exchange with a server may take, on both interfaces alike. Settings from the environment:
//
// - CHTTPCLIENT_TIMEOUT_MS, in milliseconds, by default 60000: the time of a request, from its sending on.
// For a
//   blocking call it is the time after which a request that the call left behind is given up; for a download
//   the time of the whole.
// - CHTTPCLIENT_MAX_REPLY_BYTES, by default 67108864: the largest body of a reply, unpacked; the largest file
//   of a download.
//
// The transport reads them with each `CHttpClientInit`, and logs a value that is no decimal number or out of
// its range, which leaves the default in force. The blocking interface reads them once, when `CUIAgentReq` is
// made or a download is begun before, and leaves the logging to the transport: a site's own transport has to
// do that too.

// libcurl takes its times as a long, which has 32 bits on Windows.
inline constexpr std::int64_t MAX_MILLISECONDS = std::numeric_limits<std::int32_t>::max();

struct SExchangeLimits {
    std::chrono::milliseconds timeout{60'000};
    std::size_t nMaxReplyBytes = std::size_t{64} * 1024 * 1024;
};

inline constexpr const char* EXCHANGE_TIMEOUT_VARIABLE = "CHTTPCLIENT_TIMEOUT_MS";
inline constexpr const char* REPLY_BYTES_VARIABLE = "CHTTPCLIENT_MAX_REPLY_BYTES";

/// The limits of the blocking interface. May be called from any thread.
const SExchangeLimits& ExchangeLimits();

/// The limits that the environment gives now.
/// @param vecComplaints  gets a sentence for each variable that can't be used
SExchangeLimits ReadExchangeLimits(std::vector<std::string>& vecComplaints);
