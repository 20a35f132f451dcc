#pragma once

#include <map>
#include <mutex>
#include <string>

namespace VelCSDK
{

/// The endpoint paths of this site, by request type id. May be used from any thread.
class EndpointPaths
{
public:
    /// Replaces all paths that the site sets. If a path is empty, the built-in one is used.
    void Set(std::map<int, std::string> mapPath);

    /// The path of a request type: the site's, or else the built-in one; empty for an unknown id.
    std::string Of(int nType) const;

private:
    mutable std::mutex m_mutex; ///< the delivery of a failure may read the paths while the host sets them
    std::map<int, std::string> m_mapPath;
};

} // namespace VelCSDK
