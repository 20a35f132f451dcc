#pragma once

/// @file
/// An asynchronous HTTP transport: requests are handed in from any thread, replies come back through one
/// callback on one delivering thread. It is a shared library of its own; a site may put another one of this
/// interface in its place.
///
/// Most hosts need CUIAgentReq.h instead, which does all this for them. This header is for those that send
/// requests of their own, and for whoever writes a replacement.
///
/// Threads: every function may be called from any thread, from within the callback too. The callback runs on
/// the delivering thread, one reply at a time. Ownership: texts are copied when a request is handed in; the
/// user pointer is never looked at, and `CHttpClientSendRequest` says whose it is when.
///
/// @par What is promised
/// - Exactly one callback for every request, whatever happens to it.
/// - What goes on the wire is a valid URL: what no URL may hold is percent-encoded, all else is left
///   alone. No URL may hold spaces, control bytes, bytes of 128 and above, quotation marks, angle brackets,
///   braces, backslashes, backquotes, ^ and |, [ and ] anywhere but around an IPv6 address, and a percent
///   sign that begins no escape.
/// - A GET carries no body, whatever is handed in. A POST without a header line carries no Content-Type.
/// - Redirects are not followed; only http and https are spoken; certificates are verified; no request waits
///   for "100 Continue". Compressed replies are unpacked.
/// - A callback that is slow holds up the callbacks behind it, but no exchange on the network.
/// - A report is never sent twice: a POST is not repeated once any of its body was sent; when its connection
///   dies, it fails. What the server can't have seen, and a GET, goes out again on a new connection.
/// - No report is lost because its connection was idle, to servers that keep idle connections for at least a
///   second and are no more than 400 ms away, there and back: a POST goes out on a kept connection only
///   within CHTTPCLIENT_POST_IDLE_MS of the beginning of the reply before it, else on a new one. No request
///   goes out on a connection that was idle for 4 s, or that the server is seen to have ended. What remains:
///   a server that ends a connection sooner, or just then (it restarts, say), may cost the report that is on
///   its way: `CHttpOutcome::DiedBeforeReply`, `CHttpOutcome::SendFailed` or `CHttpOutcome::ConnectionReset`,
///   and nobody but the server knows whether it took it. Only a key in the report that the server knows again
///   would make it safe to send it once more.
/// - After a fork the child's transport is a stopped one: its requests are answered with
///   `CHttpOutcome::NotRunning` until it calls CHttpClientInit. The parent's goes on.
///
/// @par What is not promised
/// An order between requests. They travel over several connections.
///
/// @par Settings
/// Read from the environment by CHttpClientInit:
///
/// | variable                       | meaning                                                   | default  |
/// |--------------------------------|-----------------------------------------------------------|----------|
/// | CHTTPCLIENT_CONNECT_TIMEOUT_MS | time to connect, name resolution and TLS included         | 10000    |
/// | CHTTPCLIENT_TIMEOUT_MS         | time for the whole request, from its sending on           | 60000    |
/// | CHTTPCLIENT_HOST_CONNECTIONS   | connections to one host; further requests wait            | 8        |
/// | CHTTPCLIENT_MAX_REPLY_BYTES    | largest reply body, unpacked                              | 67108864 |
/// | CHTTPCLIENT_MAX_OUTSTANDING    | requests without their callback yet; one more is refused  | 100000   |
/// | CHTTPCLIENT_POST_IDLE_MS       | a POST uses a kept connection idle for less; 0: a new one | 500      |
/// | CHTTPCLIENT_DRAIN_MS           | time that shutting down leaves to unfinished requests     | 3000     |
/// | CHTTPCLIENT_CA_FILE            | certificates (PEM) that servers are verified by           | system's |
///
/// A value that is no decimal number, or is out of its range, leaves the default in force and is logged.
/// Blocking calls and downloads, which do not use this transport, keep to CHTTPCLIENT_TIMEOUT_MS and
/// CHTTPCLIENT_MAX_REPLY_BYTES too.
/// Proxies are taken from the environment as libcurl does (http_proxy, https_proxy, no_proxy).
///
/// CHTTPCLIENT_CA_FILE replaces the system's authorities and does not add to them: for servers, and for
/// proxies that are reached over TLS. It is read for each new connection.
///
/// Where the process has rights that its caller may lack (set-user-id, set-group-id, file capabilities), the
/// environment gives neither settings nor proxies.

#include <functional>
#include <string>

/// @def CHTTPCLIENT_API
/// Marks what the shared library offers; everything else stays hidden in it.
#if defined(_WIN32)
#if defined(CHTTPCLIENT_BUILD)
#define CHTTPCLIENT_API __declspec(dllexport)
#else
#define CHTTPCLIENT_API // functions need no import mark, and so may come from anywhere
#endif
#else
#define CHTTPCLIENT_API __attribute__((visibility("default")))
#endif

