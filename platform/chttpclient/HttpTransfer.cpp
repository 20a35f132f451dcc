#include "HttpTransfer.h"

#include "Authorities.h"
#include "HeaderLine.h"
#include "UrlEncoding.h"

#include "platform/text/UrlParts.h"

#include <ktshttpagent/chttpclient.h>

#include <algorithm>
#include <chrono>
#include <new>
#include <optional>
#include <utility>

namespace chttpclient
{
namespace
{

// No server needs more; a header that never ends is cut off here.
constexpr std::size_t MAX_HEADER_BYTES = std::size_t{256} * 1024;

/// Ignores case.
bool BeginsWith(std::string_view strText, std::string_view strBegin)
{
    return strText.size() >= strBegin.size() &&
           curl_strnequal(strText.data(), strBegin.data(), strBegin.size()) != 0;
}

} // namespace

HttpTransfer::HttpTransfer(const TransportSettings& settings, CURLSH* pShare, KeptConnections& kept)
    : m_pEasy(curl_easy_init()),
      m_settings(settings),
      m_pShare(pShare),
      m_kept(kept),
      m_body(settings.nMaxReplyBytes)
{
    if (m_pEasy == nullptr) {
        throw std::bad_alloc();
    }
}

HttpTransfer* HttpTransfer::Of(CURL* pEasy)
{
    char* pTransfer = nullptr;
    curl_easy_getinfo(pEasy, CURLINFO_PRIVATE, &pTransfer);
    return reinterpret_cast<HttpTransfer*>(pTransfer);
}

CURLcode HttpTransfer::Begin(ExchangeList exchange)
{
    m_exchange = std::move(exchange);
    m_tpEnd = Clock::now() + m_settings.timeout;
    try {
        SetConstantOptions();
        SetUrl();
        SetHeaders();
        SetMethod();
    } catch (const std::bad_alloc&) {
        m_eSetUp = CURLE_OUT_OF_MEMORY;
    }
    return m_eSetUp;
}

template <class Value>
void HttpTransfer::Set(CURLoption eOption, Value value)
{
    if (m_eSetUp == CURLE_OK) {
        m_eSetUp = curl_easy_setopt(m_pEasy.get(), eOption, value);
    }
}

void HttpTransfer::SetConstantOptions()
{
    Set(CURLOPT_SHARE, m_pShare);
    Set(CURLOPT_PRIVATE, static_cast<void*>(this));
    Set(CURLOPT_PREREQFUNCTION, &HttpTransfer::OnConnected);
    Set(CURLOPT_PREREQDATA, static_cast<void*>(this));
    Set(CURLOPT_READFUNCTION, &HttpTransfer::OnSend);
    Set(CURLOPT_READDATA, static_cast<void*>(this));
    Set(CURLOPT_WRITEFUNCTION, &HttpTransfer::OnBody);
    Set(CURLOPT_WRITEDATA, static_cast<void*>(this));
    Set(CURLOPT_HEADERFUNCTION, &HttpTransfer::OnHeader);
    Set(CURLOPT_HEADERDATA, static_cast<void*>(this));
    Set(CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(m_settings.connectTimeout.count()));
    Set(CURLOPT_TIMEOUT_MS, static_cast<long>(m_settings.timeout.count()));
    Set(CURLOPT_MAXAGE_CONN, MAX_IDLE_SECONDS - 1); // closes those idle for longer, in whole seconds
    Set(CURLOPT_PROTOCOLS_STR, "http,https");
    Set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    // The same codings as on the blocking interface. libcurl writes every name into each request, at a cost.
    Set(CURLOPT_ACCEPT_ENCODING, "gzip, deflate");
    Set(CURLOPT_HTTP_CONTENT_DECODING, 0L); // m_body does it
    Set(CURLOPT_PATH_AS_IS, 1L);            // leaves the path, with any "/../", to the server
    Set(CURLOPT_NOSIGNAL, 1L);
    Set(CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2)); // and newer
    Set(CURLOPT_QUICK_EXIT, 1L); // don't wait for a slow name resolution
    if (!m_settings.bEnvironmentsProxy) {
        Set(CURLOPT_PROXY, "");
    }
    if (m_eSetUp == CURLE_OK) {
        m_eSetUp = SetAuthorities(m_pEasy.get(), m_settings.strCaFile);
    }
    if (m_eSetUp == CURLE_OK) {
        m_eSetUp = m_watch.Attach(m_pEasy.get(), m_settings, &Request());
    }
}

