#include "ExchangeLimits.h"

#include "platform/system/Environment.h"

ExchangeLimits ReadExchangeLimits(std::vector<std::string>& vecComplaints)
{
    constexpr NumberRange ANY_SIZE{1, std::numeric_limits<std::int64_t>::max()};
    ExchangeLimits limits;
    limits.timeout = std::chrono::milliseconds(EnvironmentNumber(
        EXCHANGE_TIMEOUT_VARIABLE, limits.timeout.count(), {1, MAX_MILLISECONDS}, vecComplaints));
    limits.nMaxReplyBytes =
        EnvironmentNumber(REPLY_BYTES_VARIABLE, limits.nMaxReplyBytes, ANY_SIZE, vecComplaints);
    return limits;
}

const ExchangeLimits& ExchangeLimitsInForce()
{
    static const ExchangeLimits limits = [] {
        std::vector<std::string> vecComplaints; // the transport logs them
        return ReadExchangeLimits(vecComplaints);
    }();
    return limits;
}
