#pragma once

#include <sys/types.h>

#include <atomic>
#include <cstddef>

/// A server that accepts and reads requests, and never answers. It is a process of its own, so that nothing
/// of it counts as memory of this one; make it before this process has threads.
class HoldingServer
{
public:
    /// @param nAddresses  listens on 127.0.0.1, 127.0.0.2 and so on, on the same port of each
    explicit HoldingServer(std::size_t nAddresses);
    ~HoldingServer();
    HoldingServer(const HoldingServer&) = delete;
    HoldingServer& operator=(const HoldingServer&) = delete;

    int Port() const { return m_nPort; }

    /// Requests that have arrived.
    std::size_t Requests() const { return *m_pRequests; }

    /// Waits until that many requests have arrived.
    /// @throws std::runtime_error when they have not within two minutes
    void WaitForRequests(std::size_t nCount) const;

    /// Ends the server; what it holds is never answered.
    void Kill();

private:
    std::atomic<std::size_t>* m_pRequests; ///< shared with the server's process
    int m_nPort = 0;
    pid_t m_pid = -1;
};
