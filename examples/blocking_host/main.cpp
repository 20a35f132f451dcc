// A host that waits for its answers: asks whether a channel may start, and if so, reports its first cycle.
//
//     blocking_host HOST PORT CHANNEL [MILLISECONDS]
//
// The exit status tells a script what happened: 0 the channel started, 1 the server forbids it, 2 wrong
// usage, 3 there is no answer, 4 the channel started, but the report has not arrived.

#include <ktshttpagent/BlockingOutcome.h>
#include <ktshttpagent/CUIAgentReq.h>

#include <QCoreApplication>
#include <QTextStream>

#include <string>

namespace
{

enum ExitStatus : int { Started = 0, Forbidden = 1, WrongUsage = 2, NoAnswer = 3, NotReported = 4 };

constexpr const char* CELL = "CELL-0001";

void Print(const QString& strLine)
{
    QTextStream(stdout) << strLine << '\n';
}

/// A blocking call alone says yes or no. How it ended says whether that is the server's answer to this very
/// question; only then may a host act on it.
bool IsAnswered(const SBlockingOutcome& outcome)
{
    if (outcome.eEnd == EBlockingEnd::Answered) {
        return true;
    }
    Print(QString("no answer after %1 ms: %2").arg(outcome.nMilliseconds).arg(outcome.strError));
    return false;
}

ExitStatus MayStart(const QString& strHost, int nPort, int nTimeout, const std::string& strChannel)
{
    CUIAgentReq& agent = *CUIAgentReq::Instance();
    tagSRequestGetChannelCheckData question;
    question.wtNumId = 1201;
    question.xmNameId = 107;
    question.dxtm = CELL;
    question.deviceId = "KTS-0007";
    question.chl = strChannel;
    question.purpose = "cycle life";
    bool bAllow = false;
    QString strReason;
    const bool bSucc = agent.SendGetChannelCheckDataEx(strHost, nPort, nTimeout, question, bAllow, strReason);
    // Right after the call, because it describes the last one.
    if (!IsAnswered(agent.LastOutcome())) {
        return NoAnswer;
    }
    const bool bStarts = bSucc && bAllow;
    Print(QString("channel %1 %2: %3")
              .arg(QString::fromStdString(strChannel), bStarts ? "may start" : "must not start", strReason));
    return bStarts ? Started : Forbidden;
}

ExitStatus ReportCycle(const QString& strHost, int nPort, int nTimeout)
{
    CUIAgentReq& agent = *CUIAgentReq::Instance();
    const QString strUrl = QString("http://%1:%2/").arg(strHost).arg(nPort);
    const std::string strCycle = std::string(R"({"dxtm":")") + CELL + R"(","cycle":1})";
    // After a failure this sleeps for two seconds, so a host does not flood a server that is in trouble.
    const bool bSucc = agent.SendPostReportCycleDataEx(strUrl, nTimeout, strCycle);
    if (!IsAnswered(agent.LastOutcome())) {
        return NotReported;
    }
    Print(bSucc ? "the server has the report" : "the server refuses the report");
    return bSucc ? Started : NotReported;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv); // the blocking senders run an event loop, which needs it
    const QStringList lstArguments = QCoreApplication::arguments();
    if (lstArguments.size() < 4) {
        Print("usage: blocking_host HOST PORT CHANNEL [MILLISECONDS]");
        return WrongUsage;
    }
    const QString& strHost = lstArguments[1];
    const int nPort = lstArguments[2].toInt();
    const int nTimeout = lstArguments.value(4, "5000").toInt();

    // Each call returns only the answer to itself: neither a late answer to an earlier call nor, after a
    // time-out, the result of the one before.
    CUIAgentReq::Instance()->SetStrictWaits(true);
    CUIAgentReq::Instance()->SetQueryEscaping(true); // texts reach the server as they are

    const ExitStatus eStatus = MayStart(strHost, nPort, nTimeout, lstArguments[3].toStdString());
    return eStatus == Started ? ReportCycle(strHost, nPort, nTimeout) : eStatus;
}
