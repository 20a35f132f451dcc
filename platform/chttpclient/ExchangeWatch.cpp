#include "ExchangeWatch.h"

#include "Trace.h"

#include "platform/text/LogWords.h"

#include <new>

namespace chttpclient
{
namespace
{

template <class Value>
Value Info(CURL* pEasy, CURLINFO eInfo)
{
    Value value{};
    curl_easy_getinfo(pEasy, eInfo, &value);
    return value;
}

} // namespace

// Before version 8.7 libcurl tells which proxy it uses only in the text that it writes for people. That takes
// time, so it writes it only if there may be a proxy, or if there is a trace.
CURLcode ExchangeWatch::Attach(CURL* pEasy, const TransportSettings& settings, const void* pExchange)
{
    const bool bTells =
        (settings.bEnvironmentsProxy && !settings.vecProxies.empty()) || TraceInForce() != nullptr;
    m_pExchange = pExchange;
    m_error.front() = '\0';
    CURLcode eResult = curl_easy_setopt(pEasy, CURLOPT_ERRORBUFFER, m_error.data());
    if (eResult == CURLE_OK && bTells) {
        eResult = curl_easy_setopt(pEasy, CURLOPT_DEBUGDATA, static_cast<void*>(this));
    }
    if (eResult == CURLE_OK && bTells) {
        eResult = curl_easy_setopt(pEasy, CURLOPT_DEBUGFUNCTION, &ExchangeWatch::OnText);
    }
    if (eResult == CURLE_OK && bTells) {
        eResult = curl_easy_setopt(pEasy, CURLOPT_VERBOSE, 1L);
    }
    return eResult;
}

int ExchangeWatch::OnText(CURL* /*pEasy*/, curl_infotype eType, char* pText, std::size_t nSize, void* pSelf)
{
    auto& watch = *static_cast<ExchangeWatch*>(pSelf);
    if (eType == CURLINFO_TEXT) {
        try {
            watch.NoteProxy({pText, nSize});
        } catch (const std::bad_alloc&) { // then the log says nothing about the proxy
        }
    }
    watch.Trace(eType, {pText, nSize});
    return 0;
}

/// The body of the reply is left to `TraceEnd`, because here it is still packed and in chunks.
void ExchangeWatch::Trace(curl_infotype eType, std::string_view strBytes) const
{
    const CHttpClientTrace fnTrace = TraceInForce();
    if (fnTrace == nullptr) {
        return;
    }
    switch (eType) {
    case CURLINFO_TEXT:
        return fnTrace(CHttpTrace::Remark, strBytes.data(), strBytes.size(), m_pExchange);
    case CURLINFO_HEADER_IN:
        return fnTrace(CHttpTrace::ReplyHeader, strBytes.data(), strBytes.size(), m_pExchange);
    case CURLINFO_HEADER_OUT:
        return fnTrace(CHttpTrace::RequestHeader, strBytes.data(), strBytes.size(), m_pExchange);
    case CURLINFO_DATA_OUT:
        return fnTrace(CHttpTrace::RequestBody, strBytes.data(), strBytes.size(), m_pExchange);
    default:
        return;
    }
}

/// The text is "Uses proxy env variable NAME == 'VALUE'". It also names no_proxy, which comes first and keeps
/// libcurl from looking for a proxy if it exempts the host.
void ExchangeWatch::NoteProxy(std::string_view strText)
{
    constexpr std::string_view BEGIN = "Uses proxy env variable ";
    constexpr std::string_view BEFORE_VALUE = " == '";
    if (strText.substr(0, BEGIN.size()) != BEGIN) {
        return;
    }
    strText.remove_prefix(BEGIN.size());
    const std::size_t nValue = strText.find(BEFORE_VALUE);
    const std::size_t nEnd = strText.rfind('\'');
    const std::string_view strName = strText.substr(0, nValue);
    if (nValue != std::string_view::npos && strName != "no_proxy" && strName != "NO_PROXY") {
        const std::size_t nBegin = nValue + BEFORE_VALUE.size();
        m_strProxy = WithoutPassword(strText.substr(nBegin, nEnd - nBegin));
    }
}

std::shared_ptr<ExchangeFacts> ExchangeWatch::Facts(CURL* pEasy, CURLcode eRefused,
                                                    const ConnectionEnds& ends) const noexcept
{
    try {
        auto pFacts = std::make_shared<ExchangeFacts>();
        // Each question to libcurl costs time, so those without use for an ordinary exchange are left out.
        pFacts->nStatus = Info<long>(pEasy, CURLINFO_RESPONSE_CODE);
        if (pFacts->nStatus >= 300) {
            pFacts->nRetryAfter = Info<curl_off_t>(pEasy, CURLINFO_RETRY_AFTER);
        }
        pFacts->bSent = pFacts->nStatus != 0 || Info<long>(pEasy, CURLINFO_REQUEST_SIZE) > 0;
        if (pFacts->nStatus != 0) {
            pFacts->strPeer = ends.peer.data();
            pFacts->nPeerPort = ends.nPeerPort;
        } else if (const auto* const szPeer = Info<char*>(pEasy, CURLINFO_PRIMARY_IP)) {
            pFacts->strPeer = szPeer;
            pFacts->nPeerPort = Info<long>(pEasy, CURLINFO_PRIMARY_PORT);
        }
        pFacts->strProxy = m_strProxy;
        pFacts->strError = eRefused == CURLE_OK ? m_error.data() : curl_easy_strerror(eRefused);
        pFacts->nConnects = Info<long>(pEasy, CURLINFO_NUM_CONNECTS);
        if (pFacts->nConnects > 0) {
            pFacts->nNameTime = Info<curl_off_t>(pEasy, CURLINFO_NAMELOOKUP_TIME_T);
            pFacts->nConnectTime = Info<curl_off_t>(pEasy, CURLINFO_CONNECT_TIME_T);
            pFacts->nTlsTime = Info<curl_off_t>(pEasy, CURLINFO_APPCONNECT_TIME_T);
        }
        pFacts->nFirstByteTime = Info<curl_off_t>(pEasy, CURLINFO_STARTTRANSFER_TIME_T);
        pFacts->nWholeTime = Info<curl_off_t>(pEasy, CURLINFO_TOTAL_TIME_T);
        return pFacts;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

} // namespace chttpclient
