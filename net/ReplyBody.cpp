#include "ReplyBody.h"

#include "platform/reply/ExchangeLimits.h"
#include "platform/reply/Inflater.h"

#include <QNetworkReply>

#include <algorithm>
#include <limits>
#include <new>
#include <utility>

namespace
{

// More than Qt takes from a connection at a time: close to the limit, it passes on only one block per read.
constexpr qint64 MOST_HELD = qint64{8} * 1024 * 1024;

// What a QByteArray can hold, less its own overhead.
constexpr std::size_t MOST_BYTES = std::numeric_limits<int>::max() - 1024;

} // namespace

void BoundBuffer(QNetworkReply& reply)
{
    reply.setReadBufferSize(MOST_HELD);
}

ReplyBody::ReplyBody(QNetworkReply& reply, std::size_t nMostBytes)
    : m_reply(reply), m_nMostBytes(std::min(nMostBytes, MOST_BYTES))
{
    BoundBuffer(reply);
}

ReplyBody::~ReplyBody() = default;

void ReplyBody::Receive()
{
    if (m_bLacksMemory || !m_strError.isEmpty()) {
        return;
    }
    try {
        if (!TakeArrived()) {
            Abort();
        }
    } catch (const std::bad_alloc&) { // which must not reach Qt's event loop
        m_bLacksMemory = true;
        m_baBytes.clear();
        Abort();
    }
}

void ReplyBody::Abort()
{
    try {
        m_reply.abort();
    } catch (const std::bad_alloc&) { // then the reply ends by itself, or with the request
    }
}

bool ReplyBody::TakeArrived()
{
    if (!std::exchange(m_bBegun, true)) {
        ChooseCoding();
    }
    const QByteArray baPiece = m_reply.readAll();
    const std::string_view strPiece(baPiece.constData(), static_cast<std::size_t>(baPiece.size()));
    return m_pInflater != nullptr ? TakePacked(strPiece) : Take(strPiece);
}

// A body in any other coding is collected as it is, and left to its reader.
void ReplyBody::ChooseCoding()
{
    const QByteArray baCoding = m_reply.rawHeader("Content-Encoding");
    if (baCoding.compare("gzip", Qt::CaseInsensitive) == 0) {
        m_pInflater = std::make_unique<Inflater>(Inflater::Format::Gzip);
    } else if (baCoding.compare("deflate", Qt::CaseInsensitive) == 0) {
        m_pInflater = std::make_unique<Inflater>(Inflater::Format::Deflate);
    }
}

bool ReplyBody::Take(std::string_view strBytes)
{
    if (strBytes.size() > m_nMostBytes - static_cast<std::size_t>(m_baBytes.size())) {
        return Fail(QStringLiteral("the reply's body is larger than %1 bytes, unpacked (%2)")
                        .arg(m_nMostBytes)
                        .arg(REPLY_BYTES_VARIABLE));
    }
    m_baBytes.append(strBytes.data(), static_cast<int>(strBytes.size()));
    return true;
}

bool ReplyBody::TakePacked(std::string_view strBytes)
{
    const auto fnTake = [this](std::string_view strUnpacked) { return Take(strUnpacked); };
    switch (m_pInflater->Write(strBytes, fnTake)) {
    case Unpacked::Refused:
        return false; // the error is set already
    case Unpacked::NoMemory:
        throw std::bad_alloc();
    case Unpacked::Damaged:
        // Bytes after the end of the packed body are ignored.
        return m_pInflater->HasSeenEnd() ||
               Fail(QStringLiteral("the reply's body is labelled %1, but can't be unpacked")
                        .arg(QString::fromLatin1(m_reply.rawHeader("Content-Encoding"))));
    case Unpacked::Well:
        break;
    }
    return !m_pInflater->HasTakenTooMuch(m_nMostBytes) ||
           Fail(QStringLiteral("the reply's body, packed, is larger than a body of %1 bytes may be (%2)")
                    .arg(m_nMostBytes)
                    .arg(REPLY_BYTES_VARIABLE));
}

bool ReplyBody::Fail(QString strError)
{
    m_strError = std::move(strError);
    return false;
}
