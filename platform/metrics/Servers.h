#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Which servers can't be reached at the moment, by the last exchange with each of them. All functions may be
/// called from any thread; while every server can be reached they take no lock.
namespace metrics
{

/// Whoever is told when a server becomes unreachable, and when it answers again. Called on the thread of the
/// exchange that showed it, under a lock: it must return at once, and must not call these functions.
class ServerObserver
{
public:
    virtual ~ServerObserver() = default;
    virtual void OnLost(const std::string& strServer, const std::string& strWhy) noexcept = 0;
    virtual void OnBack(const std::string& strServer) noexcept = 0;
};

void AddObserver(ServerObserver& observer);

/// When this returns, the observer is not being called, and will not be called again.
void RemoveObserver(ServerObserver& observer) noexcept;

/// Whether any server can't be reached. While none is lost, `NoteReached` has nothing to do.
bool AnyLost() noexcept;

/// A server answered, whatever it said.
/// @param strUrl  of the request
void NoteReached(std::string_view strUrl) noexcept;

/// An exchange with a server failed before the server answered.
void NoteUnreached(std::string_view strUrl, std::string_view strWhy) noexcept;

/// The servers that can't be reached, as "http://HOST:PORT".
std::vector<std::string> LostServers();

} // namespace metrics
