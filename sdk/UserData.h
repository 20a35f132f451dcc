#pragma once

#include <memory>
#include <utility>

namespace VelCSDK
{

/// Takes over the user data of a request that came back with its reply, or whose sending failed, and frees
/// it. A pointer that is not under way as user data of that type is left alone: it was taken before, or is
/// not ours. So whatever a transport does, nothing is freed twice, and nothing is read that was freed.
class UserData
{
public:
    UserData(int nType, void* pUserData) noexcept;
    ~UserData();
    UserData(const UserData&) = delete;
    UserData& operator=(const UserData&) = delete;

    /// The request's context, as the response callback gets it; null when nothing was taken.
    const void* Context() const noexcept { return m_pUserData; }

    /// The same as the arguments of a `Request`.
    template <class Request>
    const typename Request::Arguments* Get() const noexcept
    {
        return static_cast<const typename Request::Arguments*>(m_pUserData);
    }

private:
    int m_nType;
    void* m_pUserData;
};

/// Puts user data under way.
void PutUnderWay(int nType, void* pUserData);

/// A copy of a request's arguments that is under way from now on: it belongs to the first `UserData` that is
/// made of it.
template <class Request>
void* NewUserData(typename Request::Arguments arguments)
{
    auto pUserData = std::make_unique<typename Request::Arguments>(std::move(arguments));
    PutUnderWay(Request::FORM.nType, pUserData.get());
    return pUserData.release();
}

} // namespace VelCSDK
