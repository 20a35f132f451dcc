#include "LabFixture.h"
#include "WaitUntil.h"

#include <atomic>
#include <cstdlib>
#include <memory>
#include <thread>
#include <vector>

namespace
{

LabReply ReplyOf(const httplib::Result& result)
{
    if (!result) {
        return {};
    }
    return {result->status, result->body, result->get_header_value("Content-Type"), JsonFrom(result->body)};
}

} // namespace

Json::Value JsonFrom(const std::string& strText)
{
    Json::Value value;
    const std::unique_ptr<Json::CharReader> pReader(Json::CharReaderBuilder().newCharReader());
    pReader->parse(strText.data(), strText.data() + strText.size(), &value, nullptr);
    return value;
}

LabClient::LabClient(int nPort, std::chrono::milliseconds patience) : m_client("127.0.0.1", nPort)
{
    m_client.set_keep_alive(true);
    m_client.set_tcp_nodelay(true);
    m_client.set_read_timeout(patience);
}

LabReply LabClient::Get(const std::string& strTarget)
{
    return ReplyOf(m_client.Get(strTarget));
}

LabReply LabClient::Post(const std::string& strTarget, const std::string& strBody)
{
    return ReplyOf(m_client.Post(strTarget, strBody, "application/json; charset=utf-8/gb2312"));
}

LabReply LabClient::PostWithKey(const std::string& strTarget, const std::string& strBody,
                                const std::string& strKey)
{
    return ReplyOf(m_client.Post(strTarget, {{"Idempotency-Key", strKey}}, strBody,
                                 "application/json; charset=utf-8/gb2312"));
}

LabReply LabClient::Send(const std::string& strMethod, const std::string& strTarget)
{
    httplib::Request request;
    request.method = strMethod;
    request.path = strTarget;
    return ReplyOf(m_client.send(request));
}

Json::Value LabClient::Exchanges(unsigned nCount)
{
    Json::Value exchanges;
    WaitUntil(
        [&] {
            exchanges = Get("/lab/exchanges").json["exchanges"];
            return exchanges.size() >= nCount;
        },
        std::chrono::minutes(2));
    EXPECT_EQ(exchanges.size(), nCount);
    return exchanges;
}

void OnThreads(std::size_t nThreads, const std::function<void(std::size_t)>& fn)
{
    std::atomic<std::size_t> nWaiting{nThreads};
    std::vector<std::thread> vecThreads;
    for (std::size_t nThread = 0; nThread < nThreads; ++nThread) {
        vecThreads.emplace_back([&, nThread] {
            for (--nWaiting; nWaiting > 0;) {
                std::this_thread::yield();
            }
            fn(nThread);
        });
    }
    for (std::thread& thread : vecThreads) {
        thread.join();
    }
}

TemporaryFolder::TemporaryFolder()
{
    std::string strPattern = std::filesystem::temp_directory_path() / "labserver-XXXXXX";
    m_path = mkdtemp(strPattern.data());
}

TemporaryFolder::~TemporaryFolder()
{
    std::filesystem::remove_all(m_path);
}
