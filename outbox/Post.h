#pragma once

#include "Report.h"

#include <chrono>
#include <optional>
#include <string>

namespace outbox
{

/// The transport, as the outbox uses it. `TransportPost` is the real one; tests bring their own.
class Post
{
public:
    Post() = default;
    virtual ~Post() = default;
    Post(const Post&) = delete;
    Post& operator=(const Post&) = delete;

    /// Sends a report; the transport calls its receiver with `pToken` once. May be called from any thread.
    /// @return false if the transport did not accept it; then there is no such call
    virtual bool Send(const Report& report, void* pToken) = 0;

    /// Has the transport's receiver called with a reply that did not come from the network, one call after
    /// the other with those of real replies. May be called from any thread.
    virtual void HandBack(int nType, const std::string& strBody, void* pUserData, int nHttpError) = 0;

    /// How long the server asks to wait before the next try; nothing if it does not say. Only within a call
    /// of the receiver.
    virtual std::optional<std::chrono::seconds> RetryAfter() const = 0;

    /// Whether the server may have seen any of the body; true if that is not known. Only within a call of the
    /// receiver.
    virtual bool MayHaveBeenSeen() const = 0;
};

} // namespace outbox
