#pragma once

#include <string>

/// A plain TCP connection, to send what no HTTP client would and to see how a connection ends.
class RawClient
{
public:
    explicit RawClient(int nPort); ///< connects to this machine
    ~RawClient();
    RawClient(const RawClient&) = delete;
    RawClient& operator=(const RawClient&) = delete;

    void Send(const std::string& strBytes);
    void ResetAtItsEnd(); ///< the connection ends with a reset instead of a normal close
    /// Reads until the other side closes or resets, at most 30 seconds.
    std::string ReadAll();
    /// Reads until the received bytes end with a text, or until the end.
    std::string ReadUntil(const std::string& strEnd);
    /// Reads until the received bytes contain a text, or until the end.
    std::string ReadPast(const std::string& strText);

    bool IsReset() const { return m_bReset; }   ///< after a read: whether it ended in a reset
    bool IsClosed() const { return m_bClosed; } ///< after a read: whether it ended with a normal close

private:
    bool ReadMore(std::string& strRead);

    int m_nSocket;
    bool m_bReset = false;
    bool m_bClosed = false;
};
