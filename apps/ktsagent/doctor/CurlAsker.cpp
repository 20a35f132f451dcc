#include "CurlAsker.h"

#include "CurlHandle.h"

#include "Verbose.h"

#include <QString>

#include <algorithm>
#include <array>
#include <new>
#include <utility>

namespace
{

/// One request and what comes back.
struct AskedByCurl {
    CurlHandle pEasy{curl_easy_init()};
    HttpAnswer answer;
    std::array<char, CURL_ERROR_SIZE> arrError{};
};

std::size_t OnBody(char* pData, std::size_t nSize, std::size_t nCount, void* pAsked)
{
    std::string& strBody = static_cast<AskedByCurl*>(pAsked)->answer.strBody;
    strBody.append(pData, std::min(nSize * nCount, MOST_BODY_BYTES - strBody.size()));
    return nSize * nCount;
}

std::size_t OnHeader(char* pData, std::size_t nSize, std::size_t nCount, void* pAsked)
{
    const QString strLine = QString::fromUtf8(pData, static_cast<int>(nSize * nCount));
    const int nColon = strLine.indexOf(':');
    if (nColon > 0) {
        static_cast<AskedByCurl*>(pAsked)->answer.mapHeaders[strLine.left(nColon).toLower().toStdString()] =
            strLine.mid(nColon + 1).trimmed().toStdString();
    }
    return nSize * nCount;
}

void Prepare(AskedByCurl& asked)
{
    CURL* const pEasy = asked.pEasy.get();
    curl_easy_setopt(pEasy, CURLOPT_PRIVATE, static_cast<void*>(&asked));
    curl_easy_setopt(pEasy, CURLOPT_ERRORBUFFER, asked.arrError.data());
    curl_easy_setopt(pEasy, CURLOPT_WRITEFUNCTION, &OnBody);
    curl_easy_setopt(pEasy, CURLOPT_WRITEDATA, static_cast<void*>(&asked));
    curl_easy_setopt(pEasy, CURLOPT_HEADERFUNCTION, &OnHeader);
    curl_easy_setopt(pEasy, CURLOPT_HEADERDATA, static_cast<void*>(&asked));
    TraceHandle(pEasy);
}

void Finish(CURL* pEasy, CURLcode eResult)
{
    char* pPrivate = nullptr;
    curl_easy_getinfo(pEasy, CURLINFO_PRIVATE, &pPrivate);
    AskedByCurl& asked = *reinterpret_cast<AskedByCurl*>(pPrivate);
    long nStatus = 0;
    long nConnects = 0;
    curl_off_t nMicroseconds = 0;
    curl_easy_getinfo(pEasy, CURLINFO_RESPONSE_CODE, &nStatus);
    curl_easy_getinfo(pEasy, CURLINFO_NUM_CONNECTS, &nConnects);
    curl_easy_getinfo(pEasy, CURLINFO_TOTAL_TIME_T, &nMicroseconds);
    HttpAnswer& answer = asked.answer;
    answer.nStatus = static_cast<int>(nStatus);
    answer.bNewConnection = nConnects > 0;
    answer.nMilliseconds = nMicroseconds / 1000;
    answer.bTimedOut = eResult == CURLE_OPERATION_TIMEDOUT;
    answer.bNotHttp = eResult == CURLE_UNSUPPORTED_PROTOCOL || eResult == CURLE_WEIRD_SERVER_REPLY;
    if (eResult != CURLE_OK) {
        const char* const szError =
            asked.arrError.front() == '\0' ? curl_easy_strerror(eResult) : asked.arrError.data();
        answer.strError = std::string(szError) + " (libcurl's error " + std::to_string(eResult) + ")";
    }
    EndTrace(pEasy, eResult);
}

int OnPart(CURL* pEasy, curl_infotype eType, char* pBytes, std::size_t nBytes, void* /*pData*/)
{
    constexpr std::pair<curl_infotype, EKtsTrace> PARTS[] = {{CURLINFO_TEXT, EKtsTrace::Remark},
                                                             {CURLINFO_HEADER_IN, EKtsTrace::ReplyHeader},
                                                             {CURLINFO_HEADER_OUT, EKtsTrace::RequestHeader},
                                                             {CURLINFO_DATA_IN, EKtsTrace::ReplyBody},
                                                             {CURLINFO_DATA_OUT, EKtsTrace::RequestBody}};
    for (const auto& [eOfLibcurl, ePart] : PARTS) {
        if (eOfLibcurl == eType) {
            ShowPart(ePart, {pBytes, nBytes}, pEasy);
        }
    }
    return 0;
}

} // namespace

