// What two threads may do at the same time: one delivers replies, the other is the host's. Most of these
// tests find little by themselves; the thread sanitizer, under which they also run, finds every missing lock.

#include "SdkFixture.h"

#include "sdk/CDataResponse.h"
#include "sdk/ServerUrl.h"

#include <atomic>
#include <deque>
#include <functional>
#include <future>
#include <mutex>
#include <optional>
#include <thread>

namespace
{

using VelCSDK::CDataResponse;

constexpr int TIMES = 500;
constexpr const char* YES = R"({"success":true})";

/// So long that all threads start to read it before the first is done; Windows allows no longer ones.
#if defined(_WIN32)
constexpr std::size_t LONG_VARIABLE = 30'000;
#else
constexpr std::size_t LONG_VARIABLE = 2'000'000;
#endif

/// Calls a function again and again on a thread of its own, for as long as the object exists.
class Meanwhile
{
public:
    explicit Meanwhile(std::function<void()> fnStep)
        : m_thread([this, fnStep = std::move(fnStep)] {
              while (!m_bStop) {
                  fnStep();
                  ++m_nSteps;
              }
          })
    {
        WaitForOneMore();
    }
    ~Meanwhile()
    {
        m_bStop = true;
        m_thread.join();
    }
    Meanwhile(const Meanwhile&) = delete;
    Meanwhile& operator=(const Meanwhile&) = delete;

    /// Waits until the function was called once more, from beginning to end.
    void WaitForOneMore() const
    {
        for (const long nBefore = m_nSteps; m_nSteps < nBefore + 2;) {
            std::this_thread::yield();
        }
    }

private:
    std::atomic<bool> m_bStop = false;
    std::atomic<long> m_nSteps = 0;
    std::thread m_thread; // last, since it uses the others
};

class SameTime : public SdkTest
{
protected:
    void SetUp() override
    {
        SdkTest::SetUp();
        SetReceiver([this](int, const void* pUser, const SResponseHeader&, int) {
            ++m_nAnswers;
            m_nContexts += pUser == nullptr ? 0 : 1;
        });
    }

    std::atomic<std::size_t> m_nAnswers = 0;
    std::atomic<std::size_t> m_nContexts = 0;
};

TEST_F(SameTime, ADeliveryAndHandlersThatAreRegisteredAndReleasedOverAndOver)
{
    for (int nRound = 0; nRound < 20; ++nRound) {
        const std::size_t nBefore = m_nAnswers;
        const CHttpClientResponse fnDeliver = m_transport.fnResponse;
        const Meanwhile delivering([&] {
            fnDeliver(YES, 3104, nullptr, 0);
            fnDeliver("", 3110, nullptr, 404);
        });
        for (int nTime = 0; nTime < TIMES / 20; ++nTime) {
            m_client.Init();
        }
        delivering.WaitForOneMore();
        EXPECT_GT(m_nAnswers, nBefore) << "round " << nRound;
        CDataResponse::ReleaseInstance();
        delivering.WaitForOneMore();
        const std::size_t nReleased = m_nAnswers;
        delivering.WaitForOneMore();
        EXPECT_EQ(m_nAnswers, nReleased) << "a reply found a handler that was forgotten, round " << nRound;
        m_client.Init();
        ClearRecordedLog();
    }
}

TEST_F(SameTime, ADeliveryThatFailsAndPathsThatAreReplaced)
{
    const std::string strShort = "api/ver";
    const std::string strLong(200, 'p');
    m_client.SetUrlMap({{3104, strShort}});
    {
        const Meanwhile delivering([this] { m_transport.fnResponse("", 3104, nullptr, 404); });
        for (int nTime = 0; nTime < TIMES; ++nTime) {
            m_client.SetUrlMap({{3104, nTime % 2 == 0 ? strLong : strShort}, {3100, strLong}});
        }
    }
    for (const RecordedLine& line : RecordedLog()) {
        EXPECT_TRUE(line.strText == "proctol:" + strShort + " http-error:404" ||
                    line.strText == "proctol:" + strLong + " http-error:404")
            << line.strText;
    }
}

TEST_F(SameTime, ADeliveryAndAReceiverThatIsReplaced)
{
    std::atomic<std::size_t> nDeliveries = 0;
    {
        const Meanwhile delivering([&] {
            ++nDeliveries;
            m_transport.fnResponse(YES, 3104, nullptr, 0);
        });
        for (int nTime = 0; nTime < TIMES; ++nTime) {
            SetReceiver([this, strText = std::string(100, 'x')](int, const void*, const SResponseHeader&,
                                                                int) { m_nAnswers += strText.size() / 100; });
        }
    }
    EXPECT_EQ(m_nAnswers, nDeliveries);
}

/// Passes requests to the thread that answers them.
class Wire
{
public:
    void Put(const RecordedRequest& request)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_queue.push_back(request);
    }
    std::optional<RecordedRequest> Take()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_queue.empty()) {
            return {};
        }
        const RecordedRequest request = m_queue.front();
        m_queue.pop_front();
        return request;
    }

