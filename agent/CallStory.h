#pragma once

#include <ktshttpagent/BlockingOutcome.h>

#include <string>

struct ExchangeEnd;

/// A blocking call that is over, for the log and the figures.
struct FinishedCall {
    const SBlockingOutcome& outcome;
    bool bPost;
    const std::string& strReport; ///< the body of the request, of which nothing must reach the log
    const ExchangeEnd* pEnd;      ///< how its exchange ended; null if that has not ended
};

/// Whether the server did not do what it was asked for. The sender of battery data returns false even if it
/// did, so its reply is judged by its code.
bool HasFailed(const FinishedCall& call);

/// Why the call ended as it did, in words, without passwords.
std::string WhyItEnded(const FinishedCall& call);

/// Tells the trace, if there is one, how the call went, as the last part of its exchange.
void TraceCallEnd(const FinishedCall& call, const void* pExchange) noexcept;

/// Logs one line at level 2 if the call failed, at level 4 if it did not. Makes the line only if the log
/// takes that level.
void LogCall(const FinishedCall& call) noexcept;
