#include "TransportPost.h"

#include "platform/system/OptionalFunction.h"

#include <ktshttpagent/chttpclient.h>

#include <utility>

namespace outbox
{
namespace
{

template <class Function>
Function Find(const char* szName)
{
    return reinterpret_cast<Function>(FindOptionalFunction("chttpclient", szName));
}

} // namespace

TransportPost::TransportPost(Receiver fnReceiver)
    : m_fnReceiver(std::move(fnReceiver)),
      m_pfnSend(Find<SendReport>("CHttpClientSendReport")),
      m_pfnHandBack(Find<HandBackFunction>("CHttpClientHandBack")),
      m_pfnRetryAfter(Find<long long (*)()>("CHttpClientExchangeRetryAfter")),
      m_pfnBodySent(Find<int (*)()>("CHttpClientExchangeBodySent"))
{
}

bool TransportPost::Send(const Report& report, void* pToken)
{
    if (m_pfnSend == nullptr) {
        CHttpClientSendRequest(report.nType, report.strUrl, report.strBody, pToken, true,
                               !report.strHeader.empty(), report.strHeader);
        return true;
    }
    const std::string strKey = "Idempotency-Key: \"" + report.strKey + '"';
    const char* arHeaders[] = {strKey.c_str(), nullptr, nullptr};
    if (!report.strHeader.empty()) {
        arHeaders[0] = report.strHeader.c_str();
        arHeaders[1] = strKey.c_str();
    }
    return m_pfnSend(report.nType, report.strUrl.c_str(), report.strBody.data(), report.strBody.size(),
                     pToken, arHeaders);
}

void TransportPost::HandBack(int nType, const std::string& strBody, void* pUserData, int nHttpError)
{
    if (m_pfnHandBack == nullptr ||
        !m_pfnHandBack(nType, strBody.data(), strBody.size(), pUserData, nHttpError)) {
        m_fnReceiver(strBody, nType, pUserData, nHttpError);
    }
}

std::optional<std::chrono::seconds> TransportPost::RetryAfter() const
{
    const long long nSeconds = m_pfnRetryAfter == nullptr ? -1 : m_pfnRetryAfter();
    return nSeconds < 0 ? std::nullopt : std::make_optional(std::chrono::seconds(nSeconds));
}

bool TransportPost::MayHaveBeenSeen() const
{
    return m_pfnBodySent == nullptr || m_pfnBodySent() != 0;
}

} // namespace outbox
