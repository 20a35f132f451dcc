#include "Stages.h"

#include <cmath>

namespace
{

constexpr qint64 SECONDS_TO_WARN = 30;
constexpr qint64 SECONDS_TO_FAIL = 300;

} // namespace

Findings CheckClock(Context& context)
{
    if (context.Usable().empty()) {
        return {{Mark::Skipped, "The server can't be reached."}};
    }
    if (!context.optServerTime) {
        return {{Mark::Ok, "The server does not say its time, so the clocks can't be compared."}};
    }
    const qint64 nSeconds = context.optServerTime->secsTo(context.tpServerTime);
    const qint64 nApart = std::abs(nSeconds);
    const std::string strSays = "This clock is " + std::to_string(nApart) + " s " +
                                (nSeconds < 0 ? "behind" : "ahead of") + " the server's.";
    if (nApart < SECONDS_TO_WARN) {
        return {{Mark::Ok, "This clock and the server's agree to " + std::to_string(nApart + 1) + " s."}};
    }
    return {
        {nApart < SECONDS_TO_FAIL ? Mark::Warning : Mark::Failed, strSays,
         "Set both clocks by a time server: reports carry times, and certificates are judged by the clock."}};
}
