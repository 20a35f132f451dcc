// The user data of a request has one owner at a time, whatever a site's own transport does: at worst it is
// leaked, or its host gets a second answer, but it is never freed twice and never read after it was freed.

#include "SdkFixture.h"

#include <atomic>
#include <cstdlib>
#include <mutex>
#include <new>
#include <thread>
#include <vector>

namespace
{

/// Counts how often each of its objects is freed. None is really freed, so that no address is used twice,
/// except under the address sanitizer, which itself detects a second free.
class Watched
{
public:
    void Add(void* pObject)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_arObjects[m_nObjects % MOST] = pObject;
        m_arFreed[m_nObjects++ % MOST] = 0;
    }

    bool Free(const void* pObject) noexcept
    {
        if (m_nObjects == 0) {
            return false;
        }
        const std::lock_guard<std::mutex> lock(m_mutex);
        for (std::size_t i = 0; i < MOST; ++i) {
            if (m_arObjects[i] == pObject) {
                ++m_arFreed[i];
                return true;
            }
        }
        return false;
    }

    int Freed(const void* pObject) noexcept
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        for (std::size_t i = 0; i < MOST; ++i) {
            if (m_arObjects[i] == pObject) {
                return m_arFreed[i];
            }
        }
        return -1;
    }

private:
    static constexpr std::size_t MOST = 4096;
    std::mutex m_mutex;
    std::atomic<std::size_t> m_nObjects = 0;
    void* m_arObjects[MOST] = {};
    int m_arFreed[MOST] = {};
};

Watched g_watched;

#if defined(__SANITIZE_ADDRESS__)
constexpr bool COUNTS = false;
#else
constexpr bool COUNTS = true;
#endif

} // namespace

#if !defined(__SANITIZE_ADDRESS__)

void* operator new(std::size_t nSize)
{
    if (void* const pMemory = std::malloc(nSize)) {
        return pMemory;
    }
    throw std::bad_alloc();
}

void operator delete(void* pMemory) noexcept
{
    if (pMemory != nullptr && !g_watched.Free(pMemory)) {
        std::free(pMemory);
    }
}

void operator delete(void* pMemory, std::size_t /*nSize*/) noexcept
{
    operator delete(pMemory);
}

#endif

namespace
{

const Operation OPERATIONS[] = {
    OP_USER_INFO,
    {"LongText", 3110, [](IVelClientSDk& c) { c.GetWhetherInCommon(std::string(100, 'x')); }},
    OP_CHANNEL_CHECK,
    OP_CHL_STATUS,
};

constexpr const char* YES = "{\"success\":true,\"code\":0}";

struct NotTaken : std::exception {
};

/// A site's own transport, which answers and throws as a test requires.
class HostileTransport : public SdkTest, public testing::WithParamInterface<Operation>
{
protected:
    using OnSend = std::function<void(const RecordedRequest&)>;

    void SetUp() override
    {
        SdkTest::SetUp();
        SetReceiver([this](int, const void* pUser, const SResponseHeader&, int) {
            ++m_nAnswers;
            m_nContexts += pUser == nullptr ? 0 : 1;
        });
    }

    void TearDown() override
    {
        m_transport.fnOnSend = nullptr;
        m_transport.vecRequests.clear(); // each was answered as its test requires
        SdkTest::TearDown();
    }

    /// @return whether the operation threw what the transport threw
    bool Send(const OnSend& fnOnSend)
    {
        m_transport.fnOnSend = [&](const RecordedRequest& request) {
            g_watched.Add(request.pUserData);
            m_request = request;
            fnOnSend(request);
        };
        try {
            GetParam().fnSend(m_client);
        } catch (const NotTaken&) {
            return true;
        }
        return false;
    }

    void Answer(const RecordedRequest& request)
    {
        m_transport.fnResponse(YES, request.nType, request.pUserData, 0);
    }

    void ExpectFreedOnce() const
    {
        if (COUNTS) {
            EXPECT_EQ(g_watched.Freed(m_request.pUserData), 1);
        }
    }

