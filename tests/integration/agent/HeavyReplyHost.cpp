// A host that sends one request and then prints the answer and its cost:
//   heavy_reply_host PORT REQUEST [MEGABYTES]
// MEGABYTES limits its address space from then on. It prints the number of answers, whether the last one was
// a success, and by how many bytes the resident size grew at most, from just before the request until the
// answer was received.

#include <ktshttpagent/CUIAgentReq.h>
#include <ktshttpagent/CUIAgentRsp.h>
#include <ktshttpagent/IVelClientSDk.h>
#include <ktshttpagent/ResultVariants.h>

#include <QCoreApplication>
#include <QTimer>

#include <sys/resource.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>

namespace
{

constexpr int PATIENCE_MS = 60'000;
const QString HOST = QStringLiteral("127.0.0.1");

/// A line of this process's status, "VmHWM" or "VmRSS", in bytes.
long long StatusBytes(const std::string& strName)
{
    std::ifstream status("/proc/self/status");
    for (std::string strLine; std::getline(status, strLine);) {
        if (strLine.rfind(strName + ":", 0) == 0) {
            return std::stoll(strLine.substr(strName.size() + 1)) * 1024;
        }
    }
    throw std::runtime_error("no " + strName);
}

void LimitGrowth(long long nMegabytes)
{
    rlimit limit{};
    ::getrlimit(RLIMIT_AS, &limit);
    limit.rlim_cur = static_cast<rlim_t>(StatusBytes("VmSize") + nMegabytes * 1'000'000);
    ::setrlimit(RLIMIT_AS, &limit);
}

class Host
{
public:
    explicit Host(int nPort) : m_nPort(nPort)
    {
        QObject::connect(&m_response, &CUIAgentRsp::SigGetUserInfoRet, &m_receiver,
                         [this](bool bSucc, const QVariant& /*data*/) { Receive(bSucc); });
        QObject::connect(&m_response, &CUIAgentRsp::SigPostReportChlStatRet, &m_receiver,
                         [this](bool bSucc) { Receive(bSucc); });
        QObject::connect(&m_response, &CUIAgentRsp::SigGetSupportVerRet, &m_receiver,
                         [this](bool bSucc, const QString& /*version*/) { Receive(bSucc); });
        QObject::connect(&m_response, &CUIAgentRsp::SigGetAutoExportRet, &m_receiver,
                         [this](bool bSucc, const QVariant& /*data*/) { Receive(bSucc); });
        QObject::connect(&m_response, &CUIAgentRsp::SigGetFtpFilePathRet, &m_receiver,
                         [this](bool bSucc, const QVariant& /*data*/) { Receive(bSucc); });
        QObject::connect(&m_response, &CUIAgentRsp::SigGetWhetherInCommonRet, &m_receiver,
                         [this](bool bSucc, bool /*common*/, const QString& /*dxtm*/) { Receive(bSucc); });
        QObject::connect(&m_response, &CUIAgentRsp::SigPostReportIncubatorStatusRet, &m_receiver,
                         [this](bool bSucc) { Receive(bSucc); });
        QObject::connect(&m_response, &CUIAgentRsp::SigGetProjectsRet, &m_receiver,
                         [this](bool bSucc, const QVariant& /*data*/) { Receive(bSucc); });
        QObject::connect(&m_response, &CUIAgentRsp::SigGetBattStatusRet, &m_receiver,
                         [this](bool bSucc, const QVariant& /*data*/) { Receive(bSucc); });
        QObject::connect(&m_response, &CUIAgentRsp::SigGetChannelCheckDataRet, &m_receiver,
                         [this](bool bSucc, const QString& /*message*/, const QString& /*allowBoot*/,
                                const QString& /*reason*/, const QVariant& /*request*/) { Receive(bSucc); });
    }