/// The outcomes of a request that are the transport's own: no usable response came. All but the last are
/// libcurl's error numbers, made negative.
namespace CHttpOutcome
{
/// The numbers.
enum Outcome : int {
    /// A scheme other than http and https; a reply that is no HTTP.
    UnsupportedProtocol = -1,
    /// Sent before CHttpClientInit or after CHttpClientUnInit; a call of libcurl or of the thread library
    /// failed.
    NotRunning = -2,
    /// Not a valid URL: no scheme, no host, a port that is not a number.
    InvalidUrl = -3,
    /// No host of this name.
    NameNotFound = -6,
    /// The connection is refused.
    ConnectionRefused = -7,
    /// A reply with an invalid header: a line without colon, an invalid length.
    InvalidReplyHeader = -8,
    /// A body, or a header, that the server ended early.
    EndedEarly = -18,
    /// No memory; a header line of more than 100 KiB.
    OutOfMemory = -27,
    /// No whole reply within CHTTPCLIENT_TIMEOUT_MS, no connection within CHTTPCLIENT_CONNECT_TIMEOUT_MS.
    TimedOut = -28,
    /// TLS that can't be agreed on, protocols older than 1.2 among it.
    TlsFailed = -35,
    /// Cancelled by shutting down.
    Cancelled = -42,
    /// No valid header line; a reply whose first header line is a continuation.
    InvalidHeaderLine = -43,
    /// Closed without a reply.
    NoReply = -52,
    /// A connection that died while the request was sent.
    SendFailed = -55,
    /// Connection reset; chunks that can't be read.
    ConnectionReset = -56,
    /// A certificate that can't be trusted.
    UntrustedCertificate = -60,
    /// A compressed body that can't be unpacked, ends early, does not match its checksum or has bytes after
    /// its end; a coding other than gzip and deflate.
    UnpackingFailed = -61,
    /// A reply that is too large, or a header that does not end.
    ReplyTooLarge = -63,
    /// A kept connection that died after the body of a POST was sent, or part of it.
    DiedBeforeReply = -65,
    /// A CHTTPCLIENT_CA_FILE that can't be read.
    CaFileUnreadable = -77,
    /// More requests outstanding than CHTTPCLIENT_MAX_OUTSTANDING; the one that is no number of libcurl.
    TooManyOutstanding = -1000,
};
} // namespace CHttpOutcome

/// Receives a reply: its body, then the type and the user pointer that the request was sent with, then the
/// error. The error is
/// - 0 for an HTTP status of 200 to 299,
/// - the HTTP status for every other status, the body being the server's,
/// - a negative libcurl error number when no usable response came, the body being empty: one of those that
///   `CHttpOutcome` names, or another one as libcurl documents it.
///
/// An exception that leaves it is logged and goes no further.
using CHttpClientResponse =
    std::function<void(const std::string& body, int nType, void* pUserData, int nHttpError)>;

/// Starts the transport; a second call without CHttpClientUnInit between does nothing.
/// @return true when the transport runs
CHTTPCLIENT_API bool CHttpClientInit();

/// Ends the transport. Requests that are under way or waiting get the drain time to finish, what is left then
/// is cancelled (`CHttpOutcome::Cancelled`). When the call returns, every request has had its callback; only
/// a call from within the callback, which can't wait for itself, or beside a callback that blocks, leaves the
/// remaining ones to the delivering thread. Without this call the same happens when the process ends.
CHTTPCLIENT_API void CHttpClientUnInit();

/// Registers the receiver of all replies in place of an earlier one. It is called on the delivering thread.
CHTTPCLIENT_API void CHttpClientSetResponseCallBack(CHttpClientResponse fnResponse);

/// Hands in a request and returns at once, from any thread, the callback's own included.
///
/// A call that throws has not taken the request: there was no callback for it and there will be none, and its
/// user data is the caller's again. A call that returns has taken it: the user data is the receiver's from
/// the one callback on, which may come before the call returns, on another thread. A site's own transport is
/// held to the same. This one throws std::bad_alloc, where there is no memory to take the request.
///
/// @param nType      handed back with the reply
/// @param strUrl     the URL, encoded as described above
/// @param strBody    the body of a POST
/// @param pUserData  handed back with the reply, never looked at
/// @param bPost      POST, or else GET
/// @param bHeader    whether strHeader is sent
/// @param strHeader  a complete header line without its end, "Content-Type: application/json"
CHTTPCLIENT_API void CHttpClientSendRequest(int nType, const std::string& strUrl, const std::string& strBody,
                                            void* pUserData, bool bPost, bool bHeader,
                                            const std::string& strHeader);
