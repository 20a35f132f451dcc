#pragma once

#include "HttpAnswer.h"

#include <curl/curl.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

/// Gives a handle the options that the library's transport gives to its own.
void SetTransportOptions(CURL* pEasy, const std::string& strUrl, const std::string& strCaFile,
                         std::chrono::milliseconds timeout);

/// Shows what the handle's exchange is made of, if the user wants to see that.
void TraceHandle(CURL* pEasy);
/// Ends that. Call it once for each handle, after its exchange.
void EndTrace(CURL* pEasy, CURLcode eResult);

/// Sends queries as the asynchronous interface does, with libcurl. Keeps connections between the calls.
class CurlAsker
{
public:
    explicit CurlAsker(std::string strCaFile);

    /// Sends a GET for each URL, all at the same time.
    /// @param timeout  for all together
    std::vector<HttpAnswer> Ask(const std::vector<std::string>& vecUrls, std::chrono::milliseconds timeout);

private:
    struct Delete {
        void operator()(CURLM* pMulti) const { curl_multi_cleanup(pMulti); }
    };

    const std::string m_strCaFile;
    const std::unique_ptr<CURLM, Delete> m_pMulti{curl_multi_init()};
};
