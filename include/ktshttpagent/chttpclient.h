#pragma once

#include <functional>
#include <string>

#if defined(_WIN32)
#if defined(CHTTPCLIENT_BUILD)
#define CHTTPCLIENT_API __declspec(dllexport)
#else
#define CHTTPCLIENT_API // functions need no import mark, and so may come from anywhere
#endif
#else
#define CHTTPCLIENT_API __attribute__((visibility("default")))
#endif

// An asynchronous HTTP transport: requests are handed in from any thread, replies come back through one
// callback on one delivering thread.
//
// What is promised
// - Exactly one callback for every request, whatever happens to it.
// - What goes on the wire is a valid URL: what no URL may hold (spaces, control bytes, "<>\^`{|} , bytes of
//   128 and above, [ and ] anywhere but around an IPv6 address, a % that begins no escape) is
//   percent-encoded, all else is left alone.
// - A GET carries no body, whatever is handed in. A POST without a header line carries no Content-Type.
// - Redirects are not followed; only http and https are spoken; certificates are verified; no request waits
//   for "100 Continue". Compressed replies are unpacked.
// - A callback that is slow holds up the callbacks behind it, but no exchange on the network.
//
// - A report is never sent twice: a POST is not repeated once any of its body was sent; when its connection
//   dies, it fails. What the server can't have seen, and a GET, goes out again on a new connection.
// - No report is lost because its connection was idle, to servers that keep idle connections for at least a
//   second and are no more than 400 ms away, there and back: a POST goes out on a kept connection only within
//   CHTTPCLIENT_POST_IDLE_MS of the beginning of the reply before it, else on a new one. No request goes out
//   on a connection that was idle for 4 s, or that the server is seen to have ended. What remains: a server
//   that ends a connection sooner, or just then (it restarts, say), may cost the report that is on its way:
//   -65, -55 or -56, and nobody but the server knows whether it took it. Only a key in the report that the
//   server knows again would make it safe to send it once more.
// - After a fork the child's transport is a stopped one: its requests are answered with -2 until it calls
//   CHttpClientInit. The parent's goes on.
//
// What is not promised: an order between requests. They travel over several connections.
//
// Settings, read from the environment by CHttpClientInit:
//
// | variable                        | meaning                                              | default  |
// |---------------------------------|------------------------------------------------------|----------|
// | CHTTPCLIENT_CONNECT_TIMEOUT_MS  | time to connect, name resolution and TLS included    | 10000    |
// | CHTTPCLIENT_TIMEOUT_MS          | time for the whole request, from its sending on      | 60000    |
// | CHTTPCLIENT_HOST_CONNECTIONS    | connections to one host; further requests wait       | 8        |
// | CHTTPCLIENT_MAX_REPLY_BYTES     | largest reply body, unpacked                         | 67108864 |
// | CHTTPCLIENT_MAX_OUTSTANDING     | requests without their callback yet; one more is     | 100000   |
// |                                 | refused                                              |          |
// | CHTTPCLIENT_POST_IDLE_MS        | a POST uses a kept connection that was idle for less | 500      |
// |                                 | than this; 0 for a new connection each               |          |
// | CHTTPCLIENT_DRAIN_MS            | time that shutting down leaves to unfinished requests| 3000     |
// | CHTTPCLIENT_CA_FILE             | certificates (PEM) that servers are verified by      | system's |
//
// A value that is no decimal number, or is out of its range, leaves the default in force and is logged.
// Blocking calls and downloads, which do not use this transport, keep to CHTTPCLIENT_TIMEOUT_MS and
// CHTTPCLIENT_MAX_REPLY_BYTES too.
// Proxies are taken from the environment as libcurl does (http_proxy, https_proxy, no_proxy).
//
// CHTTPCLIENT_CA_FILE replaces the system's authorities and does not add to them: for servers, and for
// proxies that are reached over TLS. It is read for each new connection.
//
// Where the process has rights that its caller may lack (set-user-id, set-group-id, file capabilities), the
// environment gives neither settings nor proxies.

/// Receives a reply: its body, then the type and the user pointer that the request was sent with, then the
/// error. The error is
/// - 0 for an HTTP status of 200 to 299,
/// - the HTTP status for every other status, the body being the server's,
/// - a negative libcurl error number when no usable response came, the body being empty:
///
///   | error | when                                                                            |
///   |-------|---------------------------------------------------------------------------------|
///   | -1    | a scheme other than http and https; a reply that is no HTTP                     |
///   | -2    | sent before CHttpClientInit or after CHttpClientUnInit                          |
///   | -3    | not a valid URL: no scheme, no host, a port that is not a number                |
///   | -6    | name not found                                                                  |
///   | -7    | refused                                                                         |
///   | -8    | a reply with an invalid header: a line without colon, an invalid length         |
///   | -18   | a body, or a header, that the server ended early                                |
///   | -27   | no memory; a header line of more than 100 KiB                                   |
///   | -28   | timed out                                                                       |
///   | -35   | TLS that can't be agreed on, protocols older than 1.2 among it                  |
///   | -42   | cancelled by shutting down                                                      |
///   | -43   | no valid header line; a reply whose first header line is a continuation         |
///   | -52   | closed without a reply                                                          |
///   | -55   | a connection that died while the request was sent                               |
///   | -56   | connection reset; chunks that can't be read                                     |
///   | -60   | a certificate that can't be trusted                                             |
///   | -61   | a compressed body that can't be unpacked, ends early, does not match its        |
///   |       | checksum or has bytes after its end; a coding other than gzip and deflate       |
///   | -63   | a reply that is too large, or a header that does not end                        |
///   | -65   | a kept connection that died after the body of a POST was sent, or part of it    |
///   | -77   | a CHTTPCLIENT_CA_FILE that can't be read                                        |
///   | -1000 | more requests outstanding than CHTTPCLIENT_MAX_OUTSTANDING                      |
///
///   and others as libcurl documents them.
///
/// An exception that leaves it is logged and goes no further.
using CHttpClientResponse =
    std::function<void(const std::string& body, int nType, void* pUserData, int nHttpError)>;

/// Starts the transport; a second call without CHttpClientUnInit between does nothing.
/// @return true when the transport runs
CHTTPCLIENT_API bool CHttpClientInit();

/// Ends the transport. Requests that are under way or waiting get the drain time to finish, what is left then
/// is cancelled (-42). When the call returns, every request has had its callback; only a call from within the
/// callback, which can't wait for itself, or beside a callback that blocks, leaves the remaining ones to the
/// delivering thread. Without this call the same happens when the process ends.
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
