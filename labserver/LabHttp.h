#pragma once

#include "labserver/LabConnection.h"
#include "labserver/LabGate.h"
#include "labserver/LabListener.h"
#include "labserver/LabServer.h"
#include "labserver/StopSignal.h"

#include <httplib.h>
#include <memory>
#include <string>
#include <thread>

#if !defined(_WIN32)
#include <csignal>
#endif

/// Remembers what the process does on SIGPIPE. httplib's server sets that to nothing, although it is the
/// host's affair, and needless here: no write of ours raises the signal.
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

/// The HTTP side of the lab server: listens, gives every connection a thread, turns away from the operator's
/// paths who has no business there, and lets one function answer every other request, whatever its method and
/// path. Serves once: a server that was stopped is not started again.
class LabHttp : private SigPipeKept, private httplib::Server
{
public:
    /// The largest request body; a larger one is answered 413.
    static constexpr size_t kMaxBody = size_t{16} * 1024 * 1024;

    /// Answers a request to a path, which is decoded and begins with "/". The request's own `path` says
    /// nothing.
    using AnswerFunction =
        std::function<void(const std::string&, const httplib::Request&, httplib::Response&)>;

    /// @param fnAnswer runs on many threads at a time
    /// @param fnSeal sees every reply to a request, those to malformed requests too, just before it leaves
    LabHttp(const AnswerFunction& fnAnswer, const Handler& fnSeal, const LabServerOptions& options);
    ~LabHttp() override; ///< stops it

    /// Listens as the options say and serves on threads of its own; returns at once.
    /// @return the port
    /// @throws std::runtime_error when the address can't be had
    int Start();

    /// Ends listening, waits until every request under way is answered and every connection closed.
    void Stop();

    /// The connection of the request being answered on this thread.
    static LabConnection& Current();

private:
    int Bind(const std::string& strAddress, int nPort);
    void Serve(Socket nSocket);

    const LabServerOptions m_options;
    StopSignal m_stop;
    std::unique_ptr<const LabGate> m_pGate;
    std::unique_ptr<LabListener> m_pListener;
    std::thread m_thread;
};
