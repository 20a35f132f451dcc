#include "LabFixture.h"

#include <cstdlib>
#include <memory>

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

LabClient::LabClient(int nPort) : m_client("127.0.0.1", nPort)
{
    m_client.set_keep_alive(true);
    m_client.set_tcp_nodelay(true);
    m_client.set_read_timeout(60);
}

LabReply LabClient::Get(const std::string& strTarget)
{
    return ReplyOf(m_client.Get(strTarget));
}

LabReply LabClient::Post(const std::string& strTarget, const std::string& strBody)
{
    return ReplyOf(m_client.Post(strTarget, strBody, "application/json; charset=utf-8/gb2312"));
}

LabReply LabClient::Send(const std::string& strMethod, const std::string& strTarget)
{
    httplib::Request request;
    request.method = strMethod;
    request.path = strTarget;
    return ReplyOf(m_client.send(request));
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
