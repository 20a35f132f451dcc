#pragma once

#include <curl/curl.h>

#include <memory>
#include <string>

struct EasyCleanup {
    void operator()(CURL* pEasy) const { curl_easy_cleanup(pEasy); }
};
using Easy = std::unique_ptr<CURL, EasyCleanup>;

struct MultiCleanup {
    void operator()(CURLM* pMulti) const { curl_multi_cleanup(pMulti); }
};
using Multi = std::unique_ptr<CURLM, MultiCleanup>;

/// A libcurl handle that queries the supported version and discards the reply.
Easy MakeEasy(const std::string& strHost, int nPort);
