#pragma once

#include <QByteArray>
#include <QString>

#include <cstddef>
#include <memory>
#include <string_view>
#include <utility>

class CInflater;
class QNetworkReply;

/// Keeps what Qt itself holds of a reply within some megabytes. Beyond, it stops receiving until they are
/// read, so read whenever there is something.
void BoundBuffer(QNetworkReply& reply);

/// Collects the body of a reply while it arrives, unpacked, and ends the exchange where the body is larger
/// than it may be. Qt would unpack at once whatever has arrived, a thousand times its size in memory; so its
/// request has to name the codings itself, which leaves the unpacking to this.
class CReplyBody
{
public:
    /// The value of "Accept-Encoding": what can be unpacked.
    static constexpr const char* CODINGS = "gzip, deflate";

    /// @param reply       outlives this; nothing of it was received yet
    /// @param nMostBytes  the most that the body may have, unpacked; above some 2 GB, what Qt can keep counts
    CReplyBody(QNetworkReply& reply, std::size_t nMostBytes);
    ~CReplyBody();
    CReplyBody(const CReplyBody&) = delete;
    CReplyBody& operator=(const CReplyBody&) = delete;

    /// Takes what has arrived, and aborts the reply, as the last thing, where it can't be taken. Call it
    /// whenever there is something to read, and at the end.
    void Receive();

    /// Why the body can't be had; empty where it can, and where there was no memory for it.
    const QString& Error() const { return m_strError; }

    /// Whether there was no memory for the body.
    bool LacksMemory() const { return m_bLacksMemory; }

    /// Gives the body away: what can be large is kept once.
    QByteArray TakeBytes() { return std::exchange(m_baBytes, {}); }

private:
    void Abort();
    bool TakeArrived();
    void ChooseCoding();
    bool Take(std::string_view strBytes);
    bool TakePacked(std::string_view strBytes);
    bool Fail(QString strError);

    QNetworkReply& m_reply;
    const std::size_t m_nMostBytes;
    bool m_bBegun = false;
    bool m_bLacksMemory = false;
    std::unique_ptr<CInflater> m_pInflater; ///< null for a body that is not packed
    QByteArray m_baBytes;
    QString m_strError;
};
