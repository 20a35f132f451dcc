#pragma once

#include "labserver/StreamSockets.h"

#include <cstddef>
#include <functional>

/// The bytes that a client sends and gets, as they are on its connection, or inside TLS. To be used by one
/// thread at a time.
class LabStream
{
public:
    /// What a call has moved.
    struct Moved {
        std::size_t nBytes = 0;
        /// If it moved nothing: the event of poll() to wait for before the next try, or 0 when no further try
        /// can succeed, since the connection has ended or failed.
        short nAwaited = 0;
    };

    LabStream() = default;
    virtual ~LabStream() = default;
    LabStream(const LabStream&) = delete;
    LabStream& operator=(const LabStream&) = delete;

    /// Does what must be done before any byte can be moved.
    /// @param fnWait  waits for an event of poll(); false when it did not come in time
    /// @return whether bytes can be moved now
    virtual bool ShakeHands(const std::function<bool(short)>& /*fnWait*/) { return true; }

    virtual Moved Receive(char* pBytes, std::size_t nSize) = 0;     ///< does not wait
    virtual Moved Send(const char* pBytes, std::size_t nBytes) = 0; ///< does not wait

    /// Tells the client that nothing more comes, if closing the socket does not tell it sufficiently.
    virtual void TellEnd() {}
};

/// A stream without TLS.
class PlainStream : public LabStream
{
public:
    /// @param nSocket must stay open as long as this object lives
    explicit PlainStream(Socket nSocket) : m_nSocket(nSocket) {}

    Moved Receive(char* pBytes, std::size_t nSize) override;
    Moved Send(const char* pBytes, std::size_t nBytes) override;

private:
    const Socket m_nSocket;
};