    void Ask(const std::string& strRequest)
    {
        static const std::map<std::string, void (Host::*)()> REQUESTS{
            {"user", &Host::User},
            {"report", &Host::Report},
            {"channel-report", &Host::ChannelReport},
            {"version", &Host::Version},
            {"export", &Host::Export},
            {"ftp", &Host::Ftp},
            {"common", &Host::Common},
            {"projects", &Host::Projects},
            {"batteries", &Host::Batteries},
            {"check", &Host::Check},
            {"check-blocking", &Host::CheckBlocking},
            {"common-blocking", &Host::CommonBlocking},
            {"upload-blocking", &Host::UploadBlocking},
            {"cycle-blocking", &Host::CycleBlocking},
            {"step-blocking", &Host::StepBlocking},
            {"steps-blocking", &Host::StepsBlocking},
        };
        const long long nBefore = StatusBytes("VmRSS");
        (this->*REQUESTS.at(strRequest))();
        if (m_nAnswers == 0) {
            QTimer::singleShot(PATIENCE_MS, QCoreApplication::instance(), &QCoreApplication::quit);
            QCoreApplication::exec();
        }
        std::printf("answers %d\nsuccess %d\ngrowth %lld\n", m_nAnswers, m_bSucc ? 1 : 0,
                    StatusBytes("VmHWM") - nBefore);
    }

private:
    void Receive(bool bSucc)
    {
        ++m_nAnswers;
        m_bSucc = bSucc;
        QTimer::singleShot(0, QCoreApplication::instance(), &QCoreApplication::quit);
    }

    void User() { m_request.SendGetUserInfo(HOST, m_nPort, 1); }
    void Projects() { m_request.SendGetProjects(HOST, m_nPort, {"X"}, "1"); }
    void Batteries() { m_request.SendGetBattStatus(HOST, m_nPort, "1"); }
    void Check() { m_request.SendGetChannelCheckData(HOST, m_nPort, {12, 7, "X", "D1", "3", "p"}); }

    void Version() { m_request.SendGetSupportVer(HOST, m_nPort, "1"); }
    void Export() { m_request.SendGetAutoExport(HOST, m_nPort, "B", "C", "X"); }
    void Ftp() { m_request.SendGetFtpFilePath(HOST, m_nPort, "B", "C", "S", "1"); }
    void Common() { m_request.SendGetWhetherInCommon(HOST, m_nPort, "X"); }

    void ChannelReport()
    {
        KTSStartPlugin::tagRepoChlStatusInfo info;
        info.box = "1";
        info.chl = "2";
        m_request.SendPostReportChlStatus(HOST, m_nPort, "1", info);
    }

    void Report()
    {
        KTSStartPlugin::tagRepoIncubatorStatus status{"incubator", true, 25.0F};
        m_request.SendPostReportIncubatorStatus(HOST, m_nPort, status);
    }

    void CheckBlocking()
    {
        bool bAllow = false;
        QString strReason;
        Receive(m_request.SendGetChannelCheckDataEx(HOST, m_nPort, PATIENCE_MS, {12, 7, "X", "D1", "3", "p"},
                                                    bAllow, strReason));
    }

    void CommonBlocking()
    {
        bool bCommon = false;
        Receive(m_request.SendGetWhetherInCommonEx(HOST, m_nPort, PATIENCE_MS, "X", bCommon));
    }

    void UploadBlocking()
    {
        tagBatteryTestData data{"S1", "B2", "R3", "1.5", "1.4", "3.7", "2024-01-02 03:04:05"};
        Receive(m_request.SendPostUploadDataEx(HOST, m_nPort, PATIENCE_MS, data));
    }

    void CycleBlocking() { Receive(m_request.SendPostReportCycleDataEx(Url(), PATIENCE_MS, "{}")); }
    void StepBlocking() { Receive(m_request.SendPostReportStepDataEx(Url(), PATIENCE_MS, "{}")); }
    void StepsBlocking() { Receive(m_request.SendPostReportStepData_ORN(Url(), PATIENCE_MS, "{}")); }

    QString Url() const { return QStringLiteral("http://%1:%2/").arg(HOST).arg(m_nPort); }

    const int m_nPort;
    CUIAgentRsp& m_response = *CUIAgentRsp::Instance();
    CUIAgentReq& m_request = *CUIAgentReq::Instance();
    QObject m_receiver;
    int m_nAnswers = 0;
    bool m_bSucc = false;
};

} // namespace

int main(int argc, char** argv)
try {
    if (argc < 3 || std::freopen("/dev/null", "w", stderr) == nullptr) { // debug output holds whole replies
        return 2;
    }
    const QCoreApplication application(argc, argv);
    Host host(static_cast<int>(std::strtol(argv[1], nullptr, 10)));
    if (argc > 3) {
        LimitGrowth(std::strtoll(argv[3], nullptr, 10));
    }
    host.Ask(argv[2]);
    return 0;
} catch (const std::exception& error) {
    std::puts(error.what());
    return 3;
}
