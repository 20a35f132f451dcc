// libcurl alone: the minimum that a request over libcurl can cost.

#include "BareCurl.h"

#include "Clock.h"
#include "Measured.h"

#include <QSemaphore>

#include <stdexcept>
#include <string>
#include <thread>

namespace
{

std::size_t Discard(char* /*pData*/, std::size_t nSize, std::size_t nCount, void* /*pUser*/)
{
    return nSize * nCount;
}

bool IsOk(CURL* pEasy, CURLcode eResult)
{
    constexpr long HTTP_OK = 200;
    long nStatus = 0;
    curl_easy_getinfo(pEasy, CURLINFO_RESPONSE_CODE, &nStatus);
    return eResult == CURLE_OK && nStatus == HTTP_OK;
}

void ThrowUnless(bool bSucceeded)
{
    if (!bSucceeded) {
        throw std::runtime_error("a request of bare libcurl failed");
    }
}

/// A libcurl handle for each connection; each is sent again as soon as its request is finished.
class BareLoop
{
public:
    explicit BareLoop(const Load& load) : m_pMulti(curl_multi_init()), m_nCount(load.nCount)
    {
        for (Easy& pEasy : m_arEasy) {
            pEasy = MakeEasy("127.0.0.1", load.nPort);
            Start(pEasy.get());
        }
    }
    ~BareLoop()
    {
        for (const Easy& pEasy : m_arEasy) {
            curl_multi_remove_handle(m_pMulti.get(), pEasy.get());
        }
    }
    BareLoop(const BareLoop&) = delete;
    BareLoop& operator=(const BareLoop&) = delete;

    void Run()
    {
        constexpr int WAIT_MS = 10'000;
        while (m_nDone < m_nCount) {
            int nRunning = 0;
            curl_multi_perform(m_pMulti.get(), &nRunning);
            if (!CollectFinished()) {
                curl_multi_poll(m_pMulti.get(), nullptr, 0, WAIT_MS, nullptr);
            }
        }
    }

private:
    void Start(CURL* pEasy)
    {
        if (m_nStarted < m_nCount) {
            ++m_nStarted;
            curl_multi_add_handle(m_pMulti.get(), pEasy);
        }
    }

    bool CollectFinished()
    {
        bool bAny = false;
        int nLeft = 0;
        while (const CURLMsg* const pMessage = curl_multi_info_read(m_pMulti.get(), &nLeft)) {
            CURL* const pEasy = pMessage->easy_handle;
            ThrowUnless(IsOk(pEasy, pMessage->data.result));
            curl_multi_remove_handle(m_pMulti.get(), pEasy);
            ++m_nDone;
            Start(pEasy);
            bAny = true;
        }
        return bAny;
    }

    Multi m_pMulti;
    Easy m_arEasy[CONNECTIONS];
    const std::size_t m_nCount;
    std::size_t m_nStarted = 0;
    std::size_t m_nDone = 0;
};

} // namespace

Easy MakeEasy(const std::string& strHost, int nPort)
{
    const std::string strUrl =
        "http://" + strHost + ":" + std::to_string(nPort) + "/vomd/system/GetSupportVer.action?t=1.1.0";
    Easy pEasy(curl_easy_init());
    curl_easy_setopt(pEasy.get(), CURLOPT_URL, strUrl.c_str());
    curl_easy_setopt(pEasy.get(), CURLOPT_WRITEFUNCTION, &Discard);
    return pEasy;
}

double RateOfBareLoop(const Load& load)
{
    const Stopwatch watch;
    BareLoop(load).Run();
    return static_cast<double>(load.nCount) / watch.Seconds();
}

Latencies LatencyOfBareCurl(const Load& load)
{
    const Easy pEasy = MakeEasy("127.0.0.1", load.nPort);
    Laps laps;
    for (std::size_t nDone = 0; nDone < load.nCount; ++nDone) {
        ThrowUnless(IsOk(pEasy.get(), curl_easy_perform(pEasy.get())));
        laps.Next();
    }
    return laps.Microseconds();
}

// What the second thread costs without the library: it sleeps until the host's thread has a request for it.
Latencies LatencyOfBareHandOver(const Load& load)
{
    QSemaphore sent;
    QSemaphore replied;
    bool bSucceeded = true;
    Stopwatch watch;
    Latencies vecLatency;
    std::thread network([&] {
        const Easy pEasy = MakeEasy("127.0.0.1", load.nPort);
        for (std::size_t nRequest = 0; nRequest < load.nCount; ++nRequest) {
            sent.acquire();
            bSucceeded = IsOk(pEasy.get(), curl_easy_perform(pEasy.get())) && bSucceeded;
            vecLatency.push_back(watch.Microseconds());
            replied.release();
        }
    });
    for (std::size_t nRequest = 0; nRequest < load.nCount; ++nRequest) {
        watch = Stopwatch();
        sent.release();
        replied.acquire();
    }
    network.join();
    ThrowUnless(bSucceeded);
    vecLatency.erase(vecLatency.begin());
    return vecLatency;
}

double ProcessorTimeOfBareLoop(const Load& load)
{
    constexpr int WAIT_MS = 10'000;
    const Easy pEasy = MakeEasy("127.0.0.1", load.nPort);
    const Multi pMulti(curl_multi_init());
    return ProcessorTimeOfSparse(load.nCount, [&] {
        curl_multi_add_handle(pMulti.get(), pEasy.get());
        int nRunning = 1;
        while (curl_multi_perform(pMulti.get(), &nRunning) == CURLM_OK && nRunning != 0) {
            curl_multi_poll(pMulti.get(), nullptr, 0, WAIT_MS, nullptr);
        }
        int nLeft = 0;
        const CURLMsg* const pMessage = curl_multi_info_read(pMulti.get(), &nLeft);
        ThrowUnless(pMessage != nullptr && IsOk(pEasy.get(), pMessage->data.result));
        curl_multi_remove_handle(pMulti.get(), pEasy.get());
    });
}
