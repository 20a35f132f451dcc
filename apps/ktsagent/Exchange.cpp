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
    {Outcome::Success, "success", "", false, ExitSuccess},
    {Outcome::Refused, "refused", "the server answered, and did not say success", true, ExitNo},
    {Outcome::Failed, "failed", "", false, ExitNo}, // the call says why
    {Outcome::RefusedOrFailed, "refused or failed",
     "bSucc is false: the server said no, or the exchange failed; of an exchange that failed the log says "
     "why",
     true, ExitNo},
    {Outcome::NeverTrue, "no, as always",
     "the server answered, and the call returned false as it always does: no reply counts as a success here",
     false, ExitNo},
    {Outcome::NoAnswerInTime, "no answer in time", "no answer came in time", false, ExitNoAnswer},
    {Outcome::Sent, "sent; this operation has no answer",
     "it is delivered while the program ends, which waits for it for the transport's drain time "
     "(CHTTPCLIENT_DRAIN_MS, by default 3 s); a failure shows in the log alone",
     true, ExitSuccess},
    {Outcome::NothingSent, "nothing is sent", "", false, ExitSuccess},
};

/// Whether the signal has a value in the argument that only a decoded answer of the server fills.
bool HasServersAnswer(const Operation& operation, const NamedValues& vecArguments)
{
    return std::any_of(vecArguments.begin(), vecArguments.end(), [&](const auto& argument) {
        const auto& [strName, varValue] = argument;
        return strName == operation.answer.strFilledByServer && varValue.isValid() && varValue != QString();
    });
}

Outcome OutcomeOf(const Operation& operation, const std::optional<NamedValues>& optSignal)
{
    if (!operation.answer.bSends) {
        return Outcome::NothingSent;
    }
    if (!operation.answer.signal) {
        return Outcome::Sent;
    }
    if (!optSignal) {
        return Outcome::NoAnswerInTime;
    }
    const bool bSucc = optSignal->front().second.toBool(); // the first argument of every signal
    if (bSucc) {
        return Outcome::Success;
    }
    return HasServersAnswer(operation, *optSignal) ? Outcome::Refused : Outcome::RefusedOrFailed;
}

Outcome OutcomeOf(const SyncSender& sender, const SBlockingOutcome& blocking)
{
    switch (blocking.eEnd) {
    case EBlockingEnd::Answered:
        if (blocking.bSucc) {
            return Outcome::Success;
        }
        return sender.bEverTrue ? Outcome::Refused : Outcome::NeverTrue;
    case EBlockingEnd::TimedOut:
        return Outcome::NoAnswerInTime;
    default:
        return Outcome::Failed;
    }
}

void WriteBlockingOutcome(ValueWriter& writer, const SBlockingOutcome& blocking)
{
    writer.StartObject();
    writer.Key("url");
    writer.Text(blocking.strUrl.toStdString());
    writer.Key("httpStatus");
    writer.Integer(blocking.nHttpStatus);
    writer.Key("error");
    writer.Text(blocking.strError.toStdString());
    writer.Key("milliseconds");
    writer.Integer(blocking.nMilliseconds);
    writer.EndObject();
}

} // namespace

const OutcomeInfo& InfoOf(Outcome eOutcome)
{
    return *std::find_if(std::begin(OUTCOMES), std::end(OUTCOMES),
                         [&](const OutcomeInfo& info) { return info.eOutcome == eOutcome; });
}

int IdOf(const Exchange& exchange)
{
    return exchange.optBlocking ? exchange.pOperation->optSync->nId : exchange.pOperation->nId;
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
    return {&operation, OutcomeOf(operation, optSignal), clock.elapsed(), optSignal, std::nullopt};
}

Exchange RunSync(const AgentSession& session, const Operation& operation, Arguments& arguments,
                 int nTimeoutMs)
{
    const SyncSender& sender = operation.optSync.value();
    NamedValues vecReturned{{"bSucc", false}};
    QElapsedTimer clock;
    clock.start();
    vecReturned.front().second = sender.fnSend(session.Req(), arguments, nTimeoutMs, vecReturned);
    const std::int64_t nMilliseconds = clock.elapsed();
    const SBlockingOutcome blocking = session.Req().LastOutcome();
    return {&operation, OutcomeOf(sender, blocking), nMilliseconds, vecReturned, blocking};
}

std::string RemarkOf(const Exchange& exchange)
{
    const QString strError = exchange.optBlocking ? exchange.optBlocking->strError : QString();
    return strError.isEmpty() ? InfoOf(exchange.eOutcome).szRemark : strError.toStdString();
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
    if (exchange.optBlocking) {
        writer.Key("exchange");
        WriteBlockingOutcome(writer, *exchange.optBlocking);
    }
    writer.Key(AnswerKind(exchange));
    WriteAnswer(writer, exchange.optAnswer);
}

const char* AnswerKind(const Exchange& exchange)
{
    return exchange.optBlocking ? "returned" : "signal";
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
