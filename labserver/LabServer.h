#pragma once

#include "labserver/LabFault.h"

#include <chrono>
#include <memory>
#include <string>
#include <vector>

/// Where a lab server listens and what it keeps.
struct LabServerOptions {
    std::string strAddress = "127.0.0.1";
    int nPort = 0;           ///< 0 takes a free port
    std::string strDataFile; ///< SQLite file, see LabStore; empty keeps everything in memory
    /// How long a client may take to send a request once it has begun, and again to take the reply. A client
    /// that takes longer loses its connection, even if it sends or takes a byte now and then.
    std::chrono::milliseconds patience{60'000};
    int nMaxConnections = 256; ///< at a time, each with a thread; a further client is answered 503
};

/// One request as it arrived, and its answer.
struct LabExchange {
    std::string strMethod;
    std::string strTarget; ///< request target as received, including the query
    std::string strBody;
    int nStatus = 0;      ///< 0 when the connection was reset instead
    std::string strReply; ///< the whole body, even if a fault let only half of it be sent
};

/// A stand-in laboratory server: answers and stores like a real one. Serves on threads of its own, on which
/// every signal is blocked. Its operations may be called from any thread, Start and Stop from one at a time.
class LabServer
{
public:
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

    /// The latest exchanges (at most 10,000, and at most 64 MiB of them), oldest first. An exchange is
    /// recorded before its reply is sent.
    std::vector<LabExchange> Exchanges() const;

    /// Queues a fault after those pending; may be called before Start. The same as POST /lab/faults.
    void AddFault(LabFault fault);

private:
    class Impl;
    std::unique_ptr<Impl> m_pImpl;
};
