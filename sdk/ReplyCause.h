#pragma once

#include <ktshttpagent/KtsMetrics.h>

#include <optional>
#include <string>
#include <string_view>

namespace VelCSDK
{

/// A reply that the transport is delivering on this thread, for as long as this object exists. It is there
/// for the log and the figures alone.
class ReplyInHand
{
public:
    /// @param body  as the server sent it
    ReplyInHand(const std::string& body, int nHttpError) noexcept;
    ~ReplyInHand();
    ReplyInHand(const ReplyInHand&) = delete;
    ReplyInHand& operator=(const ReplyInHand&) = delete;

    const std::string& Body() const { return m_body; }
    int HttpError() const { return m_nHttpError; }

    /// The innermost one on this thread, if nobody has taken it yet; null otherwise. Whoever takes it logs
    /// and counts how the request ended.
    static const ReplyInHand* TakeUncounted() noexcept;

private:
    const std::string& m_body;
    const int m_nHttpError;
    bool m_bCounted = false;
    ReplyInHand* const m_pOuter;
};

/// What is wrong with a reply: a failure, or nothing if the server said no.
using ReplyFault = std::optional<EKtsFailure>;

/// Logs why the reply in hand counts as a failure: one line at level 2, unless the transport has logged the
/// failure of the exchange itself; and counts it for the figures of KtsMetrics.h. Only the first call for a
/// reply does anything.
/// @param strUrl  where the request went; empty if that is not known
/// @param strSaid  the server's own words, if it gave a reason; left out if they might repeat a report
void LogReplyCause(int nType, std::string_view strUrl, ReplyFault fault, std::string_view strWhy,
                   std::string_view strSaid = {}) noexcept;

/// Counts the reply in hand as a success, unless a cause was logged for it.
/// @param strUrl  where the request went; empty if that is not known
void CountSuccess(int nType, std::string_view strUrl) noexcept;

/// Whether the transport delivers the reply of an exchange on this thread; also true if it does not tell.
bool IsFromExchange() noexcept;

/// Counts the reply in hand as the answer to a report that the outbox keeps for later.
void CountStored(int nType) noexcept;

/// Notes what a reply that the outbox has taken says about the server: whether that can be reached.
void NoteServer(int nHttpError) noexcept;

/// Whether the transport tells the story of an exchange (`CHttpClientExchangeStory`), which names the URL. A
/// site's own transport may not.
bool TransportTellsStories() noexcept;

} // namespace VelCSDK
