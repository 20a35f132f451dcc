#include "DemoOutbox.h"

#include "Exchange.h"

#include "labserver/LabServer.h"

#include <ktshttpagent/IVelClientSDk.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>

#include <functional>
#include <iostream>
#include <map>
#include <memory>

namespace
{

constexpr int REPORTS = 5;
/// Far longer than anything takes here.
constexpr int LONGEST_WAIT_MS = 20'000;

/// One of the hosts.
class DemoHost
{
public:
    DemoHost(const QString& strFolder, const std::string& strUrl, int nReports)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const QString& strName : environment.keys()) {
            if (strName.startsWith("CHTTPCLIENT_") || strName.startsWith("KTSHTTPAGENT_OUTBOX")) {
                environment.remove(strName); // the demo shows the same on every machine
            }
        }
        environment.insert("KTSHTTPAGENT_OUTBOX", strFolder);
        m_process.setProcessEnvironment(environment);
        m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process.start(QCoreApplication::applicationFilePath(),
                        {"demo-host", QString::fromStdString(strUrl), QString::number(nReports)});
        m_process.waitForStarted(LONGEST_WAIT_MS);
    }

    /// How many of its reports it knows to be kept; waits until that many are.
    int Kept(int nWanted)
    {
        QElapsedTimer clock;
        clock.start();
        while (m_baOutput.count('\n') < nWanted && !clock.hasExpired(LONGEST_WAIT_MS)) {
            m_process.waitForReadyRead(100);
            m_baOutput += m_process.readAllStandardOutput();
        }
        return m_baOutput.count('\n');
    }

    void Kill()
    {
        m_process.kill();
        m_process.waitForFinished(LONGEST_WAIT_MS);
    }

    /// @return whether it ends well when it is told to
    bool End()
    {
        m_process.closeWriteChannel();
        return m_process.waitForFinished(LONGEST_WAIT_MS) && m_process.exitStatus() == QProcess::NormalExit &&
               m_process.exitCode() == ExitSuccess;
    }

private:
    QProcess m_process;
    QByteArray m_baOutput;
};

/// How often each report arrived, by its body.
std::map<std::string, int> Arrived(const LabServer& server)
{
    std::map<std::string, int> mapTimes;
    for (const LabExchange& exchange : server.Exchanges()) {
        ++mapTimes[exchange.strBody];
    }
    return mapTimes;
}

/// Sends reports, prints a line for each that is kept, and goes on until its input ends.
int RunDemoHost(const std::string& strUrl, int nReports)
{
    VelCSDK::IVelClientSDk& client = *VelCSDK::SDKFactory::GetInstance();
    client.Init();
    client.SetServerUrl(strUrl);
    client.SetResponseCallBack([](int, const void*, const void*, int nResult) {
        if (nResult == 0) {
            std::cout << "kept\n" << std::flush;
        }
    });
    for (int nReport = 1; nReport <= nReports; ++nReport) {
        KTSStartPlugin::tagRepoIncubatorStatus status;
        status.name = "INC-" + std::to_string(nReport);
        client.ReportIncubatorStatus(status);
    }
    while (std::cin.get() != std::char_traits<char>::eof()) {
    }
    return ExitSuccess;
}

} // namespace

OutboxDemo RunOutboxDemo()
{
    OutboxDemo demo;
    demo.nReports = REPORTS;
    const QTemporaryDir folder;
    LabServerOptions options;
    {
        LabServer server; // finds a free port, and then stops
        options.nPort = server.Start();
    }
    const std::string strUrl = "http://127.0.0.1:" + std::to_string(options.nPort) + "/";
    demo.vecSteps.emplace_back("the server stops");
    DemoHost first(folder.path(), strUrl, REPORTS);
    const int nKept = first.Kept(REPORTS);
    demo.vecSteps.push_back("a host is given " + std::to_string(REPORTS) + " reports and keeps " +
                            std::to_string(nKept) + " in its outbox");
    first.Kill();
    demo.vecSteps.emplace_back("the host is killed");
    LabServer server(options);
    server.Start();
    demo.vecSteps.emplace_back("the server comes back, and another host starts");
    DemoHost second(folder.path(), strUrl, 0);
    QElapsedTimer clock;
    clock.start();
    while (Arrived(server).size() < std::size_t{REPORTS} && !clock.hasExpired(LONGEST_WAIT_MS)) {
        QThread::msleep(5);
    }
    const bool bEnded = second.End();
    for (const auto& [strBody, nTimes] : Arrived(server)) {
        ++demo.nArrived;
        demo.nTwice += nTimes > 1 ? 1 : 0;
    }
    demo.vecSteps.push_back("the server has " + std::to_string(demo.nArrived) + " reports, " +
                            std::to_string(demo.nTwice) + " of them twice");
    demo.bAsExpected = nKept == REPORTS && demo.nArrived == REPORTS && demo.nTwice == 0 && bEnded;
    return demo;
}

void AddDemoHostCommand(CLI::App& app, int& nExit)
{
    struct Given {
        std::string strUrl;
        int nReports = 0;
    };
    CLI::App& command = *app.add_subcommand("demo-host", "One of the hosts of the demo")->group("");
    const auto pGiven = std::make_shared<Given>();
    command.add_option("url", pGiven->strUrl)->required();
    command.add_option("reports", pGiven->nReports)->required();
    command.callback([pGiven, &nExit] { nExit = RunDemoHost(pGiven->strUrl, pGiven->nReports); });
}
