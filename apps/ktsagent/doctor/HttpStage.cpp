#include "CurlAsker.h"
#include "QtAsker.h"
#include "Stages.h"
#include "Target.h"

#include <QElapsedTimer>
#include <QLocale>

namespace
{

constexpr int REQUESTS = 3;
constexpr std::int64_t SLOW_MS = 1000;

/// Sends requests one after the other until one fails.
template <class Asker>
std::vector<HttpAnswer> AskInTurn(Asker&& asker, const std::string& strUrl, std::chrono::milliseconds timeout)
{
    QElapsedTimer clock;
    clock.start();
    std::vector<HttpAnswer> vecAnswers;
    for (int i = 0; i == 0 || (i < REQUESTS && clock.elapsed() < timeout.count()); ++i) {
        vecAnswers.push_back(
            asker.Ask({strUrl}, timeout - std::chrono::milliseconds(clock.elapsed())).front());
        if (!vecAnswers.back().strError.empty()) {
            break;
        }
    }
    return vecAnswers;
}

Finding Failure(Interface& interface, const HttpAnswer& answer)
{
    interface.bReachesServer = false;
    const std::string strName = std::string("The ") + interface.szName;
    if (answer.bNotHttp) {
        return {Mark::Failed,
                strName + " reached something that does not speak HTTP: " + answer.strError + ".",
                "Correct the port: another service listens there, or one that wants https."};
    }
    if (answer.bTimedOut) {
        return {
            Mark::Failed,
            strName + " got no reply within " + std::to_string(answer.nMilliseconds) +
                " ms, although the server accepts connections.",
            "Look at the load and the log of the server; a larger --timeout shows whether it is only slow."};
    }
    return {Mark::Failed, strName + " got no reply: " + answer.strError + ".",
            "Look into the server's log, and check that the port is that of an HTTP server."};
}

std::string Times(const std::vector<HttpAnswer>& vecAnswers)
{
    std::string strTimes = std::to_string(vecAnswers.front().nMilliseconds) + " ms for the first request";
    for (std::size_t i = 1; i < vecAnswers.size(); ++i) {
        strTimes += (i == 1 ? ", then " : ", ") + std::to_string(vecAnswers[i].nMilliseconds) + " ms";
    }
    return strTimes;
}

/// Describes the requests of an interface.
Finding Judge(Interface& interface, const std::vector<HttpAnswer>& vecAnswers)
{
    const HttpAnswer& last = vecAnswers.back();
    if (!last.strError.empty()) {
        return Failure(interface, last);
    }
    const std::string strServer = last.Header("server");
    const std::string strSays = std::string("The ") + interface.szName + " gets replies from " +
                                (strServer.empty() ? "a server that does not name itself" : strServer) +
                                ": " + Times(vecAnswers) + ".";
    if (last.nStatus == 400 && QString::fromStdString(last.strBody).contains("HTTPS port")) {
        interface.bReachesServer = false;
        return {Mark::Failed, "The server wants https on this port.",
                "Use an https URL, or set KTSHTTPAGENT_TLS=1."};
    }
    if (vecAnswers.front().nMilliseconds > SLOW_MS) {
        return {Mark::Warning, strSays, "Look at the load of the server and of the network: that is slow."};
    }
    return {Mark::Ok, strSays};
}

Finding KeptConnection(const std::vector<HttpAnswer>& vecAnswers)
{
    const HttpAnswer& last = vecAnswers.back();
    const std::string strKeepAlive = last.Header("keep-alive");
    if (last.bNewConnection) {
        return {Mark::Warning,
                "The server closes the connection after a reply, so each request needs a new one.",
                "Let the server keep connections for at least a second."};
    }
    return {Mark::Ok, "The server keeps the connection; " + (strKeepAlive.empty()
                                                                 ? "it announces no time for that."
                                                                 : "it announces \"" + strKeepAlive + "\".")};
}

/// Keeps the server's time for the stage that compares the clocks.
void NoteTime(Context& context, const HttpAnswer& answer)
{
    const QString strDate = QString::fromStdString(answer.Header("date"));
    QDateTime tpDate = QLocale::c().toDateTime(strDate, "ddd, dd MMM yyyy hh:mm:ss 'GMT'");
    tpDate.setTimeSpec(Qt::UTC);
    if (tpDate.isValid()) {
        context.optServerTime = tpDate;
        context.tpServerTime = QDateTime::currentDateTimeUtc();
    }
}

} // namespace

Findings CheckHttp(Context& context)
{
    const std::string strUrl = UrlOf(context, context.vecPaths.front());
    Findings vecFindings;
    if (context.asynchronous.bReachesServer) {
        const auto vecAnswers = AskInTurn(CurlAsker(context.CaFile()), strUrl, context.timeout / 2);
        vecFindings.push_back(Judge(context.asynchronous, vecAnswers));
        if (context.asynchronous.bReachesServer && vecAnswers.size() > 1) {
            vecFindings.push_back(KeptConnection(vecAnswers));
        }
        NoteTime(context, vecAnswers.back());
    }
    if (context.blocking.bReachesServer) {
        const auto vecAnswers = AskInTurn(QtAsker(context), strUrl, context.timeout / 2);
        vecFindings.push_back(Judge(context.blocking, vecAnswers));
        NoteTime(context, vecAnswers.back());
    }
    return vecFindings.empty() ? Findings{{Mark::Skipped, "The server can't be reached."}} : vecFindings;
}
