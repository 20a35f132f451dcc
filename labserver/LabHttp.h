#pragma once

#include "labserver/LabConnection.h"
#include "labserver/LabGate.h"
#include "labserver/LabListener.h"
#include "labserver/LabSeen.h"
#include "labserver/LabServerOptions.h"
#include "labserver/LabTls.h"
#include "labserver/StopSignal.h"

#include <chrono>
#include <functional>
#include <httplib.h>
#include <memory>
#include <string>
#include <thread>

#if !defined(_WIN32)
#include <csignal>
#endif

/// Saves and restores what the process does on SIGPIPE. httplib's server makes the process ignore it. That is
/// for the host to decide, and it is needless here: no write of ours raises the signal.
class SigPipeKept
{
protected:
#if defined(_WIN32)
    void RestoreSigPipe() {} // no such signal
#else
    SigPipeKept()
    {
        sigaction(SIGPIPE, nullptr, &m_before);
    }
    void RestoreSigPipe()
    {
        sigaction(SIGPIPE, &m_before, nullptr);
    }

private:
    struct sigaction m_before = {};
#endif
};

/// The HTTP side of the lab server: listens, gives every connection a thread, refuses requests to operator
/// paths that do not come from the operator, and lets one function answer every other request, whatever its
/// method and path. A stopped server can't be started again.
class LabHttp : private SigPipeKept, private httplib::Server
{
public:
    /// The largest request body; a larger one is answered 413.
    static constexpr size_t MAX_BODY = size_t{16} * 1024 * 1024;

    /// Answers a request to a path, which is decoded and begins with "/". The request's own `path` is
    /// meaningless.
    using AnswerFunction =
        std::function<void(const std::string&, const httplib::Request&, httplib::Response&)>;

    /// Gets each request that is not to an operator path, with what became of it: after its reply was sent,
    /// or at once if none is. Runs on many threads at a time.
    using SeenFunction = std::function<void(LabSeen)>;

    /// @param tls must outlive this object
    /// @param fnAnswer runs on many threads at a time
    /// @param fnSeal gets every reply, including those to malformed requests, just before it is sent
    LabHttp(const AnswerFunction& fnAnswer, const Handler& fnSeal, SeenFunction fnSeen,
            const LabServerOptions& options, LabTls& tls);
    ~LabHttp() override; ///< stops it

    /// Listens as the options say and serves on threads of its own; returns at once.
    /// @return the port
    /// @throws std::runtime_error when the address can't be bound
    int Start();

    /// Where it listens, or listened last.
    const SocketAddress& Address() const { return m_address; }

    /// Stops listening, and waits until every request in progress is answered and every connection closed.
    void Stop();

    /// The connection of the request being answered on this thread.
    static LabConnection& Current();
    /// What is known so far of the request being answered on this thread.
    static LabSeen& CurrentSeen();

private:
    int Bind(const std::string& strAddress, int nPort);
    void Serve(Socket nSocket);
    bool ServeRequest(LabConnection& connection);
    bool MustEnd(const LabConnection& connection) const;
    void TellSeen(std::chrono::steady_clock::time_point begin) const;

    const LabServerOptions m_options;
    LabTls& m_tls;
    const SeenFunction m_fnSeen;
    SocketAddress m_address;
    StopSignal m_stop;
    std::unique_ptr<const LabGate> m_pGate;
    std::unique_ptr<LabListener> m_pListener;
    std::thread m_thread;
};
