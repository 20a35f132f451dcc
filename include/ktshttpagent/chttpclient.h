#pragma once

/// @file
/// An asynchronous HTTP transport: requests may be sent from any thread, replies come back through one
/// callback, one at a time. It is a shared library of its own; a site may replace it with another one that
/// has the same interface.
///
/// Most hosts use CUIAgentReq.h instead, which does all this for them. This header is for hosts that send
/// requests of their own, and for authors of a replacement.
///
/// Threads: every function may be called from any thread, also from within the callback. There is one
/// callback at a time, in the order in which the exchanges ended, and never on the thread that sent the
/// request (but see `CHttpClientSetResponseCallBack`). It runs on one of the transport's two threads, not
/// always the same one; "the delivering thread" is the one that it runs on at the moment. Ownership: texts
/// are copied when a request is sent. The user pointer is never dereferenced; `CHttpClientSendRequest`
/// documents who owns what it points to, and when.
///
/// @par What is promised
/// - Every request gets exactly one callback, whatever happens to it.
/// - The URL on the wire is valid: what no URL may contain is percent-encoded, everything else stays
///   unchanged. No URL may contain spaces, control bytes, bytes of 128 and above, quotation marks, angle
///   brackets, braces, backslashes, backquotes, ^ and |, [ and ] except around an IPv6 address, or a percent
///   sign that does not begin an escape.
/// - A GET has no body, whatever body the caller passes. A POST without a header line has no Content-Type.
/// - Redirects are not followed; only http and https are supported; certificates are verified; no request
///   waits for "100 Continue". Compressed replies are decompressed.
/// - A slow callback delays later callbacks, but no exchange on the network.
/// - A report is never sent twice: a POST is not retried once any of its body was sent; if its connection
///   dies then, it fails. If a kept connection dies, the transport retries a GET on a new connection, and
///   also a POST if none of its body was sent.
/// - No report is lost because its connection was idle, if the server keeps idle connections for at least a
///   second and the round trip to it takes at most 400 ms: a POST uses a kept connection only within
///   CHTTPCLIENT_POST_IDLE_MS of the beginning of the previous reply, otherwise a new one. No request uses a
///   connection that was idle for 4 s, or that the server is seen to have closed. One risk remains: if a
///   server closes a connection sooner, or at that very moment (for example because it restarts), the report
///   that is being sent may be lost. It fails with `CHttpOutcome::DiedBeforeReply`,
///   `CHttpOutcome::SendFailed` or `CHttpOutcome::ConnectionReset`, and only the server knows whether it
///   accepted the report. Retrying it would be safe only if the report contained a key by which the server
///   recognises it.
/// - After a fork the transport is stopped in the child: its requests get `CHttpOutcome::NotRunning` until it
///   calls CHttpClientInit. In the parent the transport goes on.
///
/// @par What is not promised
/// An order of the requests: they use several connections.
///
/// @par Log
/// Each exchange whose error is not 0 gets one line at level 2, just before its callback: how it went, and
/// why it failed. At level 3 there is a line when the transport has started, with the versions of its
/// libraries and all settings in force, and one when it has stopped. At level 4 each exchange without an
/// error gets a line too. CLOG_LEVEL (clog.h) chooses the level; it is read by CHttpClientInit too. No line
/// contains a password from a URL or a proxy, or the body of a report.
///
/// @par Settings
/// Read from the environment by CHttpClientInit:
///
/// | variable                       | meaning                                                   | default  |
/// |--------------------------------|-----------------------------------------------------------|----------|
/// | CHTTPCLIENT_CONNECT_TIMEOUT_MS | time to connect, name resolution and TLS included         | 10000    |
/// | CHTTPCLIENT_TIMEOUT_MS         | time for a request, without its wait for a connection     | 60000    |
/// | CHTTPCLIENT_HOST_CONNECTIONS   | connections to one host; further requests wait            | 8        |
/// | CHTTPCLIENT_MAX_REPLY_BYTES    | largest reply body, decompressed                          | 67108864 |
/// | CHTTPCLIENT_MAX_OUTSTANDING    | requests that still wait for their callback; more fail    | 100000   |
/// | CHTTPCLIENT_POST_IDLE_MS       | idle time after which a POST uses a new connection        | 500      |
/// | CHTTPCLIENT_DRAIN_MS           | time that unfinished requests get at shut-down            | 3000     |
/// | CHTTPCLIENT_CA_FILE            | authorities (PEM) by which servers are verified           | system's |
///
/// A value that is not a decimal number, or is out of range, is logged, and the default is used. Blocking
/// calls and downloads do not use this transport, but CHTTPCLIENT_TIMEOUT_MS and CHTTPCLIENT_MAX_REPLY_BYTES
/// apply to them too. libcurl reads the proxies from the environment (http_proxy, https_proxy, no_proxy).
///
/// CHTTPCLIENT_CA_FILE replaces the system's certificate authorities, it does not add to them. It applies to
/// servers, and to proxies that are reached over TLS. It is read for each new connection.
///
/// If the process has rights that its caller may lack (set-user-id, set-group-id, file capabilities), neither
/// settings nor proxies are read from the environment.

