#pragma once

#include "BodyDecoder.h"
#include "ExchangeWatch.h"
#include "HttpExchange.h"
#include "KeptConnections.h"
#include "TransportSettings.h"

#include <curl/curl.h>

#include <memory>
#include <string_view>

namespace chttpclient
{

/// One exchange with its own libcurl handle. Used by the leading thread only.
///
/// A handle is never used for a second exchange: libcurl 7.88 keeps a pointer to the last header line of the
/// previous reply, frees that line, and writes past its end if the next reply's header begins with a folded
/// line. Connections are reused all the same, since they belong to the multi handle.
class HttpTransfer
{
public:
    /// @param pShare  what all handles share; must outlive this
    /// @throws std::bad_alloc when libcurl can't create a handle
    HttpTransfer(const TransportSettings& settings, CURLSH* pShare, KeptConnections& kept);
    HttpTransfer(const HttpTransfer&) = delete;
    HttpTransfer& operator=(const HttpTransfer&) = delete;

    /// Prepares the handle for the request of an exchange, the only one in its list. `Finish` returns it to
    /// the caller. Call each of the two once.
    /// @return CURLE_OK, or why the request can't be sent; call `Finish` in both cases
    CURLcode Begin(ExchangeList exchange);

    /// Whether the exchange ended because libcurl had chosen a kept connection that the request may not use.
    /// Nothing was sent on it, and it is closed.
    bool NeedsNewConnection() const { return m_bNeedsNewConnection; }

    /// Prepares the handle for sending the same request again, on a new connection and within the time left.
    CURLcode BeginOnNewConnection();

    /// Notes since when the connection of a finished exchange has been idle. Call it while the handle is
    /// still in its multi handle.
    void NoteIdleConnection();

    /// Ends the exchange and sets its outcome, which includes the body if the server answered in full.
    ExchangeList Finish(CURLcode eResult);

    CURL* Handle() const { return m_pEasy.get(); }

    /// The transfer that a handle belongs to.
    static HttpTransfer* Of(CURL* pEasy);

private:
    using Clock = KeptConnections::Clock;

    struct EasyCleanup {
        void operator()(CURL* pEasy) const { curl_easy_cleanup(pEasy); }
    };
    struct ListCleanup {
        void operator()(curl_slist* pList) const { curl_slist_free_all(pList); }
    };

    const HttpExchange& Request() const { return m_exchange.front(); }

    template <class Value>
    void Set(CURLoption eOption, Value value);
    void SetConstantOptions();
    void SetUrl();
    void SetHeaders();
    void SetMethod();
    void AppendHeader(const char* szLine);
    void NoteHeaderLine(std::string_view strLine);
    int HttpError(CURLcode eResult) const;
    CURLcode TakeBody(std::string_view strBytes);
    bool MayUseConnection() const;

    static int OnConnected(void* pSelf, char* szPeer, char* szOwn, int nPeerPort, int nOwnPort);
    static std::size_t OnSend(char* pBuffer, std::size_t nSize, std::size_t nCount, void* pSelf);
    static std::size_t OnBody(char* pData, std::size_t nSize, std::size_t nCount, void* pSelf);
    static std::size_t OnHeader(char* pData, std::size_t nSize, std::size_t nCount, void* pSelf);

    ExchangeWatch m_watch;                               ///< the handle uses it
    std::unique_ptr<curl_slist, ListCleanup> m_pHeaders; ///< and this
    std::unique_ptr<CURL, EasyCleanup> m_pEasy;
    const TransportSettings& m_settings;
    CURLSH* const m_pShare;
    KeptConnections& m_kept;
    ConnectionEnds m_ends; ///< of the connection that the request is sent on
    bool m_bNeedsNewConnection = false;
    Clock::time_point m_tpEnd;   ///< when the exchange times out
    Clock::time_point m_tpReply; ///< when the last status line came
    ExchangeList m_exchange;
    BodyDecoder m_body;
    std::size_t m_nSent = 0; ///< bytes of the body that libcurl has taken
    std::size_t m_nHeaderBytes = 0;
    bool m_bHeaderComplete = false;
    bool m_bBodyBegun = false;
    CURLcode m_eSetUp = CURLE_OK;   ///< the first error while setting up the handle
    CURLcode m_eRefused = CURLE_OK; ///< why we ended the exchange ourselves
};

} // namespace chttpclient
