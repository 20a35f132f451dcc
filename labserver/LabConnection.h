#pragma once

#include "labserver/LabHead.h"
#include "labserver/LabStream.h"
#include "labserver/LabTls.h"
#include "labserver/StopSignal.h"

#include <chrono>
#include <functional>
#include <httplib.h>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// One client's connection as the HTTP server reads and writes it, with TLS if the client begins it and the
/// server has a certificate to show. A reply is buffered and sent in one piece, so that header and body are
/// never sent separately. No function waits for long once the server is told to
/// stop. To be used only by the thread that serves the connection.
class LabConnection : public httplib::Stream
{
public:
    /// How long a kept connection may stay silent between two requests.
    static constexpr std::chrono::seconds IDLE{60};

    /// @param nSocket closed with this object
    /// @param stop must outlive this object
    /// @param patience how long a whole request may take to arrive, and also its reply to be sent
    LabConnection(Socket nSocket, const StopSignal& stop, std::chrono::milliseconds patience);
    ~LabConnection() override;
    LabConnection(const LabConnection&) = delete;
    LabConnection& operator=(const LabConnection&) = delete;

    /// Waits for the client's first byte, and shakes hands with it if it begins TLS. To be called first.
    /// @param tls  used only by this call
    /// @return false when no request will come: the client left, stayed silent or did not take the
    /// certificate, or the server must stop
    bool Begin(LabTls& tls);

    /// The certificate that the client was shown; none without TLS.
    std::optional<LabCertificate> Certificate() const { return m_optCertificate; }

    /// Waits for the first byte of a request.
    /// @return false when there will be none: the client left or stayed silent, or the server must stop
    bool WaitForRequest();

    /// Sends what was written since the last reply, in the way set by the functions below.
    /// @return whether the connection can be kept
    bool FinishReply();

    /// The status line and the headers of the reply that FinishReply() will send.
    std::string ReplyHead() const { return m_strOut.substr(0, m_strOut.find("\r\n\r\n")); }

    /// Delays the answer to the request; for a shorter time when the server must stop.
    void Pause(std::chrono::milliseconds time) const { m_stop.WaitFor(time); }

    void TruncateReply() { m_eEnd = End::Truncated; } ///< only half of this reply's body will be sent
    void ResetReply() { m_eEnd = End::Reset; }        ///< a reset will be sent instead of this reply
    void SilenceReply() { m_eEnd = End::Silent; }     ///< this reply is not sent, and nothing else is
    /// Instead of this reply, one without an end is sent: a head, and then again and again what a function
    /// gives, until the client leaves or stops reading, or the server must stop.
    void StreamReply(const std::string& strContentType, std::function<std::string()> fnNext);
    bool HasReply() const { return m_eEnd != End::Reset && m_eEnd != End::Silent; }

    /// This request's body will not be read: the connection ends after the reply. What still arrives is read
    /// and discarded for a moment, since closing a connection with unread bytes resets it, and the reply
    /// could be lost.
    void LeaveBodyUnread() { m_eEnd = End::BodyUnread; }
    bool IsBodyUnread() const { return m_eEnd == End::BodyUnread; }

    /// This request is not served, and its body is not read. Called by this class itself when LabHead refuses
    /// a header.
    void Refuse(const LabRefusal& refusal);
    const LabRefusal& Refusal() const { return m_refusal; }

    const std::string& ClientAddress() const { return m_peer.first; }
    int ClientPort() const { return m_peer.second; }

    bool is_readable() const override;
    bool is_writable() const override;
    ssize_t read(char* pBytes, size_t nSize) override;
    ssize_t write(const char* pBytes, size_t nSize) override;
    void get_remote_ip_and_port(std::string& strIp, int& nPort) const override;
    void get_local_ip_and_port(std::string& strIp, int& nPort) const override;
    socket_t socket() const override { return m_nSocket; }

private:
    enum class End { Kept, BodyUnread, Truncated, Reset, Silent, Streamed };

    void BeginToWait() { m_end = std::chrono::steady_clock::now() + m_patience; }
    std::chrono::milliseconds TimeForNextBytes() const;
    bool PollSocket(short nEvents, std::chrono::milliseconds patience) const;
    bool PollSocketOrStop(std::chrono::milliseconds patience) const;
    bool WaitForSocket(short nEvents);
    bool BeginTls(LabTls& tls);
    bool HasReceived() const { return m_nInRead < m_vecIn.size(); }
    ssize_t ReadHead(char* pBytes, size_t nSize);
    bool Fill();
    bool Flush();
    void ReadAway();
    void StaySilent();
    bool HasLeft();
    void SendStream();

    Socket m_nSocket;
    std::unique_ptr<LabStream> m_pStream;
    std::optional<LabCertificate> m_optCertificate;
    const std::pair<std::string, int> m_peer;
    const StopSignal& m_stop;
    const std::chrono::milliseconds m_patience;
    std::chrono::steady_clock::time_point m_end; ///< of the time for the incoming request, or for its reply
    LabHead m_head;                              ///< of the incoming request
    LabRefusal m_refusal;
    End m_eEnd = End::Kept;
    std::string m_strOut;
    std::function<std::string()> m_fnNext; ///< what a streamed reply goes on with
    std::vector<char> m_vecIn;             ///< bytes received
    size_t m_nInRead = 0;                  ///< how many of them were passed on
};
