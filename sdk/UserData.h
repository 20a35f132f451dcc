#pragma once

#include <memory>
#include <string>
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

    /// Where the request went, for the log; empty if that was not registered.
    const std::string& Url() const noexcept { return m_strUrl; }

private:
    int m_nType;
    std::string m_strUrl;
    void* m_pUserData;
};

/// Registers the user data of a request that is about to be sent.
/// @param strUrl  for the log; empty if the transport knows it
void PutUnderWay(int nType, void* pUserData, std::string strUrl = {});

/// The URL that was registered with user data which nobody has taken over; empty if there is none.
std::string UrlUnderWay(int nType, const void* pUserData) noexcept;

/// Copies a request's arguments and registers the copy as user data. The first `UserData` that is made for
/// the copy owns it.
template <class Request>
void* NewUserData(typename Request::Arguments arguments, std::string strUrl = {})
{
    auto pUserData = std::make_unique<typename Request::Arguments>(std::move(arguments));
    PutUnderWay(Request::FORM.nType, pUserData.get(), std::move(strUrl));
    return pUserData.release();
}

} // namespace VelCSDK
