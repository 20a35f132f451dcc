#include "VelClientSDk.h"

#include "CDataResponse.h"
#include "QueryString.h"
#include "RequestCatalogue.h"
#include "ServerUrl.h"

#include "platform/reply/ReplyLimits.h"

#include <ktshttpagent/chttpclient.h>
#include <ktshttpagent/clog.h>

#include <json/writer.h>

#include <utility>
#include <vector>

namespace VelCSDK
{

IVelClientSDk::~IVelClientSDk() = default;

VelClientSDk::VelClientSDk()
{
    ReplyLimits(); // read now: on the delivering thread it might be while the host changes its environment
    std::vector<std::string> vecComplaints;
    ReadReplyLimits(vecComplaints);
    for (const std::string& strComplaint : vecComplaints) {
        Log_Write(1, "VelCSDK::VelClientSDk::VelClientSDk", 1, "%s", strComplaint.c_str());
    }
    CHttpClientInit();
    CDataResponse::Instance();
}

// The transport ends first: what it still delivers on its way out is decoded by decoders that are there.
VelClientSDk::~VelClientSDk()
{
    CHttpClientUnInit();
    CDataResponse::ReleaseInstance();
}

void VelClientSDk::Init()
{
    m_pSource.reset();
    m_pAux.reset();
    m_pSource = std::make_unique<CSource>();
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
    auto pResponse = std::make_shared<const ResponseCallBack>(std::move(fn));
    const std::lock_guard<std::mutex> lock(m_mutexResponse);
    m_pResponse.swap(pResponse); // the earlier one goes after the lock is released
}

void VelClientSDk::Reserved() {}

void VelClientSDk::SetUrlMap(std::map<int, std::string> map)
{
    const std::lock_guard<std::mutex> lock(m_mutexUrl);
    m_mapUrl.swap(map); // the earlier ones go after the lock is released
}

std::string VelClientSDk::GetUrl(int id)
{
    const std::lock_guard<std::mutex> lock(m_mutexUrl);
    const auto found = m_mapUrl.find(id);
    return found != m_mapUrl.end() && !found->second.empty() ? found->second : DefaultEndpointPath(id);
}

ResponseCallBack VelClientSDk::GetResponseCallBack(const std::string& /*key*/) const
{
    // What is copied is the host's, and may do anything: nothing is locked meanwhile.
    const std::shared_ptr<const ResponseCallBack> pResponse = HeldResponseCallBack();
    return pResponse != nullptr ? *pResponse : ResponseCallBack();
}

std::shared_ptr<const ResponseCallBack> VelClientSDk::HeldResponseCallBack() const noexcept
{
    const std::lock_guard<std::mutex> lock(m_mutexResponse);
    return m_pResponse;
}

std::string VelClientSDk::RequestUrl(int nType)
{
    return m_strBaseUrl + GetUrl(nType);
}

void VelClientSDk::HandToTransport(int nType, const std::string& strUrl, const std::string& strBody,
                                   void* pUserData)
{
    const SRequestForm& form = *FindRequestForm(nType);
    const std::string strHeader = form.szHeader;
    CHttpClientSendRequest(nType, strUrl, strBody, pUserData, form.bPost, !strHeader.empty(), strHeader);
}

std::string WriteJson(const Json::Value& value)
{
    return Json::FastWriter().write(value);
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
