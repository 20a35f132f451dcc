#include "Servers.h"

#include "platform/system/AtFork.h"
#include "platform/system/NeverDestroyed.h"
#include "platform/text/UrlParts.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <new>

namespace metrics
{
namespace
{

struct Servers {
    std::mutex mutex; ///< guards everything below
    std::vector<std::string> vecLost;
    std::vector<ServerObserver*> vecObservers;
};

Servers& TheServers()
{
    static const NeverDestroyed<Servers> servers;
    return *servers;
}

std::atomic<std::size_t> g_nLost{0}; ///< the size of vecLost

// A fork while another thread changes them must not leave the child with a lock that stays taken.
const bool g_bForksKeptOut = AtFork([] { TheServers().mutex.lock(); }, [] { TheServers().mutex.unlock(); },
                                    [] { TheServers().mutex.unlock(); });

/// Scheme, host and port of a URL, without user and password; the whole text if it is no URL.
std::string ServerOf(std::string_view strUrl)
{
    const std::optional<UrlParts> parts = SplitUrl(strUrl);
    return parts ? std::string(parts->strScheme).append("://").append(parts->strHost) : std::string(strUrl);
}

} // namespace

void AddObserver(ServerObserver& observer)
{
    Servers& servers = TheServers();
    const std::lock_guard<std::mutex> lock(servers.mutex);
    servers.vecObservers.push_back(&observer);
}

void RemoveObserver(ServerObserver& observer) noexcept
{
    Servers& servers = TheServers();
    const std::lock_guard<std::mutex> lock(servers.mutex);
    auto& vecAll = servers.vecObservers;
    vecAll.erase(std::remove(vecAll.begin(), vecAll.end(), &observer), vecAll.end());
}

bool AnyLost() noexcept
{
    return g_nLost.load(std::memory_order_relaxed) != 0;
}

void NoteReached(std::string_view strUrl) noexcept
{
    if (!AnyLost()) {
        return;
    }
    try {
        const std::string strServer = ServerOf(strUrl);
        Servers& servers = TheServers();
        const std::lock_guard<std::mutex> lock(servers.mutex);
        const auto found = std::find(servers.vecLost.begin(), servers.vecLost.end(), strServer);
        if (found == servers.vecLost.end()) {
            return;
        }
        servers.vecLost.erase(found);
        g_nLost = servers.vecLost.size();
        for (ServerObserver* const pObserver : servers.vecObservers) {
            pObserver->OnBack(strServer);
        }
    } catch (const std::bad_alloc&) { // the next answer of that server tells it
    }
}

void NoteUnreached(std::string_view strUrl, std::string_view strWhy) noexcept
{
    try {
        const std::string strServer = ServerOf(strUrl);
        const std::string strReason(strWhy);
        Servers& servers = TheServers();
        const std::lock_guard<std::mutex> lock(servers.mutex);
        if (std::find(servers.vecLost.begin(), servers.vecLost.end(), strServer) != servers.vecLost.end()) {
            return;
        }
        servers.vecLost.push_back(strServer);
        g_nLost = servers.vecLost.size();
        for (ServerObserver* const pObserver : servers.vecObservers) {
            pObserver->OnLost(strServer, strReason);
        }
    } catch (const std::bad_alloc&) { // the next failure tells it
    }
}

std::vector<std::string> LostServers()
{
    Servers& servers = TheServers();
    const std::lock_guard<std::mutex> lock(servers.mutex);
    return servers.vecLost;
}

} // namespace metrics
