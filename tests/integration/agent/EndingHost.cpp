// A host that sends requests and ends at once, in the way that its arguments name:
//   ending_host PORT COUNT OPTION...
// Options: response-first (create CUIAgentRsp before CUIAgentReq), no-response (never create it),
// no-application (no QCoreApplication), destroy (end the SDK client), exit (end by exit(), not by returning
// from main), exit-in-callback (end by exit() from a receiver on the delivering thread), blocking (blocking
// calls that time out at once, instead of reports), record-at-end (a record is requested and received while
// the process ends; the exit status is 3 when the record is not the server's), watch-objects (the exit status
// is 4 when CUIAgentReq and CUIAgentRsp are not destroyed when the process ends).

#include <ktshttpagent/CUIAgentReq.h>
#include <ktshttpagent/CUIAgentRsp.h>
#include <ktshttpagent/IVelClientSDk.h>
#include <ktshttpagent/ResultVariants.h>

#include <QCoreApplication>

#include <chrono>
#include <cstdlib>
#include <future>
#include <memory>
#include <set>
#include <string>
#include <thread>

namespace
{

using Options = std::set<std::string>;

int g_nPort = 0;

/// By then the request object is destroyed, but the response object is not.
void WaitForARecord()
{
    std::promise<bool> came;
    QObject::connect(CUIAgentRsp::Instance(), &CUIAgentRsp::SigGetProjectsRet,
                     [&came](bool bSucc, const QVariant& vData) {
                         const auto record = vData.value<SResponseGetProject>();
                         came.set_value(bSucc && record.bSuccess && record.lstProject.size() == 2 &&
                                        record.lstProject[1].xh == "B");
                     });
    VelCSDK::SDKFactory::GetInstance()->SetServerAddr("127.0.0.1", g_nPort);
    VelCSDK::SDKFactory::GetInstance()->GetProjects("A,B", "1");
    if (!came.get_future().get()) {
        std::_Exit(3);
    }
}

int g_nDestroyed = 0;

void ExpectBothDestroyed()
{
    if (g_nDestroyed != 2) {
        std::_Exit(4);
    }
}

void Watch(const QObject* pObject)
{
    QObject::connect(pObject, &QObject::destroyed, [] { ++g_nDestroyed; });
}

void MakeSingletons(const Options& options)
{
    if (options.count("watch-objects") != 0) {
        std::atexit(&ExpectBothDestroyed); // registered before them, so called after their destruction
        Watch(CUIAgentReq::Instance());
        Watch(CUIAgentRsp::Instance());
    }
    if (options.count("response-first") != 0) {
        CUIAgentRsp::Instance();
    }
    if (options.count("record-at-end") != 0) {
        std::atexit(&WaitForARecord); // registered before other objects, so called after they are destroyed
    }
    CUIAgentReq::Instance();
    if (options.count("no-response") == 0) {
        CUIAgentRsp::Instance();
    }
}

void Send(int nPort, int nCount)
{
    KTSStartPlugin::tagRepoIncubatorStatus status{"incubator", true, 25.0F};
    for (int nReport = 0; nReport < nCount; ++nReport) {
        CUIAgentReq::Instance()->SendPostReportIncubatorStatus("127.0.0.1", nPort, status);
    }
}

void Call(int nPort, int nCount)
{
    bool bCommon = false;
    for (int nCall = 0; nCall < nCount; ++nCall) {
        CUIAgentReq::Instance()->SendGetWhetherInCommonEx("127.0.0.1", nPort, 0, "X", bCommon);
    }
}

[[noreturn]] void EndInCallback(int nPort)
{
    QObject::connect(CUIAgentRsp::Instance(), &CUIAgentRsp::SigPostReportIncubatorStatusRet,
                     [](bool) { std::exit(0); });
    Send(nPort, 10);
    for (;;) {
        std::this_thread::sleep_for(std::chrono::hours(1));
    }
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 3) {
        return 2;
    }
    const int nPort = g_nPort = std::stoi(argv[1]);
    const Options options(argv + 3, argv + argc);

    std::unique_ptr<QCoreApplication> pApplication;
    if (options.count("no-application") == 0) {
        pApplication = std::make_unique<QCoreApplication>(argc, argv);
    }
    MakeSingletons(options);
    if (options.count("exit-in-callback") != 0) {
        EndInCallback(nPort);
    }
    (options.count("blocking") != 0 ? Call : Send)(nPort, std::stoi(argv[2]));
    if (options.count("destroy") != 0) {
        VelCSDK::SDKFactory::DestoryInstance(VelCSDK::SDKFactory::GetInstance());
    }
    if (options.count("exit") != 0) {
        std::exit(0);
    }
    return 0;
}
