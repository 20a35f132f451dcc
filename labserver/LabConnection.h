#pragma once

#include "labserver/LabHead.h"
#include "labserver/StopSignal.h"

#include <chrono>
#include <httplib.h>
#include <string>
#include <vector>

/// One client's connection as the HTTP server reads and writes it. A reply is gathered and sent in one piece,
/// so that header and body never travel apart; and nothing here waits on after the server is told to stop.
/// For the one thread that serves the connection.
class LabConnection : public httplib::Stream
{
public:
    /// How long a kept connection may stay silent between two requests.
    static constexpr std::chrono::seconds kIdle{60};

    /// @param nSocket closed with this object
    /// @param stop must outlive this object
    /// @param patience how long a whole request may take to come in, and again its reply to go out
    LabConnection(Socket nSocket, const StopSignal& stop, std::chrono::milliseconds patience);
    ~LabConnection() override;
    LabConnection(const LabConnection&) = delete;
    LabConnection& operator=(const LabConnection&) = delete;

    /// Waits for the first byte of a request.
    /// @return false when there will be none: the client left or kept silent, or the server is to stop
    bool WaitForRequest();

    /// Sends what was written since the last reply, as the marks below say.
    /// @return whether the connection can be kept
    bool FinishReply();

    /// Lets time pass before the request is answered; less of it when the server is to stop.
    void Pause(std::chrono::milliseconds time) const { m_stop.WaitFor(time); }

    void TruncateReply() { m_eEnd = End::Truncated; } ///< half of this reply's body is to stay behind
    void ResetReply() { m_eEnd = End::Reset; }        ///< a reset is to go out instead of this reply
    bool IsReset() const { return m_eEnd == End::Reset; }

    /// This request's body is not going to be read: the connection ends with the reply, and what still comes
    /// in is read away for a moment, since closing on unread bytes would reset the connection under the
    /// reply.
    void LeaveBodyUnread() { m_eEnd = End::BodyUnread; }
    bool IsBodyUnread() const { return m_eEnd == End::BodyUnread; }

    /// This request is not served, nor its body read. The header of one is refused here, see LabHead.
    void Refuse(const LabRefusal& refusal);
    const LabRefusal& Refusal() const { return m_refusal; }

    bool is_readable() const override;
    bool is_writable() const override;
    ssize_t read(char* pBytes, size_t nSize) override;
    ssize_t write(const char* pBytes, size_t nSize) override;
    void get_remote_ip_and_port(std::string& strIp, int& nPort) const override;
    void get_local_ip_and_port(std::string& strIp, int& nPort) const override;
    socket_t socket() const override { return m_nSocket; }

private:
    enum class End { Kept, BodyUnread, Truncated, Reset };

    void BeginToWait() { m_end = std::chrono::steady_clock::now() + m_patience; }
    std::chrono::milliseconds TimeForNextBytes() const;
    bool PollSocket(short nEvents, std::chrono::milliseconds patience) const;
    bool PollSocketOrStop(std::chrono::milliseconds patience) const;
    bool WaitForSocket(short nEvents);
    bool HasReceived() const { return m_nInRead < m_vecIn.size(); }
    ssize_t ReadHead(char* pBytes, size_t nSize);
    bool Fill();
    bool Flush();
    void ReadAway();

    Socket m_nSocket;
    const StopSignal& m_stop;
    const std::chrono::milliseconds m_patience;
    std::chrono::steady_clock::time_point m_end; ///< of the request that is coming in, or of its reply
    LabHead m_head;                              ///< of the request that is coming in
    LabRefusal m_refusal;
    End m_eEnd = End::Kept;
    std::string m_strOut;
    std::vector<char> m_vecIn; ///< bytes received
    size_t m_nInRead = 0;      ///< how many of them are handed on
};
