#pragma once

#include "FakeShelf.h"
#include "VirtualHost.h"
#include "WaitUntil.h"

#include "outbox/Outbox.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <thread>

namespace outbox
{

/// A transport with a thread that calls the receiver.
class ThreadedTransport
{
public:
    ThreadedTransport() : m_thread([this] { Run(); }) {}
    ~ThreadedTransport()
    {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_bEnds = true;
        }
        m_wake.notify_all();
        m_thread.join();
    }
    ThreadedTransport(const ThreadedTransport&) = delete;
    ThreadedTransport& operator=(const ThreadedTransport&) = delete;

    /// What the receiver of the transport gets.
    struct Call {
        std::string strBody;
        int nType;
        void* pUserData;
        int nError;
    };
    void Deliver(Call call)
    {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_lstCalls.push_back(std::move(call));
        }
        m_wake.notify_all();
    }
    /// Every callback that the sender with this user data got.
    int CallsOf(std::size_t nUserData) const { return m_arCalls.at(nUserData); }
    bool AwaitCalls(int nCalls) const
    {
        return WaitUntil([&] { return m_nCalls >= nCalls; });
    }
    void* UserData(std::size_t nUserData) { return &m_arCalls.at(nUserData); }

    std::atomic<int> nError{0}; ///< of the replies
    std::atomic<bool> bAnswers{true};
    std::function<void()> fnOnCall; ///< called within each callback
    /// The token of the first report that was sent.
    void* FirstToken()
    {
        const std::lock_guard<std::mutex> lock(mutexTokens);
        return vecTokens.at(0);
    }

    std::mutex mutexTokens;
    std::vector<void*> vecTokens; ///< of the reports that were sent

private:
    void Run()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        for (;;) {
            m_wake.wait(lock, [this] { return m_bEnds || !m_lstCalls.empty(); });
            if (m_lstCalls.empty()) {
                return;
            }
            const Call call = m_lstCalls.front();
            m_lstCalls.pop_front();
            lock.unlock();
            Receive(call.strBody, call.nType, call.pUserData, call.nError);
            lock.lock();
        }
    }
    void Receive(const std::string& strBody, int /*nType*/, void* pUserData, int nHttpError)
    {
        const auto fnAnswer = [this](const std::string&, int, void* pUser, int) { Count(pUser); };
        if (!OnReply(strBody, pUserData, nHttpError, fnAnswer)) {
            Count(pUserData);
        }
    }
    void Count(void* pUserData)
    {
        ++*static_cast<std::atomic<int>*>(pUserData);
        ++m_nCalls;
        if (fnOnCall) {
            fnOnCall();
        }
    }

    std::array<std::atomic<int>, 3'000> m_arCalls{};
    std::atomic<int> m_nCalls{0};
    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<Call> m_lstCalls;
    bool m_bEnds = false;
    std::thread m_thread;
};

class ThreadedPost final : public Post
{
public:
    explicit ThreadedPost(ThreadedTransport& transport) : m_transport(transport) {}
    bool Send(const Report& report, void* pToken) override
    {
        {
            const std::lock_guard<std::mutex> lock(m_transport.mutexTokens);
            m_transport.vecTokens.push_back(pToken);
        }
        if (m_transport.bAnswers) {
            m_transport.Deliver({"{}", report.nType, pToken, m_transport.nError});
        }
        return true;
    }
    void HandBack(int nType, const std::string& strBody, void* pUserData, int nHttpError) override
    {
        m_transport.Deliver({strBody, nType, pUserData, nHttpError});
    }
    std::optional<std::chrono::seconds> RetryAfter() const override { return std::nullopt; }
    bool MayHaveBeenSeen() const override { return true; }

private:
    ThreadedTransport& m_transport;
};

class SteadyClock final : public Clock
{
public:
    TimePoint Now() const override { return std::chrono::steady_clock::now(); }
};

/// An outbox of the process with such a transport.
class OutboxTest : public ::testing::Test
{
protected:
    ~OutboxTest() override { Close(Milliseconds(0)); }

    MakeMeans Make()
    {
        return [this] {
            Desk::Means means;
            means.pShelf = std::make_unique<FakeShelf>(m_disk);
            means.pPost = std::make_unique<ThreadedPost>(m_transport);
            means.pClock = std::make_unique<SteadyClock>();
            means.pRandom = std::make_unique<SeededRandom>();
            return means;
        };
    }
    bool SendOne(std::size_t nUserData)
    {
        return outbox::Send({3102, "http://lab/x", "", "body", "", "", 0}, m_transport.UserData(nUserData));
    }
    std::size_t Waiting()
    {
        const std::lock_guard<std::mutex> lock(m_disk.mutex);
        return m_disk.mapWaiting.size();
    }
    bool AwaitNoneWaiting()
    {
        return WaitUntil([this] { return Waiting() == 0; });
    }

    /// Waits until the disk was asked for something often enough.
    bool Await(std::uint64_t FakeShelf::Contents::*pnCount, std::uint64_t nCount)
    {
        return WaitUntil([&] {
            const std::lock_guard<std::mutex> lock(m_disk.mutex);
            return m_disk.*pnCount >= nCount;
        });
    }

    FakeShelf::Contents m_disk;
    ThreadedTransport m_transport;
};

} // namespace outbox
