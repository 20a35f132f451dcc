#pragma once

#include <curl/curl.h>

#include <memory>

struct DeleteCurlHandle {
    void operator()(CURL* pEasy) const { curl_easy_cleanup(pEasy); }
};

/// Owns a handle of libcurl's easy interface.
using CurlHandle = std::unique_ptr<CURL, DeleteCurlHandle>;
