// A host that sends and ends at once, in the way that its arguments name:
//   ending_host PORT COUNT OPTION...
// Options: response-first (make CUIAgentRsp before CUIAgentReq), no-response (never make it),
// no-application (no QCoreApplication), destroy (end the SDK client), exit (end by exit(), not from main),
// exit-in-callback (end by exit() from a receiver on the delivering thread), blocking (blocking calls that
// time out at once, instead of reports).

#include <ktshttpagent/CUIAgentReq.h>
#include <ktshttpagent/CUIAgentRsp.h>
#include <ktshttpagent/IVelClientSDk.h>

#include <QCoreApplication>

#include <chrono>
#include <cstdlib>
#include <memory>
#include <set>
#include <string>
#include <thread>

namespace
{

using Options = std::set<std::string>;

void MakeSingletons(const Options& options)
{
    if (options.count("response-first") != 0) {
        CUIAgentRsp::Instance();
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
    const int nPort = std::stoi(argv[1]);
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
