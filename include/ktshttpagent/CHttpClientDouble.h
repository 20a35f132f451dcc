#pragma once

/// @file
/// For tests of hosts: a double that takes the requests of the asynchronous transport instead of the network.
/// Most tests use the test kit (`ktshttpagent::testing`, KtsScriptedTransport.h), which is made of this.
///
/// A site's own transport need not have this function: nothing but tests calls it.

#include "chttpclient.h"

#include <functional>
#include <string>
#include <vector>

/// A request as a test's double gets it, see `CHttpClientSetDouble`.
struct CHttpClientRequest {
    int nType = 0;       ///< as it was handed in
    std::string strUrl;  ///< as it was handed in, not encoded
    std::string strBody; ///< as it was handed in, also that of a GET, which the network never sees
    bool bPost = false;  ///< true: POST; false: GET
    std::vector<std::string> vecHeaders; ///< complete header lines without their line ends
};

/// What a test's double answers.
struct CHttpClientReply {
    std::string strBody;       ///< passed to the callback, but not if nHttpError is negative
    int nHttpError = 0;        ///< 0, an HTTP status, or a number of `CHttpOutcome`
    std::string strWhy;        ///< why there is no reply, for the log; empty for libcurl's words
    long long nRetryAfter = 0; ///< seconds, as the server's header Retry-After would say; 0 for none
};

/// Ends a request with an outcome. May be called from any thread. Only the first call counts, and only before
/// the stop of the transport. If the function and all its copies are destroyed without a call, the request
/// fails with `CHttpOutcome::Cancelled`.
using CHttpClientAnswer = std::function<void(CHttpClientReply reply)>;

/// Takes a request instead of the network. It is called on the thread that sends the request, which waits for
/// it, so it should return soon. It may call the second argument itself, or keep it and answer later. If it
/// throws, the request fails with `CHttpOutcome::Cancelled`.
using CHttpClientDouble = std::function<void(CHttpClientRequest request, CHttpClientAnswer fnAnswer)>;

/// For tests of hosts: has each request that is sent from now on taken by a double instead of the network; an
/// empty function for the network, as at the beginning. Everything else stays as it is: each request has one
/// callback, on the transport's threads, and its line in the log. A stop of the transport does not wait for
/// the double: what is not answered fails at once with `CHttpOutcome::Cancelled`. URLs are not checked, and
/// time-outs do not apply.
///
/// May be called from any thread. A call of the previous double that has begun may still run afterwards; that
/// double is destroyed with its last call. The child of a fork has none.
CHTTPCLIENT_API void CHttpClientSetDouble(CHttpClientDouble fnDouble);
