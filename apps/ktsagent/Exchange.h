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
    ExitNoAnswer = 3, ///< no answer in time
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

/// What is known of an outcome.
struct OutcomeInfo {
    Outcome eOutcome;
    const char* szWord;   ///< as it is printed
    const char* szRemark; ///< for standard error; empty where all is said
    bool bLogged;         ///< whether the log may say more
    ExitStatus eExit;
};

const OutcomeInfo& InfoOf(Outcome eOutcome);

/// One call of an operation and what came of it.
struct Exchange {
    const Operation* pOperation;
    Outcome eOutcome;
    /// From the call to the answer or to the end of waiting; of a blocking call the whole of it.
    std::int64_t nMilliseconds;
    /// The arguments of the signal; of a blocking call what it returned, and then its out-parameters.
    std::optional<NamedValues> optAnswer;
    std::optional<SBlockingOutcome> optBlocking; ///< of a blocking call; empty for the asynchronous sender
};

/// The request type id that the request of an exchange travels under.
int IdOf(const Exchange& exchange);

/// Calls an asynchronous sender and waits for its answer, where it has one. Runs an event loop of the calling
/// thread, which must be the session's.
/// @param arguments   what the operation takes; handed to it by reference
/// @param nTimeoutMs  how long the answer may take
Exchange RunAsync(const AgentSession& session, const Operation& operation, Arguments& arguments,
                  int nTimeoutMs);

/// Calls the blocking sender of an operation that has one, on the session's thread.
/// @param arguments   what the operation takes; handed to it by reference
/// @param nTimeoutMs  handed to the sender
Exchange RunSync(const AgentSession& session, const Operation& operation, Arguments& arguments,
                 int nTimeoutMs);

/// What is to be said of an exchange on standard error; empty where all is said.
std::string RemarkOf(const Exchange& exchange);

/// Shows an exchange as an object: operation, id, outcome, milliseconds, and what came back as "signal" or,
/// of a blocking call, how its exchange went and what came back as "returned".
void WriteExchange(ValueWriter& writer, const Exchange& exchange);
/// The same members, into an object that is already begun and stays open.
void WriteExchangeMembers(ValueWriter& writer, const Exchange& exchange);

/// Shows what came back as an object, or null when nothing did.
void WriteAnswer(ValueWriter& writer, const std::optional<NamedValues>& optAnswer);

/// What kind of answer an exchange has: "signal", or "returned" of a blocking call.
const char* AnswerKind(const Exchange& exchange);
