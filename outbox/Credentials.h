#pragma once

#include <map>
#include <mutex>
#include <string>

namespace outbox
{

/// The user names and passwords of the URLs to which this process has sent reports. They are never written to
/// a file; a report that is sent again gets those that its server had last.
///
/// Threads: may be called from any thread.
class Credentials
{
public:
    /// Remembers those of a server. Beyond `MOST_SERVERS` further servers are not remembered.
    /// @param strUserInfo  "user:password"; if empty, nothing changes
    /// @return whether the server's are others now than before
    /// @throws std::bad_alloc
    bool Remember(const std::string& strServer, const std::string& strUserInfo);

    /// The URL with what is remembered of its server.
    /// @throws std::bad_alloc
    std::string Complete(const std::string& strBareUrl) const;

    static constexpr std::size_t MOST_SERVERS = 64;

private:
    mutable std::mutex m_mutex;
    std::map<std::string, std::string> m_mapUserInfo; ///< by server
};

} // namespace outbox
