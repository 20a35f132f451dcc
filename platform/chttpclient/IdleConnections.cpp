#include "IdleConnections.h"

#include <memory>

namespace chttpclient
{
namespace
{

curl_socket_t OpenNone(void* /*pUser*/, curlsocktype /*ePurpose*/, curl_sockaddr* /*pAddress*/)
{
    return CURL_SOCKET_BAD;
}

} // namespace

// libcurl checks its kept connections only when a request needs a connection. This request triggers the check
// and then fails at once, since it can't open a socket.
void CloseIdleConnections(CURLM* pMulti, long nSeconds)
{
    const std::unique_ptr<CURL, void (*)(CURL*)> pEasy(curl_easy_init(), &curl_easy_cleanup);
    if (pEasy == nullptr) {
        return;
    }
    CURL* const pRequest = pEasy.get();
    const bool bReady =
        curl_easy_setopt(pRequest, CURLOPT_FRESH_CONNECT, 1L) == CURLE_OK &&
        curl_easy_setopt(pRequest, CURLOPT_OPENSOCKETFUNCTION, &OpenNone) == CURLE_OK &&
        curl_easy_setopt(pRequest, CURLOPT_MAXAGE_CONN, nSeconds - 1) == CURLE_OK && // means "more than"
        curl_easy_setopt(pRequest, CURLOPT_NOSIGNAL, 1L) == CURLE_OK &&
        curl_easy_setopt(pRequest, CURLOPT_PROXY, "") == CURLE_OK &&
        curl_easy_setopt(pRequest, CURLOPT_URL, "http://127.0.0.1/") == CURLE_OK;
    if (bReady && curl_multi_add_handle(pMulti, pRequest) == CURLM_OK) {
        int nRunning = 0;
        curl_multi_perform(pMulti, &nRunning);
        curl_multi_remove_handle(pMulti, pRequest);
    }
}

} // namespace chttpclient