private:
    std::mutex m_mutex;
    std::deque<RecordedRequest> m_queue;
};

TEST_F(SameTime, ARequestThatIsMadeAndTheAnswerToTheOneBefore)
{
    Wire wire;
    m_transport.fnOnSend = [&](const RecordedRequest& request) { wire.Put(request); };
    const CHttpClientResponse fnDeliver = m_transport.fnResponse;
    {
        const Meanwhile answering([&] {
            if (const std::optional<RecordedRequest> optRequest = wire.Take()) {
                fnDeliver(YES, optRequest->nType, optRequest->pUserData, 0);
            }
        });
        for (int nTime = 0; nTime < TIMES; ++nTime) {
            OP_SUPPORT_VER.fnSend(m_client);
            OP_CHANNEL_CHECK.fnSend(m_client);
        }
        while (m_nAnswers < 2L * TIMES) {
            answering.WaitForOneMore();
        }
    }
    EXPECT_EQ(m_nAnswers, 2L * TIMES);
    EXPECT_EQ(m_nContexts, 2L * TIMES) << "answers came without the context of their requests";
    m_transport.fnOnSend = nullptr;
    m_transport.vecRequests.clear(); // each was answered
}

TEST(SameTimeServerUrl, IsPlainOrEncryptedWhileThatIsSwitched)
{
    bool bTls = false;
    const Meanwhile switching([&bTls] { VelCSDK::SetTls(bTls = !bTls); });
    bool bPlain = false;
    bool bEncrypted = false;
    while (!bPlain || !bEncrypted) {
        const std::string strUrl = VelCSDK::ServerUrl("h", 1);
        ASSERT_TRUE(strUrl == "http://h:1/" || strUrl == "https://h:1/") << strUrl;
        bPlain = bPlain || strUrl == "http://h:1/";
        bEncrypted = bEncrypted || strUrl == "https://h:1/";
    }
}

TEST(SameTimeServerUrl, ThatTheEnvironmentCannotBeReadIsSaidOnceToManyThreads)
{
    setenv(VelCSDK::TLS_VARIABLE, std::string(LONG_VARIABLE, 'x').c_str(), 1);
    std::promise<void> start;
    const std::shared_future<void> started = start.get_future().share();
    std::vector<std::future<std::string>> vecUrls;
    for (int nThread = 0; nThread < 8; ++nThread) {
        vecUrls.push_back(std::async(std::launch::async, [started] {
            started.wait();
            return VelCSDK::ServerUrl("h", 1);
        }));
    }
    start.set_value();
    for (auto& url : vecUrls) {
        EXPECT_EQ(url.get(), "https://h:1/");
    }
    EXPECT_EQ(RecordedLog().size(), 1U);
}

} // namespace
