#pragma once

#include <QByteArray>
#include <QString>

#include <cstddef>
#include <memory>
#include <string_view>
#include <utility>

class Inflater;
class QNetworkReply;

/// Limits what Qt itself buffers of a reply to some megabytes. At the limit, Qt stops receiving until they
/// are read, so read whenever there is something to read.
void BoundBuffer(QNetworkReply& reply);

/// Collects and unpacks the body of a reply while it arrives, and ends the exchange if the body is too large.
/// Qt would unpack everything that has arrived at once, which may take a thousand times its size in memory.
/// So the request must name the codings itself, which makes Qt leave the unpacking to this class.
class ReplyBody
{
public:
    /// The value of "Accept-Encoding": the codings that can be unpacked.
    static constexpr const char* CODINGS = "gzip, deflate";

    /// @param reply       must outlive this; nothing of it may have been received yet
    /// @param nMostBytes  the largest allowed size of the unpacked body; at most some 2 GB, the limit of Qt
    ReplyBody(QNetworkReply& reply, std::size_t nMostBytes);
    ~ReplyBody();
    ReplyBody(const ReplyBody&) = delete;
    ReplyBody& operator=(const ReplyBody&) = delete;

    /// Takes what has arrived; if it can't be taken, aborts the reply as its last step. Call it whenever
    /// there is something to read, and at the end.
    void Receive();

    /// Why there is no body; empty if there is one, and also if there was no memory for it.
    const QString& Error() const { return m_strError; }

    /// Whether there was no memory for the body.
    bool LacksMemory() const { return m_bLacksMemory; }

    /// What was taken of the body, unpacked.
    const QByteArray& Bytes() const { return m_baBytes; }

    /// How the body begins, as far as it was taken; for the log.
    QByteArray Beginning() const { return m_baBytes.left(MOST_SHOWN); }

    /// The most bytes that `Beginning` returns.
    static constexpr int MOST_SHOWN = 400;

    /// Moves the body out, so that a large body is never stored twice.
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
    std::unique_ptr<Inflater> m_pInflater; ///< null for a body that is not packed
    QByteArray m_baBytes;
    QString m_strError;
};
