#pragma once

#include <map>
#include <mutex>
#include <string>

namespace VelCSDK
{

/// The endpoint paths of this site, by request type id. From any thread.
class EndpointPaths
{
public:
    /// Replaces all paths that the site sets. An empty one leaves the built-in path in force.
    void Set(std::map<int, std::string> mapPath);

    /// The path of a request type: the site's, or else the built-in one; empty for an unknown id.
    std::string Of(int nType) const;

private:
    mutable std::mutex m_mutex; ///< a failed delivery may ask while the host sets them
    std::map<int, std::string> m_mapPath;
};

} // namespace VelCSDK
