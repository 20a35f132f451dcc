// A host that reports the status of its channels and then ends without any farewell, like one that is killed.
// Arguments: the port of the server, how many reports it sends. It says each that the library has taken.

#include <ktshttpagent/IVelClientSDk.h>

#include <cstdio>
#include <cstdlib>
#include <string>

int main(int nArguments, char* arArguments[])
{
    if (nArguments != 3) {
        return EXIT_FAILURE;
    }
    VelCSDK::IVelClientSDk& client = *VelCSDK::SDKFactory::GetInstance();
    client.Init();
    client.SetServerAddr("127.0.0.1", std::stoi(arArguments[1]));
    for (int nReport = 0; nReport < std::stoi(arArguments[2]); ++nReport) {
        KTSStartPlugin::tagRepoChlStatusInfo info;
        info.box = "1";
        info.chl = std::to_string(nReport % 4);
        info.dxtm = "report-" + std::to_string(nReport);
        client.ReportChlStatus("1.1.0", info);
        std::printf("taken\n");
    }
    std::fflush(stdout);
    std::_Exit(EXIT_SUCCESS);
}