void HttpTransfer::SetUrl()
{
    // libcurl would guess a missing scheme, and take the first part of the path for a missing host.
    const std::optional<UrlParts> parts = SplitUrl(Request().strUrl);
    if (!parts || (parts->strAuthority.empty() && BeginsWith(parts->strScheme, "http"))) {
        m_eSetUp = CURLE_URL_MALFORMAT;
    }
    Set(CURLOPT_URL, EncodeUrl(Request().strUrl).c_str());
}

void HttpTransfer::AppendHeader(const char* szLine)
{
    curl_slist* const pList = curl_slist_append(m_pHeaders.get(), szLine);
    if (pList == nullptr) {
        throw std::bad_alloc();
    }
    static_cast<void>(m_pHeaders.release()); // it is the head of pList now
    m_pHeaders.reset(pList);
}

void HttpTransfer::SetHeaders()
{
    const std::vector<std::string>& vecHeaders = Request().vecHeaders;
    if (!std::all_of(vecHeaders.begin(), vecHeaders.end(), &IsHeaderLine)) {
        m_eSetUp = CURLE_BAD_FUNCTION_ARGUMENT;
        return;
    }
    if (Request().bPost) { // a name without a value keeps libcurl from adding that header
        AppendHeader("Expect:");
        if (std::none_of(vecHeaders.begin(), vecHeaders.end(), &IsContentType)) {
            AppendHeader("Content-Type:");
        }
    }
    for (const std::string& strLine : vecHeaders) {
        AppendHeader(strLine.c_str());
    }
    Set(CURLOPT_HTTPHEADER, m_pHeaders.get());
}

/// libcurl retries a request when the kept connection it was sent on dies without a reply. But a POST is not
/// retried once any of its body was sent: the server may have read it, and must not get it twice. The body
/// comes from a callback that can't rewind, which keeps libcurl from such a retry; a POST of which only the
/// header was sent is retried. A POST without a body always uses a new connection; one with a body uses a
/// kept connection only while the server can't be closing it.
void HttpTransfer::SetMethod()
{
    const HttpExchange& request = Request();
    Set(CURLOPT_FRESH_CONNECT, request.bPost && request.strBody.empty() ? 1L : 0L);
    if (request.bPost) {
        Set(CURLOPT_POST, 1L);
        Set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(request.strBody.size()));
    } else {
        Set(CURLOPT_HTTPGET, 1L);
    }
}

/// libcurl restarts the time-out here, but the request may already have spent part of it on another kept
/// connection, which died.
CURLcode HttpTransfer::BeginOnNewConnection()
{
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(m_tpEnd - Clock::now());
    m_bNeedsNewConnection = false;
    Set(CURLOPT_TIMEOUT_MS, std::max(static_cast<long>(left.count()), 1L)); // 0 would mean no time-out
    Set(CURLOPT_FRESH_CONNECT, 1L);
    return m_eSetUp;
}

void HttpTransfer::NoteIdleConnection()
{
    curl_socket_t nSocket = CURL_SOCKET_BAD;
    curl_easy_getinfo(m_pEasy.get(), CURLINFO_ACTIVESOCKET, &nSocket);
    if (nSocket != CURL_SOCKET_BAD) { // the connection is kept
        m_kept.Keep(m_ends, nSocket, m_tpReply);
    }
}

ExchangeList HttpTransfer::Finish(CURLcode eResult)
{
    HttpExchange& exchange = m_exchange.front();
    exchange.nHttpError = HttpError(m_eRefused != CURLE_OK ? m_eRefused : eResult);
    exchange.pFacts = m_watch.Facts(m_pEasy.get(), m_eRefused, m_ends);
    if (exchange.pFacts != nullptr) {
        exchange.pFacts->bBodySent =
            exchange.bPost && (m_nSent > 0 || (exchange.strBody.empty() && exchange.pFacts->bSent));
    }
    if (exchange.nHttpError >= 0) {
        exchange.strReply = m_body.TakeBody();
    } else if (exchange.pFacts != nullptr) {
        exchange.pFacts->strBody = m_body.TakeBody();
    }
    return std::move(m_exchange);
}

