#include "Exchange.h"

#include "RecordJson.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>

#include <algorithm>
#include <iterator>

namespace
{

const OutcomeInfo OUTCOMES[] = {
    {EOutcome::Success, "success", "", false, ExitSuccess},
    {EOutcome::Refused, "refused", "the server answered, and did not say success", true, ExitNo},
    {EOutcome::RefusedOrFailed, "refused or failed",
     "bSucc is false: the server said no, or the exchange failed; of an exchange that failed the log says "
     "why",
     true, ExitNo},
    {EOutcome::ReturnedFalse, "refused or failed",
     "the call returned false before its time-out: the server said no, or the exchange failed", false,
     ExitNo},
    {EOutcome::NeverTrue, "no, as always",
     "the call returned false, as it always does: no reply counts as a success here", false, ExitNo},
    {EOutcome::NoAnswerInTime, "no answer in time", "no answer came in time", false, ExitNoAnswer},
    {EOutcome::Sent, "sent; this operation has no answer",
     "it is delivered while the program ends, which waits for it for the transport's drain time "
     "(CHTTPCLIENT_DRAIN_MS, by default 3 s); a failure shows in the log alone",
     true, ExitSuccess},
    {EOutcome::NothingSent, "nothing is sent", "", false, ExitSuccess},
};

/// Whether the argument of the signal that only a decoded answer fills is filled.
bool HasServersAnswer(const Operation& operation, const NamedValues& vecArguments)
{
    return std::any_of(vecArguments.begin(), vecArguments.end(), [&](const auto& argument) {
        const auto& [strName, varValue] = argument;
        return strName == operation.answer.strFilledByServer && varValue.isValid() && varValue != QString();
    });
}

EOutcome OutcomeOf(const Operation& operation, const std::optional<NamedValues>& optSignal)
{
    if (!operation.answer.bSends) {
        return EOutcome::NothingSent;
    }
    if (!operation.answer.signal) {
        return EOutcome::Sent;
    }
    if (!optSignal) {
        return EOutcome::NoAnswerInTime;
    }
    const bool bSucc = optSignal->front().second.toBool(); // every signal begins with it
    if (bSucc) {
        return EOutcome::Success;
    }
    return HasServersAnswer(operation, *optSignal) ? EOutcome::Refused : EOutcome::RefusedOrFailed;
}

/// A blocking sender does not say why it returns false, so how long it waited must tell.
EOutcome OutcomeOf(const SyncSender& sender, bool bSucc, std::int64_t nMilliseconds, int nTimeoutMs)
{
    if (bSucc) {
        return EOutcome::Success;
    }
    if (nMilliseconds - sender.nPauseMs >= nTimeoutMs) {
        return EOutcome::NoAnswerInTime;
    }
    return sender.bEverTrue ? EOutcome::ReturnedFalse : EOutcome::NeverTrue;
}

} // namespace

const OutcomeInfo& InfoOf(EOutcome eOutcome)
{
    return *std::find_if(std::begin(OUTCOMES), std::end(OUTCOMES),
                         [&](const OutcomeInfo& info) { return info.eOutcome == eOutcome; });
}

int IdOf(const Exchange& exchange)
{
    return exchange.bSync ? exchange.pOperation->optSync->nId : exchange.pOperation->nId;
}

Exchange RunAsync(const AgentSession& session, const Operation& operation, Arguments& arguments,
                  int nTimeoutMs)
{
    QEventLoop loop;
    std::optional<NamedValues> optSignal;
    if (operation.answer.signal) {
        operation.answer.signal.Connect(&loop, [&](const NamedValues& vecArguments) {
            optSignal = vecArguments;
            loop.quit();
        });
    }

    QElapsedTimer clock;
    clock.start();
    operation.fnSend(session.Req(), arguments);
    if (operation.answer.signal) {
        QTimer::singleShot(nTimeoutMs, Qt::PreciseTimer, &loop, &QEventLoop::quit);
        loop.exec();
    }
    return {&operation, false, OutcomeOf(operation, optSignal), clock.elapsed(), optSignal};
}

Exchange RunSync(const AgentSession& session, const Operation& operation, Arguments& arguments,
                 int nTimeoutMs)
{
    const SyncSender& sender = operation.optSync.value();
    NamedValues vecReturned{{"bSucc", false}};
    QElapsedTimer clock;
    clock.start();
    const bool bSucc = sender.fnSend(session.Req(), arguments, nTimeoutMs, vecReturned);
    const std::int64_t nMilliseconds = clock.elapsed();
    vecReturned.front().second = bSucc;
    return {&operation, true, OutcomeOf(sender, bSucc, nMilliseconds, nTimeoutMs), nMilliseconds,
            vecReturned};
}

void WriteExchange(ValueWriter& writer, const Exchange& exchange)
{
    writer.StartObject();
    WriteExchangeMembers(writer, exchange);
    writer.EndObject();
}

void WriteExchangeMembers(ValueWriter& writer, const Exchange& exchange)
{
    writer.Key("operation");
    writer.Text(exchange.pOperation->strName);
    writer.Key("id");
    writer.Integer(IdOf(exchange));
    writer.Key("outcome");
    writer.Text(InfoOf(exchange.eOutcome).szWord);
    writer.Key("milliseconds");
    writer.Integer(exchange.nMilliseconds);
    writer.Key(AnswerKind(exchange));
    WriteAnswer(writer, exchange.optAnswer);
}

const char* AnswerKind(const Exchange& exchange)
{
    return exchange.bSync ? "returned" : "signal";
}

void WriteAnswer(ValueWriter& writer, const std::optional<NamedValues>& optAnswer)
{
    if (!optAnswer) {
        writer.Null();
        return;
    }
    writer.StartObject();
    for (const auto& [strName, varValue] : *optAnswer) {
        writer.Key(strName);
        WriteVariant(writer, varValue);
    }
    writer.EndObject();
}