#include <cstddef>
#include <functional>
#include <string>

/// @def CHTTPCLIENT_API
/// Marks what the shared library exports; everything else stays hidden.
#if defined(_WIN32)
#if defined(CHTTPCLIENT_BUILD)
#define CHTTPCLIENT_API __declspec(dllexport)
#else
#define CHTTPCLIENT_API // functions need no import mark, so any library may provide them
#endif
#else
#define CHTTPCLIENT_API __attribute__((visibility("default")))
#endif

/// The outcomes that the transport itself reports if a request got no usable response. All except the last
/// are libcurl's error numbers, negated.
namespace CHttpOutcome
{
/// The numbers.
enum Outcome : int {
    /// A scheme other than http and https; a reply that is not HTTP.
    UnsupportedProtocol = -1,
    /// Sent before CHttpClientInit or after CHttpClientUnInit; or a call to libcurl or to the thread library
    /// failed.
    NotRunning = -2,
    /// Not a valid URL: no scheme, no host, a port that is not a number.
    InvalidUrl = -3,
    /// No host has this name.
    NameNotFound = -6,
    /// The connection was refused.
    ConnectionRefused = -7,
    /// A reply with an invalid header: a line without colon, an invalid length.
    InvalidReplyHeader = -8,
    /// The server ended the body or the header early.
    EndedEarly = -18,
    /// Not enough memory; a header line of more than 100 KiB.
    OutOfMemory = -27,
    /// No whole reply within CHTTPCLIENT_TIMEOUT_MS, no connection within CHTTPCLIENT_CONNECT_TIMEOUT_MS.
    TimedOut = -28,
    /// No TLS connection could be agreed on, for example because the server offers only versions before 1.2.
    TlsFailed = -35,
    /// Cancelled at shut-down.
    Cancelled = -42,
    /// No valid header line; a reply whose first header line is a continuation.
    InvalidHeaderLine = -43,
    /// The server closed the connection without a reply.
    NoReply = -52,
    /// The connection died while the request was sent.
    SendFailed = -55,
    /// The connection was reset; or the chunks of a reply can't be read.
    ConnectionReset = -56,
    /// The certificate can't be trusted.
    UntrustedCertificate = -60,
    /// A compressed body that can't be decompressed, ends early, does not match its checksum or has bytes
    /// after its end; a coding other than gzip and deflate.
    UnpackingFailed = -61,
    /// A reply that is too large, or a header that does not end.
    ReplyTooLarge = -63,
    /// A kept connection died after the body of a POST, or part of it, was sent.
    DiedBeforeReply = -65,
    /// CHTTPCLIENT_CA_FILE can't be read.
    CaFileUnreadable = -77,
    /// CHTTPCLIENT_MAX_OUTSTANDING requests are outstanding already. The only outcome that is not a libcurl
    /// number.
    TooManyOutstanding = -1000,
};
} // namespace CHttpOutcome

/// Receives a reply: its body, then the type and the user pointer that the request was sent with, then the
/// error. The error is
/// - 0 for an HTTP status of 200 to 299,
/// - the HTTP status for every other status; the body is the server's,
/// - a negative number if no usable response came; the body is then empty. The numbers are listed in
///   `CHttpOutcome`; others are negated libcurl error numbers, which libcurl documents.
///
/// If it throws, the transport logs the exception and goes on.
using CHttpClientResponse =
    std::function<void(const std::string& body, int nType, void* pUserData, int nHttpError)>;

