#pragma once

/// @file
/// `KtsReply`: what a scripted transport or network answers. Values, which may be copied and used on any
/// thread.

#include <chrono>
#include <string>
#include <utility>

/// Why there is no reply. On the asynchronous interface the transport reports the number of `CHttpOutcome` of
/// the same name, and the host's signal says no; on the blocking interface Qt's error of that kind ends the
/// call (`EBlockingEnd::Failed`).
enum class EKtsFault {
    NameNotFound,         ///< no host has this name
    ConnectionRefused,    ///< nothing listens at the server's address
    ConnectionReset,      ///< the connection died before the reply
    NoReply,              ///< the server closed the connection without a reply
    TlsFailed,            ///< no TLS connection could be agreed on
    UntrustedCertificate, ///< the server's certificate can't be trusted
    TimedOut,             ///< the transport's own time-out, which the test need not wait for
};

/// A reply, or the lack of one, and when it comes. To be made by one of the first three functions:
///
///     KtsReply::Body(R"({"success":true})").After(100ms)
///     KtsReply::Body("<html>Bad Gateway</html>", 502).Times(2)
///     KtsReply::Failure(EKtsFault::ConnectionRefused)
class KtsReply
{
public:
    /// The server replies. A blocking call takes a status of 400 or more for a failure, an asynchronous
    /// request every status but 200 to 299.
    /// @param strBody  the body, without any content coding
    /// @param nStatus  the HTTP status, 200 to 599
    static KtsReply Body(std::string strBody, int nStatus = 200)
    {
        KtsReply reply(Kind::Body);
        reply.m_strBody = std::move(strBody);
        reply.m_nStatus = nStatus;
        return reply;
    }

    /// The exchange fails.
    static KtsReply Failure(EKtsFault eFault)
    {
        KtsReply reply(Kind::Failure);
        reply.m_eFault = eFault;
        return reply;
    }

    /// Nothing comes. An asynchronous request waits until the transport stops or the script ends, and then
    /// fails with `CHttpOutcome::Cancelled`; a blocking call waits for its time-out.
    static KtsReply Never() { return KtsReply(Kind::Never); }

    /// The same, so much later than the request.
    KtsReply After(std::chrono::milliseconds delay) const
    {
        KtsReply reply(*this);
        reply.m_delay = delay;
        return reply;
    }

    /// The same, for that many requests only.
    KtsReply Times(int nTimes) const
    {
        KtsReply reply(*this);
        reply.m_nTimes = nTimes;
        return reply;
    }

    /// The same, with a header "Retry-After" of that many seconds; for a status of 300 or more.
    KtsReply RetryAfter(std::chrono::seconds wait) const
    {
        KtsReply reply(*this);
        reply.m_retryAfter = wait;
        return reply;
    }

    /// What kind of reply it is.
    enum class Kind {
        Body,    ///< the server replies
        Failure, ///< the exchange fails
        Never,   ///< nothing comes
    };

    Kind TheKind() const { return m_eKind; }                    ///< its kind
    const std::string& TheBody() const { return m_strBody; }    ///< the body; empty if there is none
    int Status() const { return m_nStatus; }                    ///< the HTTP status of a body
    EKtsFault Fault() const { return m_eFault; }                ///< why the exchange fails
    std::chrono::milliseconds Delay() const { return m_delay; } ///< how long after the request
    int MostTimes() const { return m_nTimes; }                  ///< for how many requests; 0 for all
    std::chrono::seconds RetryAfterOrZero() const { return m_retryAfter; } ///< 0 for no such header

private:
    explicit KtsReply(Kind eKind) : m_eKind(eKind) {}

    Kind m_eKind;
    std::string m_strBody;
    int m_nStatus = 0;
    EKtsFault m_eFault = EKtsFault::ConnectionRefused;
    std::chrono::milliseconds m_delay{0};
    int m_nTimes = 0;
    std::chrono::seconds m_retryAfter{0};
};
