#include "VelClientSDk.h"

#include "CDataResponse.h"
#include "QueryString.h"
#include "ServerUrl.h"

#include "outbox/OpenOutbox.h"
#include "outbox/Outbox.h"
#include "platform/metrics/Recorder.h"
#include "platform/reply/ReplyLimits.h"
#include "platform/system/OptionalFunction.h"

#include <ktshttpagent/chttpclient.h>
#include <ktshttpagent/clog.h>

#include <utility>
#include <vector>

namespace VelCSDK
{

IVelClientSDk::~IVelClientSDk() = default;

VelClientSDk::VelClientSDk()
{
    ReplyLimitsInForce(); // read now, because on a thread of the transport this might happen while the host
                          // changes its environment
    std::vector<std::string> vecComplaints;
    ReadReplyLimits(vecComplaints);
    for (const std::string& strComplaint : vecComplaints) {
        Log_Write(1, "VelCSDK::VelClientSDk::VelClientSDk", 1, "%s", strComplaint.c_str());
    }
    metrics::SetQueueSource(
        reinterpret_cast<unsigned long long (*)()>(FindOptionalFunction("chttpclient", "CHttpClientQueued")));
    CHttpClientInit();
    CDataResponse::Instance()->SetEndpointPaths(m_pPaths);
    outbox::OpenConfigured();
}

// The transport ends first, because the replies that it still delivers need the decoders.
VelClientSDk::~VelClientSDk()
{
    const bool bOutbox = outbox::MaySend();
    outbox::BeginStop();
    CHttpClientUnInit();
    outbox::Close(outbox::Milliseconds(0));
    if (bOutbox) {
        CHttpClientUnInit(); // returns when the senders of reports that were cancelled, but stored, are
                             // called
    }
    CDataResponse::ReleaseInstance();
}

void VelClientSDk::Init()
{
    m_pSource.reset();
    m_pAux.reset();
    m_pSource = std::make_unique<CSource>(m_host);
    m_pAux = std::make_unique<SDKFactory>();
}

void VelClientSDk::SetServerAddr(std::string host, int port)
{
    SetServerUrl(ServerUrl(host, port));
}

void VelClientSDk::SetServerUrl(std::string url)
{
    m_strBaseUrl = std::move(url);
    CDataResponse::Instance()->SetBaseUrl(m_strBaseUrl);
}

void VelClientSDk::SetResponseCallBack(ResponseCallBack fn)
{
    m_host.Set(std::move(fn));
}

void VelClientSDk::Reserved() {}

void VelClientSDk::SetUrlMap(std::map<int, std::string> map)
{
    m_pPaths->Set(std::move(map));
}

std::string VelClientSDk::GetUrl(int id)
{
    return m_pPaths->Of(id);
}

ResponseCallBack VelClientSDk::GetResponseCallBack(const std::string& /*key*/) const
{
    return m_host.Copy();
}

IVelClientSDk* SDKFactory::GetInstance()
{
    static IVelClientSDk* const pClient = new VelClientSDk;
    return pClient;
}

void SDKFactory::DestoryInstance(IVelClientSDk* p)
{
    delete p;
}

void SDKFactory::SetQueryEscaping(bool bEscape)
{
    VelCSDK::SetQueryEscaping(bEscape);
}

bool SDKFactory::HasQueryEscaping()
{
    return VelCSDK::HasQueryEscaping();
}

} // namespace VelCSDK