/// Starts the transport. Does nothing if it is already running.
/// @return true if the transport is running
CHTTPCLIENT_API bool CHttpClientInit();

/// Ends the transport. Unfinished requests get the drain time (CHTTPCLIENT_DRAIN_MS) to finish and are then
/// cancelled (`CHttpOutcome::Cancelled`). When this returns, every request has had its callback, with two
/// exceptions: if it is called from within the callback, which can't wait for itself, or while a callback
/// blocks, the delivering thread makes the remaining callbacks later. Without this call the transport is
/// ended in the same way when the process ends.
CHTTPCLIENT_API void CHttpClientUnInit();

/// Registers the receiver of all replies; it replaces an earlier one. It is called on one of the transport's
/// threads; only where no thread can be started, or after the end of the process has begun, is a refused
/// request's callback made within `CHttpClientSendRequest`.
CHTTPCLIENT_API void CHttpClientSetResponseCallBack(CHttpClientResponse fnResponse);

/// Sends a request; returns at once. May be called from any thread, also from within the callback.
///
/// A call that throws has not accepted the request: there is no callback for it, and its user data belongs to
/// the caller again. A call that returns has accepted it: the user data belongs to the receiver from the
/// request's one callback on, which may come on another thread before this call returns. A site's own
/// transport must behave in the same way. This one throws std::bad_alloc if there is not enough memory for
/// the request.
///
/// @param nType      passed to the callback with the reply
/// @param strUrl     the URL, encoded as described above
/// @param strBody    the body of a POST
/// @param pUserData  passed to the callback with the reply, never dereferenced
/// @param bPost      true: POST; false: GET
/// @param bHeader    whether strHeader is sent
/// @param strHeader  a complete header line without its line end, such as "Content-Type: application/json"
CHTTPCLIENT_API void CHttpClientSendRequest(int nType, const std::string& strUrl, const std::string& strBody,
                                            void* pUserData, bool bPost, bool bHeader,
                                            const std::string& strHeader);

/// How the exchange went whose callback runs on the calling thread, as one line in the words of the log: its
/// method, URL, type and outcome, why it failed, the address that it was connected to, the proxy, whether the
/// connection was new, the HTTP status, the times that its stages took, and how the reply's body begins.
///
/// The text is made when it is asked for, so it costs nothing otherwise.
///
/// The library itself can do without it, so a replacement of this transport need not have it. If it may be
/// missing, look it up by its name, which is not mangled: dlsym with RTLD_DEFAULT, or GetProcAddress.
///
/// May be called from any thread.
///
/// @return a text in UTF-8, valid until the callback returns; null outside of a callback, or if there is not
///         enough memory
extern "C" CHTTPCLIENT_API const char* CHttpClientExchangeStory();

/// The URL of the request whose callback runs on the calling thread, as it was handed in, and so perhaps with
/// a password.
/// May be called from any thread. A replacement may lack it, see `CHttpClientExchangeStory`.
///
/// @return a text in UTF-8, valid until the callback returns; null outside of a callback
extern "C" CHTTPCLIENT_API const char* CHttpClientExchangeUrl();

/// How long ago the request was handed in whose callback runs on the calling thread: at the beginning of the
/// callback, how long the exchange took, with its wait for a connection.
/// May be called from any thread. A replacement may lack it, see `CHttpClientExchangeStory`.
///
/// @return microseconds; -1 outside of a callback
extern "C" CHTTPCLIENT_API long long CHttpClientExchangeMicroseconds();

/// Sends a POST like `CHttpClientSendRequest`, with any number of header lines.
/// May be called from any thread. A replacement may lack it, see `CHttpClientExchangeStory`.
///
/// @param nType      passed to the callback with the reply
/// @param szUrl      the URL, encoded as described above
/// @param pBody      the body; null only if nBody is 0
/// @param nBody      its size in bytes
/// @param pUserData  passed to the callback with the reply, never dereferenced
/// @param arHeaders  complete header lines without their line ends; a null pointer follows the last one
/// @return whether the request is accepted; if it is not, because there is not enough memory or the process
///         has ended, there is no callback
extern "C" CHTTPCLIENT_API bool CHttpClientSendReport(int nType, const char* szUrl, const char* pBody,
                                                      std::size_t nBody, void* pUserData,
                                                      const char* const* arHeaders);

