#pragma once

#include <sys/types.h>

#include <atomic>
#include <cstddef>

/// A server that accepts and reads requests, and never answers. It is a process of its own, so that its
/// memory does not count as memory of this process. Make it before this process has threads.
class HoldingServer
{
public:
    /// @param nAddresses  number of addresses: the server listens on 127.0.0.1, 127.0.0.2 and so on, with the
    ///                    same port on each
    explicit HoldingServer(std::size_t nAddresses);
    ~HoldingServer();
    HoldingServer(const HoldingServer&) = delete;
    HoldingServer& operator=(const HoldingServer&) = delete;

    int Port() const { return m_nPort; }

    /// The number of requests that have arrived.
    std::size_t Requests() const { return *m_pRequests; }

    /// Waits until `nCount` requests have arrived.
    /// @throws std::runtime_error if they have not arrived within two minutes
    void WaitForRequests(std::size_t nCount) const;

    /// Ends the server; it never answers the requests that it has read.
    void Kill();

private:
    std::atomic<std::size_t>* m_pRequests; ///< shared with the server's process
    int m_nPort = 0;
    pid_t m_pid = -1;
};
