#pragma once

/// @file
/// `KtsScript`: what both doubles of the test kit have in common: which request gets which reply, and what
/// was sent. Use KtsScriptedTransport.h for the asynchronous interface, KtsScriptedNetwork.h for the blocking
/// one.

#include "KtsReply.h"

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

/// A request as the double got it.
struct SKtsSent {
    int nType = 0;       ///< the request type id (`VelCSDK::RequestType`); 0 if the URL is that of no type
    bool bPost = false;  ///< true: POST; false: GET
    std::string strUrl;  ///< the whole URL; of a blocking call as Qt encodes it, otherwise not encoded
    std::string strBody; ///< the body of a POST; empty for a GET
    std::vector<std::string> vecHeaders; ///< header lines that the library sets, without their line ends
    bool bScripted = false;              ///< whether the script had a reply for it
};

/// Which request gets which reply, and what was sent.
///
/// A rule of `On` and `OnPath` comes before one of `OnAny`. Among these, rules with `KtsReply::Times` are
/// used up first, in the order in which they were added; then the newest rule without it holds. So a test may
/// override what its fixture has set.
///
/// A request for which there is no rule fails like one to a server that refuses the connection. It says so in
/// words: in a line on standard error ("no reply is scripted for …", by Qt's message handler), in the log,
/// for a blocking call in `SBlockingOutcome::strError`, and in `Unscripted()`.
///
/// Threads: every function may be called from any thread, at any time.
class KtsScript
{
public:
    KtsScript(const KtsScript&) = delete;
    KtsScript& operator=(const KtsScript&) = delete;

    /// Requests of a type get this reply.
    /// @param nType  the request type id, for instance `VelCSDK::RequestType::GetProjects`
    /// @param reply  what they get
    void On(int nType, KtsReply reply);
    /// Requests to a path get this reply.
    /// @param strPath  the URL's path without the query, or its end from a "/" on, which may be left out:
    ///                 "GetSupportVer.action"
    /// @param reply    what they get
    void OnPath(std::string strPath, KtsReply reply);
    /// Requests for which there is no other rule get this reply.
    void OnAny(KtsReply reply);
    /// Forgets all rules; what was sent stays known, and replies that were begun still come.
    void ForgetRules();

    /// All requests so far, in the order in which they were sent.
    std::vector<SKtsSent> Sent() const;
    /// Those of one type.
    std::vector<SKtsSent> Sent(int nType) const;
    /// Those for which there was no rule. Good for the end of a test: it should be empty.
    std::vector<SKtsSent> Unscripted() const;
    /// Waits, without handling events, until that many requests were sent in all.
    /// @return false if they are fewer when the patience is over
    bool WaitForSent(std::size_t nCount, std::chrono::milliseconds patience = std::chrono::seconds(30)) const;

protected:
    class State;

    /// @param szName  of the class, for the message about a request without a rule
    explicit KtsScript(const char* szName);
    ~KtsScript();

    const std::shared_ptr<State> m_pState; ///< also held by the requests that are not answered yet
};
