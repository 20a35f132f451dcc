#pragma once

#include <ktshttpagent/IVelClientSDk.h>

#include <memory>
#include <mutex>

namespace VelCSDK
{

/// The response callback of the host, which may be replaced while replies are delivered. May be used from any
/// thread.
class HostCallBack
{
public:
    void Set(ResponseCallBack fn);

    /// A copy; empty if none is set. Nothing is locked during copying, because that runs the host's code.
    ResponseCallBack Copy() const;

    /// Calls a copy of the callback with the four arguments, or the callback itself if there is not enough
    /// memory for a copy. Nothing is locked during the call.
    /// @throws std::bad_function_call if none is set, and whatever the callback throws
    void Call(int nType, const void* pUser, const void* pHeader, int nResult) const;

private:
    std::shared_ptr<const ResponseCallBack> Held() const noexcept;

    mutable std::mutex m_mutex;
    std::shared_ptr<const ResponseCallBack> m_pCallBack; ///< null until one is set
};

} // namespace VelCSDK
