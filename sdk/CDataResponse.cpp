#include "CDataResponse.h"

#include "CodeReply.h"
#include "ReplyCause.h"
#include "RequestCatalogue.h"
#include "UserData.h"

#include "outbox/OpenOutbox.h"
#include "outbox/Outbox.h"
#include "platform/metrics/Recorder.h"
#include "platform/system/NeverDestroyed.h"

#include <ktshttpagent/chttpclient.h>
#include <ktshttpagent/clog.h>

#include <new>
#include <utility>

namespace VelCSDK
{
namespace
{

constexpr const char* GATEWAY_FAILURE = "Bad Gateway";
constexpr int GATEWAY_FAILURE_CODE = 7;

/// The envelope {"code":N} of a failure. If there is not enough memory for it, one that is short enough for a
/// string without an allocation.
std::string Envelope(int nCode) noexcept
{
    try {
        return "{\"code\":" + std::to_string(nCode) + "}";
    } catch (const std::bad_alloc&) {
        return "{\"code\":-1}";
    }
}

/// Whether the outbox has handed this back for a report that it keeps, as far as the transport tells.
bool IsFromOutbox(const std::string& body, int nHttpError)
{
    return outbox::MaySend() && nHttpError == 0 && body == outbox::StoredBody() && !IsFromExchange();
}

} // namespace

// The transport's callback holds the instance too, so that it still exists for a reply that is delivered
// while it is released. The holder is never destroyed, because the transport delivers until the process has
// ended.
std::shared_ptr<CDataResponse>& CDataResponse::Holder()
{
    static const NeverDestroyed<std::shared_ptr<CDataResponse>> pInstance;
    return *pInstance;
}

CDataResponse* CDataResponse::Instance()
{
    std::shared_ptr<CDataResponse>& pInstance = Holder();
    if (pInstance == nullptr) {
        const std::shared_ptr<CDataResponse> pNew(new CDataResponse);
        const auto receive = [pNew](const std::string& body, int nType, void* pUserData, int nHttpError) {
            pNew->CHttpCallBack(body, nType, pUserData, nHttpError);
        };
        CHttpClientSetResponseCallBack(receive);
        outbox::SetReceiver(receive);
        pInstance = pNew;
    }
    return pInstance.get();
}

void CDataResponse::ReleaseInstance()
{
    const std::shared_ptr<CDataResponse> pInstance = std::exchange(Holder(), nullptr);
    if (pInstance != nullptr) {
        const std::lock_guard<std::mutex> lock(pInstance->m_mutex);
        pInstance->m_pPaths = nullptr; // from here on log lines name the built-in paths
        pInstance->m_mapHandler.clear();
        pInstance->m_strBaseUrl.clear();
    }
}

void CDataResponse::RegisterHandler(int nType, ResponseHandler fn)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_mapHandler[nType] = std::move(fn);
}

void CDataResponse::SetBaseUrl(std::string url)
{
    m_strBaseUrl = std::move(url);
}

void CDataResponse::SetEndpointPaths(std::shared_ptr<const EndpointPaths> pPaths)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_pPaths.swap(pPaths);
}

void CDataResponse::CHttpCallBack(const std::string& body, int nType, void* pUserData, int nHttpError)
{
    const ReplyInHand inHand(body, nHttpError);
    const auto answer = [this](const std::string& strBody, int nOf, void* pSent, int nError) {
        Answer(strBody, nOf, pSent, nError, &strBody == &outbox::StoredBody());
    };
    if (outbox::OnReply(body, pUserData, nHttpError, answer)) {
        NoteServer(nHttpError);
    } else {
        Answer(body, nType, pUserData, nHttpError, IsFromOutbox(body, nHttpError));
    }
}

void CDataResponse::Answer(const std::string& body, int nType, void* pUserData, int nHttpError, bool bStored)
{
    if (bStored) {
        CountStored(nType);
        PassOn(body, nType, pUserData);
        return;
    }
    std::string strEnvelope; // replaces the body of a failed exchange
    if (nHttpError != 0) {
        LogExchangeFailure(59, nType, nHttpError);
        LogReplyCause(nType, UrlUnderWay(nType, pUserData), metrics::FailureOf(nHttpError),
                      "the transport reports a failure");
        strEnvelope = Envelope(nHttpError);
    }
    if (body.find(GATEWAY_FAILURE) != std::string::npos) {
        LogExchangeFailure(66, nType, nHttpError);
        LogReplyCause(nType, UrlUnderWay(nType, pUserData), EKtsFailure::HttpStatus,
                      "the reply holds the words \"Bad Gateway\"");
        strEnvelope = Envelope(GATEWAY_FAILURE_CODE);
    }
    PassOn(strEnvelope.empty() ? body : strEnvelope, nType, pUserData);
}

void CDataResponse::PassOn(const std::string& body, int nType, void* pUserData)
{
    const std::optional<ResponseHandler> fnHandler = FindHandler(nType);
    if (!fnHandler || *fnHandler == nullptr) { // without a handler nobody else frees the user data
        const UserData dropped(nType, pUserData);
        CountSuccess(nType, dropped.Url());
    }
    if (fnHandler) {
        (*fnHandler)(body, nType, pUserData);
    }
}

void CDataResponse::JsonHeader(const std::string& body, Json::Value& root, int& nCode,
                               std::string& strDescription)
{
    ReadEnvelope(body, root, nCode, strDescription);
}

void CDataResponse::LogExchangeFailure(int nLine, int nType, int nHttpError) noexcept
{
    try {
        Log_Write(1, "VelCSDK::CDataResponse::CHttpCallBack", nLine, "proctol:%s http-error:%s",
                  EndpointPath(nType).c_str(), std::to_string(nHttpError).c_str());
    } catch (...) { // not enough memory for the line, or the log threw: the failure is still answered
    }
}

std::string CDataResponse::EndpointPath(int nType)
{
    std::shared_ptr<const EndpointPaths> pPaths;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        pPaths = m_pPaths;
    }
    return pPaths == nullptr ? DefaultEndpointPath(nType) : pPaths->Of(nType);
}

std::optional<ResponseHandler> CDataResponse::FindHandler(int nType)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_mapHandler.find(nType);
    return found == m_mapHandler.end() ? std::nullopt : std::make_optional(found->second);
}

} // namespace VelCSDK
