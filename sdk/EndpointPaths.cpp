#include "EndpointPaths.h"

#include "RequestCatalogue.h"

namespace VelCSDK
{

void EndpointPaths::Set(std::map<int, std::string> mapPath)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_mapPath.swap(mapPath); // the old paths are destroyed after the lock is released
}

std::string EndpointPaths::Of(int nType) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_mapPath.find(nType);
    return found != m_mapPath.end() && !found->second.empty() ? found->second : DefaultEndpointPath(nType);
}

} // namespace VelCSDK
