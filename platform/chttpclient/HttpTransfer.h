#pragma once

#include "HttpExchange.h"
#include "TransportSettings.h"

#include <curl/curl.h>

#include <memory>
#include <string>
#include <string_view>

namespace chttpclient
{

/// One exchange at a time on one libcurl handle, which is used again and again. Lives on the I/O thread.
class CHttpTransfer
{
public:
    /// @throws std::bad_alloc when libcurl gives no handle
    explicit CHttpTransfer(const STransportSettings& settings);
    CHttpTransfer(const CHttpTransfer&) = delete;
    CHttpTransfer& operator=(const CHttpTransfer&) = delete;

    /// Makes the handle ready for the request of an exchange, the only one of its list, which is the caller's
    /// again after `Finish`.
    /// @return CURLE_OK, or why the request can't be sent; `Finish` is due in both cases
    CURLcode Begin(ExchangeList exchange);

    /// Ends the exchange with its outcome. The body is handed over where the server answered in full.
    ExchangeList Finish(CURLcode eResult);

    CURL* Handle() const { return m_pEasy.get(); }

    /// The transfer that a handle belongs to.
    static CHttpTransfer* Of(CURL* pEasy);

private:
    struct SEasyCleanup {
        void operator()(CURL* pEasy) const { curl_easy_cleanup(pEasy); }
    };
    struct SListCleanup {
        void operator()(curl_slist* pList) const { curl_slist_free_all(pList); }
    };

    const SHttpExchange& Request() const { return m_exchange.front(); }

    template <class Value>
    void Set(CURLoption eOption, Value value);
    void SetUp();
    void SetConstantOptions();
    void SetUrl();
    void SetHeaders();
    void SetMethod();
    void AppendHeader(const char* szLine);
    void NoteHeaderLine(std::string_view strLine);
    int HttpError(CURLcode eResult) const;

    static int OnConnected(void* pSelf, char* szPeer, char* szOwn, int nPeerPort, int nOwnPort);
    static std::size_t OnSend(char* pBuffer, std::size_t nSize, std::size_t nCount, void* pSelf);
    static std::size_t OnBody(char* pData, std::size_t nSize, std::size_t nCount, void* pSelf);
    static std::size_t OnHeader(char* pData, std::size_t nSize, std::size_t nCount, void* pSelf);

    std::unique_ptr<CURL, SEasyCleanup> m_pEasy;
    std::unique_ptr<curl_slist, SListCleanup> m_pHeaders;
    bool m_bHeadersSet = false; ///< the handle has the list, which was made for the two members behind it
    std::string m_strHeaderOfList;
    bool m_bPostOfList = false;
    const STransportSettings& m_settings;
    ExchangeList m_exchange;
    std::string m_strReply;
    std::size_t m_nSent = 0; ///< bytes of the body that libcurl has taken
    std::size_t m_nHeaderBytes = 0;
    bool m_bHeaderComplete = false;
    bool m_bConfigured = false;     ///< the constant options are set
    CURLcode m_eSetUp = CURLE_OK;   ///< the first failure of setting the handle up
    CURLcode m_eRefused = CURLE_OK; ///< why we ended the exchange ourselves
};

} // namespace chttpclient
