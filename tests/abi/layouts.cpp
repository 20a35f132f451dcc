// A library whose one function takes every record and class of the public headers. Its debug information
// tells the layout of each, also of those that no exported function of the real libraries names. It is
// compiled, never run.

#include <ktshttpagent/CHttpClientDouble.h>
#include <ktshttpagent/CUIAgentReq.h>
#include <ktshttpagent/CUIAgentRsp.h>
#include <ktshttpagent/IVelClientSDk.h>
#include <ktshttpagent/KtsConnection.h>
#include <ktshttpagent/KtsMetrics.h>
#include <ktshttpagent/KtsOutbox.h>
#include <ktshttpagent/KtsSettings.h>
#include <ktshttpagent/KtsTrace.h>
#include <ktshttpagent/ResultRecords.h>
#include <ktshttpagent/chttpclient.h>

extern "C" __attribute__((visibility("default"))) void
Layouts(SBlockingOutcome*, CUIAgentReq*, CUIAgentRsp*, VelCSDK::IVelClientSDk*, VelCSDK::SDKFactory*,
        CKtsConnection*, SKtsMetrics*, SKtsRequestMetrics*, EKtsFailure*, SKtsOutboxStatus*,
        SKtsReportEnding*, SKtsSetting*, SKtsProfile*, SKtsUnknownName*, SKtsVersion*, SKtsTrace*,
        tagSRequestGetChannelCheckData*, KTSStartPlugin::tagRepoChlStatusInfo*,
        KTSStartPlugin::tagRepoIncubatorStatus*, tagBatteryTestData*, SResponseHeader*, USER_INFO*,
        SSupportVer*, SResponseGetProject*, SProjectItem*, SResponseGetBatteryStatus*, SBatteryItem*,
        SResponseGetAutoExport*, SResponseGetFtpFilePath*, SResponseGetChannelCheckData*,
        SResponseGetWhetherInCommon*, CHttpOutcome::Outcome*, CHttpTrace::Part*, EBlockingEnd*,
        EKtsReportEnding*, EKtsTrace*, SIdName*, CHttpClientRequest*, CHttpClientReply*)
{
}
