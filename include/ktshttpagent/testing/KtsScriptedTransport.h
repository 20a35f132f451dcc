#pragma once

/// @file
/// `KtsScriptedTransport`: a transport without a network for tests of hosts that use the asynchronous
/// interface.

#include "KtsScript.h"

/// Takes all requests of the asynchronous interface, and all those that the host passes to chttpclient.h
/// itself, instead of the network, and answers them by its script:
///
///     KtsScriptedTransport transport;
///     transport.On(RequestType::GetSupportVer, KtsReply::Body(R"({"success":true})"));
///     …the host sends, its signal comes…
///     EXPECT_EQ(transport.Sent(RequestType::GetSupportVer).size(), 1U);
///
/// Replies come as from the network: on the transport's own threads, one at a time, each request exactly one;
/// signals of `CUIAgentRsp` reach the host as always. Replies without a delay come in the order of the
/// requests, others at their time. The log has its line for each exchange, and the figures of KtsMetrics.h
/// count it. An outbox (KtsOutbox.h) sends through it too.
///
/// It is in force from its constructor to its destructor, for the whole process; if there are several, the
/// newest is. What is not answered when it is destroyed, or when the transport stops
/// (`SDKFactory::DestoryInstance`, `CHttpClientUnInit`, end of the process), fails with
/// `CHttpOutcome::Cancelled` at once, without the drain time. After its destructor requests go to the network
/// again. It needs the transport that belongs to the library, not a site's own one. A GET has no body in
/// `Sent()`, as on the wire.
///
/// Threads: may be made and destroyed on any thread. Ownership: the host keeps what it made; the transport is
/// not its child.
class KtsScriptedTransport : public KtsScript
{
public:
    KtsScriptedTransport();  ///< in force from now on
    ~KtsScriptedTransport(); ///< cancels what is not answered

private:
    class Clock;
    const std::shared_ptr<Clock> m_pClock;
};
