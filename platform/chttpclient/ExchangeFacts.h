#pragma once

#include <curl/curl.h>

#include <string>

namespace chttpclient
{

/// What is known about an exchange that was begun, for a line in the log and for the receiver. A time counts
/// from the beginning of the exchange, in microseconds; it is 0 if the stage was not reached, or was that of
/// a kept connection.
struct ExchangeFacts {
    std::string strPeer; ///< the address that the exchange was connected to, a proxy's perhaps; may be empty
    long nPeerPort = 0;
    std::string strProxy;       ///< without its password; empty for none
    std::string strError;       ///< libcurl's own words for a failure; empty if it has none
    std::string strBody;        ///< of a failed exchange: the beginning of what came of its body
    long nStatus = 0;           ///< 0 if no status came
    long nConnects = 0;         ///< how many connections were made for it; 0 if a kept one was used
    bool bSent = false;         ///< whether the request was sent, or a part of its header
    bool bBodySent = false;     ///< whether any of a POST's body may have been sent
    curl_off_t nRetryAfter = 0; ///< seconds that the server asks to wait before another try; 0 for none
    curl_off_t nNameTime = 0;
    curl_off_t nConnectTime = 0;
    curl_off_t nTlsTime = 0;
    curl_off_t nFirstByteTime = 0;
    curl_off_t nWholeTime = 0;
};

} // namespace chttpclient