    RecordedRequest m_request;
    std::atomic<int> m_nAnswers = 0;
    std::atomic<int> m_nContexts = 0; ///< answers that came with the request's context
};

TEST_P(HostileTransport, ThatThrowsLeavesTheUserDataToTheSdk)
{
    EXPECT_TRUE(Send([](const RecordedRequest&) { throw NotTaken(); }));
    EXPECT_EQ(m_nAnswers, 0);
    ExpectFreedOnce();
}

TEST_P(HostileTransport, ThatAnswersWithinTheCallAndThenThrows)
{
    EXPECT_TRUE(Send([this](const RecordedRequest& request) {
        Answer(request);
        throw NotTaken();
    }));
    EXPECT_EQ(m_nAnswers, 1);
    EXPECT_EQ(m_nContexts, 1);
    ExpectFreedOnce();
}

TEST_P(HostileTransport, ThatThrowsAndAnswersLater)
{
    EXPECT_TRUE(Send([](const RecordedRequest&) { throw NotTaken(); }));
    Answer(m_request);
    EXPECT_EQ(m_nAnswers, 1);
    EXPECT_EQ(m_nContexts, 0); // the context is gone
    ExpectFreedOnce();
}

TEST_P(HostileTransport, ThatAnswersTwice)
{
    EXPECT_FALSE(Send([](const RecordedRequest&) {}));
    Answer(m_request);
    Answer(m_request);
    EXPECT_EQ(m_nAnswers, 2);
    EXPECT_EQ(m_nContexts, 1);
    ExpectFreedOnce();
}

TEST_P(HostileTransport, ThatAnswersWithinTheAnswer)
{
    EXPECT_FALSE(Send([](const RecordedRequest&) {}));
    bool bNested = false;
    SetReceiver([&](int, const void*, const SResponseHeader&, int) {
        ++m_nAnswers;
        if (!std::exchange(bNested, true)) {
            Answer(m_request);
        }
    });
    Answer(m_request);
    EXPECT_EQ(m_nAnswers, 2);
    ExpectFreedOnce();
}

TEST_P(HostileTransport, ThatAnswersOnAnotherThreadWhileTheCallThrows)
{
    constexpr int REPETITIONS = 200;
    for (int i = 0; i < REPETITIONS; ++i) {
        std::thread thread;
        std::atomic<bool> bGo = false;
        EXPECT_TRUE(Send([&](const RecordedRequest& request) {
            thread = std::thread([&bGo, request, this] {
                while (!bGo) {
                    std::this_thread::yield();
                }
                Answer(request);
            });
            bGo = true;
            if (i % 2 == 0) {
                std::this_thread::yield();
            }
            throw NotTaken();
        }));
        thread.join();
        ExpectFreedOnce();
    }
    EXPECT_EQ(m_nAnswers, REPETITIONS);
}

TEST_P(HostileTransport, ThatAnswersAsAnotherTypeOfRequest)
{
    EXPECT_FALSE(Send([](const RecordedRequest&) {}));
    const int nOtherType = m_request.nType == 3109 ? 3103 : 3109;
    m_transport.fnResponse(YES, nOtherType, m_request.pUserData, 0);
    EXPECT_EQ(m_nContexts, 0); // what it holds is of another type
    m_transport.fnResponse("", nOtherType, m_request.pUserData, -7);
    EXPECT_EQ(m_nContexts, 0);
    Answer(m_request);
    EXPECT_EQ(m_nContexts, 1);
    EXPECT_EQ(m_nAnswers, 3);
    ExpectFreedOnce();
}

TEST_P(HostileTransport, ThatAnswersWithAPointerOfItsOwn)
{
    EXPECT_FALSE(Send([](const RecordedRequest&) {}));
    int nOfItsOwn = 0;
    m_transport.fnResponse(YES, m_request.nType, &nOfItsOwn, 0);
    EXPECT_EQ(m_nAnswers, 1);
    EXPECT_EQ(m_nContexts, 0);
    Answer(m_request);
    ExpectFreedOnce();
}

INSTANTIATE_TEST_SUITE_P(Each, HostileTransport, testing::ValuesIn(OPERATIONS),
                         testing::PrintToStringParamName());

} // namespace
