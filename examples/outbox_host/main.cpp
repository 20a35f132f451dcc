// A host whose reports survive: it keeps them in a folder until the server has them, however long the server
// is away and however often the host is killed.
//
//     outbox_host FOLDER HOST PORT REPORTS
//
// Sends the given number of reports and goes on running, as a host does. End it with Ctrl+C at any time, also
// while the server is away, and start it again with 0 reports: it sends what is left.

#include <ktshttpagent/CUIAgentReq.h>
#include <ktshttpagent/CUIAgentRsp.h>
#include <ktshttpagent/KtsOutbox.h>

#include <QCoreApplication>
#include <QTimer>

#include <iostream>

namespace
{

enum ExitStatus : int { NoOutbox = 1, WrongUsage = 2 };

/// Says how a report ended whose sender was told "stored" before. Called on a thread of the library.
void PrintEnding(const SKtsReportEnding& ending)
{
    const bool bArrived = ending.eEnding == EKtsReportEnding::Acknowledged;
    std::cout << (bArrived ? "arrived" : "is a dead letter") << ": " << ending.strReason << std::endl;
}

void SendReports(const QString& strHost, int nPort, int nReports)
{
    KtsSetReportStream("KTS-0007"); // reports of one stream arrive in the order in which they are sent
    for (int nReport = 1; nReport <= nReports; ++nReport) {
        KTSStartPlugin::tagRepoIncubatorStatus report;
        report.name = "INC-" + std::to_string(nReport);
        report.temperature = 25.5F;
        CUIAgentReq::Instance()->SendPostReportIncubatorStatus(strHost, nPort, report);
    }
}

/// Prints how the outbox is, whenever that changes.
class Watch
{
public:
    void Look()
    {
        const SKtsOutboxStatus status = KtsOutboxStatus();
        if (status.nWaiting != m_shown.nWaiting || status.nDead != m_shown.nDead ||
            status.bInAlarm != m_shown.bInAlarm) {
            std::cout << "waiting: " << status.nWaiting << ", dead: " << status.nDead
                      << (status.bInAlarm ? "; an address takes no reports, see the log" : "") << std::endl;
            m_shown = status;
        }
    }

private:
    SKtsOutboxStatus m_shown;
};

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList lstArguments = QCoreApplication::arguments();
    if (lstArguments.size() != 5) {
        std::cerr << "usage: outbox_host FOLDER HOST PORT REPORTS" << std::endl;
        return WrongUsage;
    }

    KtsSetOutboxObserver(&PrintEnding);
    if (!KtsOpenOutbox(lstArguments[1].toStdString())) { // before the first report
        std::cerr << "no outbox: " << KtsOutboxStatus().strWhyNotOpen << std::endl;
        return NoOutbox;
    }
    // With an outbox, success means: the server has the report, or it is safe in the folder.
    QObject::connect(CUIAgentRsp::Instance(), &CUIAgentRsp::SigPostReportIncubatorStatusRet, &app,
                     [](bool bSucc) {
                         std::cout << (bSucc ? "safe" : "refused, or neither sent nor stored") << std::endl;
                     });
    SendReports(lstArguments[2], lstArguments[3].toInt(), lstArguments[4].toInt());

    Watch watch;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &app, [&watch] { watch.Look(); });
    timer.start(100);
    return QCoreApplication::exec();
}