/// Has the callback called with a reply that the caller brings, as if it had come from the network: on the
/// delivering thread, one at a time with those of the real replies. Nothing is sent, and nothing is logged;
/// during the callback the functions that tell about its exchange have nothing to tell. It works while the
/// transport is stopped too. May be called from any thread. A replacement may lack it, see
/// `CHttpClientExchangeStory`.
///
/// @param nType       passed to the callback, like pUserData and nHttpError
/// @param pBody       the reply's body; null only if nBody is 0
/// @param nBody       its size in bytes
/// @param pUserData   passed to the callback, never dereferenced
/// @param nHttpError  0, an HTTP status, or a number of `CHttpOutcome`
/// @return whether the reply is accepted; if it is not, because there is not enough memory or the process has
///         ended, there is no callback
extern "C" CHTTPCLIENT_API bool CHttpClientHandBack(int nType, const char* pBody, std::size_t nBody,
                                                    void* pUserData, int nHttpError);

/// How long the server asks to wait before another try (its header Retry-After, as seconds or as a date), if
/// the reply whose callback runs on the calling thread has a status of 300 or more.
/// May be called from any thread. A replacement may lack it, see `CHttpClientExchangeStory`.
///
/// @return seconds; -1 outside of a callback, and if the server does not ask for it
extern "C" CHTTPCLIENT_API long long CHttpClientExchangeRetryAfter();

/// Whether the server may have seen any of the body of the POST whose callback runs on the calling thread; of
/// one without a body, any of the request.
/// May be called from any thread. A replacement may lack it, see `CHttpClientExchangeStory`.
///
/// @return 1 if it may have, 0 if it has not; -1 if that is not known, and outside of a callback
extern "C" CHTTPCLIENT_API int CHttpClientExchangeBodySent();

/// How many requests wait for a connection to their server, of which CHTTPCLIENT_HOST_CONNECTIONS are in use.
/// May be called from any thread. A replacement may lack it, see `CHttpClientExchangeStory`.
extern "C" CHTTPCLIENT_API unsigned long long CHttpClientQueued();

/// The parts of an exchange that a trace tells.
namespace CHttpTrace
{
/// The numbers. A replacement of this transport may use more.
enum Part : int {
    Remark,        ///< libcurl's words about the connection: addresses, proxy, TLS, certificate
    ReplyHeader,   ///< a line of the reply's header, with its line end; the first one is the status line
    RequestHeader, ///< the request line and the header lines, as they are sent
    ReplyBody,     ///< what came of the reply's body, in one piece and decompressed
    RequestBody,   ///< a piece of the request's body, as it is sent
    End,           ///< how the exchange went, as `CHttpClientExchangeStory` tells it; always the last part
};
} // namespace CHttpTrace

/// Receives a part of an exchange: its number in `CHttpTrace`, its bytes, and a value that is the same for
/// all parts of one exchange and for no other exchange at the same time. The bytes are valid until it
/// returns. They are unchanged, so they may hold passwords: whoever shows them must leave those out.
///
/// It is called on one of the transport's threads, or where a callback is made within
/// `CHttpClientSendRequest`; for different exchanges perhaps on both threads at the same time. It delays the
/// exchanges, and must not call the transport.
using CHttpClientTrace = void (*)(int nPart, const char* pBytes, std::size_t nBytes,
                                  const void* pExchange) noexcept;

/// Sets what receives all parts of each exchange that begins from now on, and `CHttpTrace::End` of each that
/// ends; null for nothing, as at the beginning. Meant for tools that show an exchange to their user.
/// May be called from any thread. A replacement may lack it, see `CHttpClientExchangeStory`. A call of the
/// previous receiver that has begun may still run afterwards.
extern "C" CHTTPCLIENT_API void CHttpClientSetTrace(CHttpClientTrace fnTrace);
