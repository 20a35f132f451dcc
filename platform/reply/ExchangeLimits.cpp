#include "ExchangeLimits.h"

#include "platform/system/Environment.h"

SExchangeLimits ReadExchangeLimits(std::vector<std::string>& vecComplaints)
{
    constexpr SNumberRange ANY_SIZE{1, std::numeric_limits<std::int64_t>::max()};
    SExchangeLimits limits;
    limits.timeout = std::chrono::milliseconds(EnvironmentNumber(
        EXCHANGE_TIMEOUT_VARIABLE, limits.timeout.count(), {1, MAX_MILLISECONDS}, vecComplaints));
    limits.nMaxReplyBytes =
        EnvironmentNumber(REPLY_BYTES_VARIABLE, limits.nMaxReplyBytes, ANY_SIZE, vecComplaints);
    return limits;
}

const SExchangeLimits& ExchangeLimits()
{
    static const SExchangeLimits limits = [] {
        std::vector<std::string> vecComplaints; // the transport logs them
        return ReadExchangeLimits(vecComplaints);
    }();
    return limits;
}
