#include "TransportTest.h"

#include <gmock/gmock.h>

#include <chrono>
#include <cstdlib>
#include <set>

namespace
{
constexpr std::chrono::seconds PATIENCE{60};

/// The names of the settings that the present test has made.
std::set<std::string> g_setNames;
} // namespace

void ReceivedReplies::Add(const std::string& strBody, int nType, void* pUserData, int nHttpError)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_vecReplies.push_back({strBody, nType, pUserData, nHttpError, std::this_thread::get_id()});
    }
    m_condition.notify_all();
}

bool ReceivedReplies::WaitFor(std::size_t nCount) const
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_condition.wait_for(lock, PATIENCE, [&] { return m_vecReplies.size() >= nCount; });
}

std::size_t ReceivedReplies::Count() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_vecReplies.size();
}

std::vector<ReceivedReply> ReceivedReplies::All() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_vecReplies;
}

std::vector<int> ReceivedReplies::Errors() const
{
    std::vector<int> vecErrors;
    for (const ReceivedReply& reply : All()) {
        vecErrors.push_back(reply.nHttpError);
    }
    return vecErrors;
}

std::vector<void*> ReceivedReplies::UserData() const
{
    std::vector<void*> vecUserData;
    for (const ReceivedReply& reply : All()) {
        vecUserData.push_back(reply.pUserData);
    }
    return vecUserData;
}

void Gate::Open()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_bOpen = true;
    }
    m_condition.notify_all();
}

bool Gate::Wait()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_condition.wait_for(lock, PATIENCE, [this] { return m_bOpen; });
}

TransportTest::TransportTest()
{
    for (const char* szName : {"http_proxy", "https_proxy", "all_proxy", "ALL_PROXY", "no_proxy", "NO_PROXY",
                               "CHTTPCLIENT_POST_IDLE_MS"}) {
        ::unsetenv(szName);
    }
    Set("CHTTPCLIENT_DRAIN_MS", 1000);
    Set("CLOG_LEVEL", 1); // the fixed lines; CauseTest is about the others
}

TransportTest::~TransportTest()
{
    CHttpClientUnInit();
    CHttpClientSetResponseCallBack(nullptr);
    for (const std::string& strName : g_setNames) { // the next test may run in the same process
        ::unsetenv(strName.c_str());
    }
    g_setNames.clear();
}

void TransportTest::Set(const std::string& strName, long nValue)
{
    Set(strName, std::to_string(nValue));
}

void TransportTest::Set(const std::string& strName, const std::string& strValue)
{
    g_setNames.insert(strName);
    ::setenv(strName.c_str(), strValue.c_str(), 1);
}

void TransportTest::Start()
{
    CHttpClientSetResponseCallBack(Keeper());
    ASSERT_TRUE(CHttpClientInit());
}

CHttpClientResponse TransportTest::Keeper()
{
    return [this](const std::string& strBody, int nType, void* pUserData, int nHttpError) {
        m_replies.Add(strBody, nType, pUserData, nHttpError);
    };
}

void TransportTest::Get(const std::string& strUrl, void* pUserData, int nType)
{
    CHttpClientSendRequest(nType, strUrl, "", pUserData, false, false, "");
}

void TransportTest::Post(const std::string& strUrl, const std::string& strBody, void* pUserData, int nType)
{
    CHttpClientSendRequest(nType, strUrl, strBody, pUserData, true, true, "Content-Type: application/json");
}

std::vector<ReceivedReply> TransportTest::RepliesAfterShutdown(std::size_t nCount)
{
    EXPECT_TRUE(m_replies.WaitFor(nCount));
    CHttpClientUnInit();
    EXPECT_THAT(m_replies.All(), testing::SizeIs(nCount));
    return m_replies.All();
}

std::vector<void*> Tokens::All()
{
    std::vector<void*> vecAll;
    for (char& token : m_vecTokens) {
        vecAll.push_back(&token);
    }
    return vecAll;
}
