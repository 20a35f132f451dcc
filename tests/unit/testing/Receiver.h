#pragma once

#include <ktshttpagent/chttpclient.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

/// One callback of the transport.
struct ReceivedCall {
    std::string strBody;
    int nType;
    void* pUserData;
    int nHttpError;
    std::thread::id idThread;
    std::string strStory;
    long long nRetryAfter;
    int nBodySent;
};

/// Starts the transport with a receiver that keeps all callbacks, and stops it.
class Receiver
{
public:
    Receiver()
    {
        CHttpClientSetResponseCallBack(
            [this](const std::string& strBody, int nType, void* pUserData, int nHttpError) {
                const std::lock_guard<std::mutex> lock(m_mutex);
                m_vecCalls.push_back({strBody, nType, pUserData, nHttpError, std::this_thread::get_id(),
                                      CHttpClientExchangeStory(), CHttpClientExchangeRetryAfter(),
                                      CHttpClientExchangeBodySent()});
                m_changed.notify_all();
            });
        CHttpClientInit();
    }
    ~Receiver()
    {
        CHttpClientUnInit();
        CHttpClientSetResponseCallBack(nullptr);
    }
    Receiver(const Receiver&) = delete;
    Receiver& operator=(const Receiver&) = delete;

    /// Waits for that many callbacks.
    /// @return all so far
    std::vector<ReceivedCall> Wait(std::size_t nCount)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait_for(lock, std::chrono::seconds(60), [&] { return m_vecCalls.size() >= nCount; });
        return m_vecCalls;
    }

    static void Get(int nType, const std::string& strUrl = "http://server/x?t=1", void* pUserData = nullptr)
    {
        CHttpClientSendRequest(nType, strUrl, "{\"t\":1}", pUserData, false, false, "");
    }
    static void Post(int nType, const std::string& strBody)
    {
        CHttpClientSendRequest(nType, "http://server/reports", strBody, nullptr, true, true, "X-Header: y");
    }

private:
    std::mutex m_mutex; ///< guards what follows
    std::condition_variable m_changed;
    std::vector<ReceivedCall> m_vecCalls;
};
