#pragma once

#include "LogFolder.h"
#include "ScriptedServer.h"

#include <ktshttpagent/chttpclient.h>

#include <gtest/gtest.h>

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

/// What one callback was called with, and on which thread.
struct ReceivedReply {
    std::string strBody;
    int nType = 0;
    void* pUserData = nullptr;
    int nHttpError = 0;
    std::thread::id idThread;
};

/// Keeps all replies. May be called from any thread.
class ReceivedReplies
{
public:
    void Add(const std::string& strBody, int nType, void* pUserData, int nHttpError);
    /// Makes `Add` allocate nothing for that many replies with short bodies.
    void Reserve(std::size_t nCount) { m_vecReplies.reserve(nCount); }
    /// @return false when that many replies have not come within 60 s
    bool WaitFor(std::size_t nCount) const;
    std::size_t Count() const;
    std::vector<ReceivedReply> All() const;
    std::vector<int> Errors() const;
    std::vector<void*> UserData() const;

private:
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_condition;
    std::vector<ReceivedReply> m_vecReplies;
};

/// A gate at which callbacks wait until the test opens it.
class Gate
{
public:
    void Open();
    /// @return false when it was not opened within 60 s
    bool Wait();

private:
    std::mutex m_mutex;
    std::condition_variable m_condition;
    bool m_bOpen = false;
};

/// A test of the transport through its four calls. Proxies of the environment are disabled, the log has a
/// folder of its own, and the drain time is a second.
class TransportTest : public testing::Test
{
protected:
    static constexpr int TYPE = 3104;

    TransportTest();
    ~TransportTest() override;

    /// Settings are read by Start, and end with the test.
    static void Set(const std::string& strName, long nValue);
    static void Set(const std::string& strName, const std::string& strValue);

    /// Starts the transport with a receiver that keeps the replies.
    void Start();
    /// The receiver that keeps the replies, for receivers that do more than that.
    CHttpClientResponse Keeper();

    static void Get(const std::string& strUrl, void* pUserData = nullptr, int nType = TYPE);
    static void Post(const std::string& strUrl, const std::string& strBody, void* pUserData = nullptr,
                     int nType = TYPE);

    /// Waits for that many replies and shuts down, which leaves time for a surplus reply to arrive.
    /// @return all replies; the test fails if their number differs
    std::vector<ReceivedReply> RepliesAfterShutdown(std::size_t nCount);

    const LogFolder m_logFolder;
    ReceivedReplies m_replies;
};

/// Distinct user data for that many requests.
class Tokens
{
public:
    explicit Tokens(std::size_t nCount) : m_vecTokens(nCount) {}
    void* At(std::size_t nToken) { return &m_vecTokens.at(nToken); }
    std::vector<void*> All();

private:
    std::vector<char> m_vecTokens;
};
