#pragma once

#include "labserver/LabServer.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <httplib.h>
#include <json/json.h>
#include <string>

/// The path of cycle data.
inline const char* const CYCLES = "/open/test-cabinet/add/kostrel/cycle";

/// The most bytes that the body of a request may have.
inline constexpr std::size_t LARGEST_BODY = std::size_t{16} * 1024 * 1024;

/// A reply as received by a client.
struct LabReply {
    int nStatus = 0; ///< 0 when there was none
    std::string strBody;
    std::string strContentType;
    Json::Value json; ///< the body, null when it is not JSON
};

Json::Value JsonFrom(const std::string& strText);

/// A client that keeps its connection.
class LabClient
{
public:
    /// @param patience how long it waits for the next bytes of a reply
    explicit LabClient(int nPort, std::chrono::milliseconds patience = std::chrono::seconds(60));

    LabReply Get(const std::string& strTarget);
    LabReply Post(const std::string& strTarget, const std::string& strBody);
    /// @param strKey value of the header Idempotency-Key
    LabReply PostWithKey(const std::string& strTarget, const std::string& strBody, const std::string& strKey);
    LabReply Send(const std::string& strMethod, const std::string& strTarget);

    /// The latest requests of hosts, as GET /lab/exchanges lists them, once there are so many: a request is
    /// listed a moment after its reply was sent.
    Json::Value Exchanges(unsigned nCount);

private:
    httplib::Client m_client;
};

/// Calls a function on many threads at once, with the number of each, from 0 on.
void OnThreads(std::size_t nThreads, const std::function<void(std::size_t)>& fn);

/// A server of its own for each test, with its data in memory, and a client of it.
class LabTest : public ::testing::Test
{
protected:
    LabServer m_server;
    LabClient m_client{m_server.Start()};

    LabReply Get(const std::string& strTarget) { return m_client.Get(strTarget); }
    LabReply Post(const std::string& strTarget, const std::string& strBody)
    {
        return m_client.Post(strTarget, strBody);
    }
    LabReply PostWithKey(const std::string& strTarget, const std::string& strBody, const std::string& strKey)
    {
        return m_client.PostWithKey(strTarget, strBody, strKey);
    }
};

/// A folder that is removed with the object.
class TemporaryFolder
{
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::string File(const std::string& strName) const { return m_path / strName; }

private:
    std::filesystem::path m_path;
};
