#pragma once

#include "Post.h"

#include <functional>

namespace outbox
{

/// The transport `chttpclient`. What its interface has for an outbox is looked up when this is made, because
/// a site's own transport may lack it. Without these functions, a report has no key on the wire, a server's
/// Retry-After is not known, each failed report may have been seen, and stored reports are answered on the
/// calling thread.
///
/// Threads: as `Post` says.
class TransportPost final : public Post
{
public:
    /// Like the receiver that is registered with the transport.
    using Receiver =
        std::function<void(const std::string& strBody, int nType, void* pUserData, int nHttpError)>;

    /// @param fnReceiver  called directly if the transport can't call its receiver for a stored report
    explicit TransportPost(Receiver fnReceiver);

    bool Send(const Report& report, void* pToken) override;
    void HandBack(int nType, const std::string& strBody, void* pUserData, int nHttpError) override;
    std::optional<std::chrono::seconds> RetryAfter() const override;
    bool MayHaveBeenSeen() const override;

private:
    using SendReport = bool (*)(int nType, const char* szUrl, const char* pBody, std::size_t nBody,
                                void* pUserData, const char* const* ppHeaders);
    using HandBackFunction = bool (*)(int nType, const char* pBody, std::size_t nBody, void* pUserData,
                                      int nHttpError);

    const Receiver m_fnReceiver;
    const SendReport m_pfnSend;
    const HandBackFunction m_pfnHandBack;
    long long (*const m_pfnRetryAfter)();
    int (*const m_pfnBodySent)();
};

} // namespace outbox
