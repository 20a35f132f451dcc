#pragma once

#include "labserver/LabExchange.h"
#include "labserver/LabFault.h"
#include "labserver/LabServerOptions.h"

#include <memory>
#include <string>
#include <vector>

/// A stand-in laboratory server: answers and stores like a real one. Serves on threads of its own, on which
/// every signal is blocked. Its operations may be called from any thread, Start and Stop from one at a time.
class LabServer
{
public:
    /// @throws std::runtime_error when the certificate or the recording of the options can't be used
    explicit LabServer(LabServerOptions options = {});
    ~LabServer(); ///< stops it
    LabServer(const LabServer&) = delete;
    LabServer& operator=(const LabServer&) = delete;

    /// Listens and serves; returns at once. After a Stop it serves again, with everything that it kept.
    /// @return the port
    /// @throws std::runtime_error when the address can't be bound or the data file can't be opened
    int Start();

    /// Stops serving after the requests in progress are answered. May be called twice. A client that pauses
    /// in sending its request or taking its reply loses its connection; so does one that needs 2 s more for
    /// either.
    void Stop();

    /// The port of the latest Start; 0 before it.
    int Port() const;

    /// Whether hosts can or must use HTTPS now.
    bool SpeaksTls() const;

    /// The latest exchanges (at most 10,000, and at most 64 MiB of them), oldest first. An exchange is
    /// recorded before its reply is sent.
    std::vector<LabExchange> Exchanges() const;

    /// Queues a fault after those pending; may be called before Start. The same as POST /lab/faults.
    void AddFault(LabFault fault);

    /// Starts a scenario; may be called before Start.
    /// @param strScenario  the name of one that GET /lab/scenarios lists, or a whole one as POST
    /// /lab/scenarios takes it
    /// @throws std::runtime_error when there is no such scenario, or the text describes none
    void StartScenario(const std::string& strScenario);

private:
    class Impl;
    std::unique_ptr<Impl> m_pImpl;
};
