#pragma once

#include "ExchangeFacts.h"
#include "KeptConnections.h"
#include "TransportSettings.h"

#include <curl/curl.h>

#include <array>
#include <memory>
#include <string>
#include <string_view>

namespace chttpclient
{

/// Collects the facts about the one exchange of a libcurl handle. It must outlive the handle.
class ExchangeWatch
{
public:
    ExchangeWatch() = default;
    ExchangeWatch(const ExchangeWatch&) = delete;
    ExchangeWatch& operator=(const ExchangeWatch&) = delete;

    /// Makes the handle tell what only it knows. Call it before the exchange begins.
    /// @param pExchange  names the exchange in the trace
    CURLcode Attach(CURL* pEasy, const TransportSettings& settings, const void* pExchange);

    /// The facts, once the exchange is over; null if there is no memory for them.
    /// @param eRefused  why the transport itself ended the exchange; libcurl's words are then about that only
    /// @param ends      of the connection, if the request was sent
    std::shared_ptr<ExchangeFacts> Facts(CURL* pEasy, CURLcode eRefused,
                                         const ConnectionEnds& ends) const noexcept;

private:
    static int OnText(CURL* pEasy, curl_infotype eType, char* pText, std::size_t nSize, void* pSelf);
    void NoteProxy(std::string_view strText);
    void Trace(curl_infotype eType, std::string_view strBytes) const;

    std::array<char, CURL_ERROR_SIZE> m_error; ///< libcurl empties it at the beginning
    std::string m_strProxy;
    const void* m_pExchange = nullptr;
};

} // namespace chttpclient
