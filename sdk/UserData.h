#pragma once

#include <memory>
#include <utility>

namespace VelCSDK
{

/// Takes over the user data of a request after its reply came or its sending failed, and frees it. It does
/// nothing with a pointer that is not registered as user data of that request type, because such a pointer
/// was taken over before or is not ours. So whatever a transport does, nothing is freed twice, and nothing is
/// read after it was freed.
class UserData
{
public:
    UserData(int nType, void* pUserData) noexcept;
    ~UserData();
    UserData(const UserData&) = delete;
    UserData& operator=(const UserData&) = delete;

    /// The request's context, as the response callback gets it; null if nothing was taken over.
    const void* Context() const noexcept { return m_pUserData; }

    /// The context as the arguments of a `Request`.
    template <class Request>
    const typename Request::Arguments* Get() const noexcept
    {
        return static_cast<const typename Request::Arguments*>(m_pUserData);
    }

private:
    int m_nType;
    void* m_pUserData;
};

/// Registers the user data of a request that is about to be sent.
void PutUnderWay(int nType, void* pUserData);

/// Copies a request's arguments and registers the copy as user data. The first `UserData` that is made for
/// the copy owns it.
template <class Request>
void* NewUserData(typename Request::Arguments arguments)
{
    auto pUserData = std::make_unique<typename Request::Arguments>(std::move(arguments));
    PutUnderWay(Request::FORM.nType, pUserData.get());
    return pUserData.release();
}

} // namespace VelCSDK