void TraceHandle(CURL* pEasy)
{
    if (IsVerbose()) {
        curl_easy_setopt(pEasy, CURLOPT_DEBUGFUNCTION, &OnPart);
        curl_easy_setopt(pEasy, CURLOPT_VERBOSE, 1L);
    }
}

void EndTrace(CURL* pEasy, CURLcode eResult)
{
    if (!IsVerbose()) {
        return;
    }
    curl_off_t nMicroseconds = 0;
    curl_easy_getinfo(pEasy, CURLINFO_TOTAL_TIME_T, &nMicroseconds);
    ShowPart(EKtsTrace::End,
             (eResult == CURLE_OK ? "" : std::string(curl_easy_strerror(eResult)) + "; ") + "ms: whole " +
                 std::to_string(nMicroseconds / 1000),
             pEasy);
}

void SetTransportOptions(CURL* pEasy, const std::string& strUrl, const std::string& strCaFile,
                         std::chrono::milliseconds timeout)
{
    curl_easy_setopt(pEasy, CURLOPT_URL, strUrl.c_str());
    curl_easy_setopt(pEasy, CURLOPT_TIMEOUT_MS,
                     static_cast<long>(std::max<std::int64_t>(timeout.count(), 1)));
    curl_easy_setopt(pEasy, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(pEasy, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    curl_easy_setopt(pEasy, CURLOPT_ACCEPT_ENCODING, "gzip, deflate");
    curl_easy_setopt(pEasy, CURLOPT_PATH_AS_IS, 1L);
    curl_easy_setopt(pEasy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(pEasy, CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    curl_easy_setopt(pEasy, CURLOPT_QUICK_EXIT, 1L);
    if (!strCaFile.empty()) {
        curl_easy_setopt(pEasy, CURLOPT_CAINFO, strCaFile.c_str());
        curl_easy_setopt(pEasy, CURLOPT_CAPATH, static_cast<const char*>(nullptr));
        curl_easy_setopt(pEasy, CURLOPT_PROXY_CAINFO, strCaFile.c_str());
        curl_easy_setopt(pEasy, CURLOPT_PROXY_CAPATH, static_cast<const char*>(nullptr));
    }
}

CurlAsker::CurlAsker(std::string strCaFile) : m_strCaFile(std::move(strCaFile)) {}

std::vector<HttpAnswer> CurlAsker::Ask(const std::vector<std::string>& vecUrls,
                                       std::chrono::milliseconds timeout)
{
    std::vector<AskedByCurl> vecAsked(vecUrls.size());
    for (std::size_t i = 0; i < vecUrls.size(); ++i) {
        AskedByCurl& asked = vecAsked[i];
        if (asked.pEasy == nullptr || m_pMulti == nullptr) {
            throw std::bad_alloc();
        }
        asked.answer.strUrl = vecUrls[i];
        SetTransportOptions(asked.pEasy.get(), vecUrls[i], m_strCaFile, timeout);
        Prepare(asked);
        curl_multi_add_handle(m_pMulti.get(), asked.pEasy.get());
    }
    int nRunning = 1;
    while (nRunning > 0 && curl_multi_perform(m_pMulti.get(), &nRunning) == CURLM_OK) {
        int nLeft = 0;
        while (const CURLMsg* const pMessage = curl_multi_info_read(m_pMulti.get(), &nLeft)) {
            Finish(pMessage->easy_handle, pMessage->data.result);
        }
        constexpr int WAIT_MS = 100;
        if (nRunning > 0) {
            curl_multi_poll(m_pMulti.get(), nullptr, 0, WAIT_MS, nullptr);
        }
    }
    std::vector<HttpAnswer> vecAnswers;
    for (AskedByCurl& asked : vecAsked) {
        curl_multi_remove_handle(m_pMulti.get(), asked.pEasy.get());
        vecAnswers.push_back(std::move(asked.answer));
    }
    return vecAnswers;
}
