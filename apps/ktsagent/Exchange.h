#pragma once

#include "AgentSession.h"
#include "Operations.h"
#include "ValueWriter.h"

#include <optional>

/// The exit statuses of the program.
enum ExitStatus {
    ExitSuccess = 0,
    ExitNo = 1, ///< the server said no, or the exchange failed
    ExitUsage = 2,
    ExitNoAnswer = 3, ///< no answer came in time
};

enum class Outcome {
    Success,
    Refused,
    Failed,
    RefusedOrFailed,
    NeverTrue,
    NoAnswerInTime,
    Sent,
    NothingSent,
};

/// How an outcome is shown.
struct OutcomeInfo {
    Outcome eOutcome;
    const char* szWord;   ///< as it is printed
    const char* szRemark; ///< for standard error; empty if there is nothing to add
    bool bLogged;         ///< whether the log may contain more about it
    ExitStatus eExit;
};

const OutcomeInfo& InfoOf(Outcome eOutcome);

/// One call of an operation and its result.
struct Exchange {
    const Operation* pOperation;
    Outcome eOutcome;
    /// From the call to the answer or to the end of the wait; for a blocking call, its whole duration.
    std::int64_t nMilliseconds;
    /// The arguments of the signal; for a blocking call its return value, then its out-parameters.
    std::optional<NamedValues> optAnswer;
    std::optional<SBlockingOutcome> optBlocking; ///< how a blocking call ended; else empty
};

/// The request type id of an exchange's request.
int IdOf(const Exchange& exchange);

/// Calls an asynchronous sender and waits for its answer, if it has one. Runs an event loop on the calling
/// thread, which must be the session's.
/// @param arguments   the arguments of the operation, passed to it by reference
/// @param nTimeoutMs  how long the answer may take
Exchange RunAsync(const AgentSession& session, const Operation& operation, Arguments& arguments,
                  int nTimeoutMs);

/// Calls the blocking sender of an operation that has one. To be called on the session's thread.
/// @param arguments   the arguments of the operation, passed to it by reference
/// @param nTimeoutMs  passed to the sender
Exchange RunSync(const AgentSession& session, const Operation& operation, Arguments& arguments,
                 int nTimeoutMs);

/// What to print about an exchange on standard error; empty if there is nothing to add.
std::string RemarkOf(const Exchange& exchange);

/// Writes an exchange as an object: operation, id, outcome, milliseconds and, as "signal", what came back;
/// for a blocking call instead how it ended and, as "returned", what came back.
void WriteExchange(ValueWriter& writer, const Exchange& exchange);
/// Writes the same members into an object that is already open, and leaves it open.
void WriteExchangeMembers(ValueWriter& writer, const Exchange& exchange);

/// Writes what came back as an object, or null if nothing did.
void WriteAnswer(ValueWriter& writer, const std::optional<NamedValues>& optAnswer);

/// What kind of answer an exchange has: "signal", or "returned" for a blocking call.
const char* AnswerKind(const Exchange& exchange);