/// 0 for a status of 200 to 299, any other status as it is, libcurl's error as a negative number.
int HttpTransfer::HttpError(CURLcode eResult) const
{
    if (eResult != CURLE_OK) {
        return -static_cast<int>(eResult);
    }
    if (!m_body.IsComplete()) {
        return CHttpOutcome::UnpackingFailed;
    }
    if (!m_bHeaderComplete) { // libcurl takes a header that breaks off for a reply without a body
        return CHttpOutcome::EndedEarly;
    }
    long nStatus = 0;
    curl_easy_getinfo(m_pEasy.get(), CURLINFO_RESPONSE_CODE, &nStatus);
    if (nStatus == 0) {
        return CHttpOutcome::InvalidReplyHeader;
    }
    return nStatus >= 200 && nStatus <= 299 ? 0 : static_cast<int>(nStatus);
}

/// A new connection may carry any request.
bool HttpTransfer::MayUseConnection() const
{
    long nConnects = 0;
    curl_easy_getinfo(m_pEasy.get(), CURLINFO_NUM_CONNECTS, &nConnects);
    return nConnects > 0 || m_kept.MayCarry(m_ends, Request().bPost);
}

/// Called when the request is about to be sent. This can be the second time, if libcurl has already taken
/// some of the body but could send none of it.
int HttpTransfer::OnConnected(void* pSelf, char* szPeer, char* szOwn, int nPeerPort, int nOwnPort)
{
    auto& transfer = *static_cast<HttpTransfer*>(pSelf);
    transfer.m_nSent = 0;
    transfer.m_ends = ConnectionEnds(szPeer, szOwn, nPeerPort, nOwnPort);
    transfer.m_bNeedsNewConnection = !transfer.MayUseConnection();
    return transfer.m_bNeedsNewConnection ? CURL_PREREQFUNC_ABORT : CURL_PREREQFUNC_OK;
}

std::size_t HttpTransfer::OnSend(char* pBuffer, std::size_t nSize, std::size_t nCount, void* pSelf)
{
    auto& transfer = *static_cast<HttpTransfer*>(pSelf);
    const std::size_t nBytes = transfer.Request().strBody.copy(pBuffer, nSize * nCount, transfer.m_nSent);
    transfer.m_nSent += nBytes;
    return nBytes;
}

CURLcode HttpTransfer::TakeBody(std::string_view strBytes)
{
    try {
        const CURLcode eBegin = m_bBodyBegun ? CURLE_OK : m_body.AddCodingsOf(m_pEasy.get());
        m_bBodyBegun = true;
        return eBegin == CURLE_OK ? m_body.Write(strBytes) : eBegin;
    } catch (const std::bad_alloc&) {
        return CURLE_OUT_OF_MEMORY;
    }
}

std::size_t HttpTransfer::OnBody(char* pData, std::size_t nSize, std::size_t nCount, void* pSelf)
{
    auto& transfer = *static_cast<HttpTransfer*>(pSelf);
    const std::size_t nBytes = nSize * nCount;
    transfer.m_eRefused = transfer.TakeBody({pData, nBytes});
    return transfer.m_eRefused == CURLE_OK ? nBytes : CURL_WRITEFUNC_ERROR;
}

/// A reply's header begins with its status line and ends with an empty one; after a status of 1xx another
/// reply follows, after the body there may be trailer lines.
void HttpTransfer::NoteHeaderLine(std::string_view strLine)
{
    if (strLine.substr(0, 5) == "HTTP/") {
        m_bHeaderComplete = false;
        m_tpReply = Clock::now();
    } else if (strLine == "\r\n" || strLine == "\n") {
        m_bHeaderComplete = true;
    }
}

std::size_t HttpTransfer::OnHeader(char* pData, std::size_t nSize, std::size_t nCount, void* pSelf)
{
    auto& transfer = *static_cast<HttpTransfer*>(pSelf);
    const std::size_t nBytes = nSize * nCount;
    transfer.m_nHeaderBytes += nBytes;
    transfer.NoteHeaderLine({pData, nBytes});
    if (transfer.m_nHeaderBytes > MAX_HEADER_BYTES) {
        transfer.m_eRefused = CURLE_FILESIZE_EXCEEDED;
        return CURL_WRITEFUNC_ERROR;
    }
    return nBytes;
}

} // namespace chttpclient
