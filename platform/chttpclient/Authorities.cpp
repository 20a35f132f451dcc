#include "Authorities.h"

#include <array>
#include <utility>

namespace chttpclient
{
namespace
{

/// An option that the TLS library lacks need not be switched off: Schannel has no folders of authorities.
CURLcode AfterSwitchingOff(CURLcode eResult)
{
    return eResult == CURLE_NOT_BUILT_IN ? CURLE_OK : eResult;
}

} // namespace

CURLcode SetAuthorities(CURL* pEasy, const std::string& strCaFile)
{
    if (strCaFile.empty()) {
        return CURLE_OK;
    }
    constexpr std::array<std::pair<CURLoption, CURLoption>, 2> PEERS{
        {{CURLOPT_CAINFO, CURLOPT_CAPATH}, {CURLOPT_PROXY_CAINFO, CURLOPT_PROXY_CAPATH}}};
    for (const auto& [eFile, eFolder] : PEERS) {
        CURLcode eResult = curl_easy_setopt(pEasy, eFile, strCaFile.c_str());
        if (eResult == CURLE_OK) { // libcurl's built-in folder would be used besides the file
            eResult = AfterSwitchingOff(curl_easy_setopt(pEasy, eFolder, static_cast<const char*>(nullptr)));
        }
        if (eResult != CURLE_OK) {
            return eResult;
        }
    }
    // Given only a file, libcurl would cache its authorities for a day.
    return AfterSwitchingOff(curl_easy_setopt(pEasy, CURLOPT_CA_CACHE_TIMEOUT, 0L));
}

} // namespace chttpclient
