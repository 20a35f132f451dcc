#include "NAMDownload.h"

#include "EnvironmentsProxy.h"
#include "ManagerFactory.h"
#include "NetworkUse.h"
#include "ProgressGuard.h"
#include "ReplyBody.h"

#include "platform/reply/ExchangeLimits.h"
#include "platform/system/RenameFile.h"

#include <QDir>
#include <QFileInfo>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QRandomGenerator>
#include <QTimer>
#include <QUrl>
#include <QVariant>

#include <new>

namespace
{

/// Gives a reply an error that Qt has missed.
struct ErrorOfReply : QNetworkReply {
    static void Set(QNetworkReply& reply, NetworkError eError, const QString& strError)
    {
        (reply.*&ErrorOfReply::setError)(eError, strError);
    }
};

/// A file's name in the form that the system takes.
std::filesystem::path NativePath(const QString& strFile)
{
#if defined(Q_OS_WIN)
    // The extended form, whose length is not limited.
    const QString strPath = QDir::toNativeSeparators(QFileInfo(strFile).absoluteFilePath());
    const bool bShare = strPath.startsWith("\\\\");
    return (bShare ? "\\\\?\\UNC" + strPath.mid(1) : "\\\\?\\" + strPath).toStdWString();
#else
    return QFile::encodeName(strFile).toStdString();
#endif
}

bool IsHttp(const QUrl& url)
{
    return url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https");
}

} // namespace

NAMDownload::NAMDownload(QObject* parent) : QNetworkAccessManager(parent)
{
    AvoidEnvironmentsProxy(*this);
}

NAMDownload::~NAMDownload()
{
    if (m_pReply != nullptr) {
        m_pReply->disconnect(this); // its abort with this object must not be signalled
    }
    if (m_pFile != nullptr) {
        m_pFile->remove();
    }
}

// With these open flags the temporary file is always a new one, and no link is followed.
bool NAMDownload::Start(const QString& strUrl, const QString& strTarget)
{
    const NetworkCall call; // an end of the process that begins meanwhile waits for this
    if (call.IsRefused()) {
        return false;
    }
    const QUrl url(strUrl, QUrl::TolerantMode);
    const QString strUnique = QString::number(QRandomGenerator::global()->generate(), 16);
    auto pFile = std::make_unique<QFile>(strTarget + '.' + strUnique + ".part");
    if (m_pReply != nullptr || !IsHttp(url) || !pFile->open(QIODevice::WriteOnly | QIODevice::NewOnly)) {
        return false;
    }
    m_pFile = std::move(pFile);
    m_strTarget = strTarget;
    QNetworkRequest request(url);
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::NoLessSafeRedirectPolicy);
    request.setRawHeader("Accept-Encoding", "identity"); // so that the announced length is that of the file
    m_pReply = ManagerFor(*this).get(request);
    BoundBuffer(*m_pReply);
    connect(m_pReply, SIGNAL(readyRead()), this, SLOT(slot_NReply_readyRead()));
    connect(m_pReply, SIGNAL(downloadProgress(qint64, qint64)), this,
            SLOT(slot_NReply_downloadProgress(qint64, qint64)));
    connect(m_pReply, &QNetworkReply::finished, this, &NAMDownload::CheckWhole); // called before the next one
    connect(m_pReply, SIGNAL(finished()), this, SLOT(slot_NReply_finished()));
    QTimer::singleShot(ExchangeLimitsInForce().timeout, Qt::PreciseTimer, m_pReply.data(),
                       &QNetworkReply::abort);
    WatchInFlight(*this);
    return true;
}

bool NAMDownload::IsTooLarge() const
{
    return static_cast<quint64>(m_pFile->pos() + m_pReply->bytesAvailable()) >
           ExchangeLimitsInForce().nMaxReplyBytes;
}

void NAMDownload::slot_NReply_readyRead()
{
    if (m_pFile == nullptr) {
        return; // it was aborted, but Qt had more data
    }
    try {
        if (!IsTooLarge()) {
            const QByteArray baData = m_pReply->readAll();
            if (m_pFile->write(baData) == baData.size()) {
                return;
            }
        }
    } catch (const std::bad_alloc&) { // which must not reach Qt's event loop
    }
    m_pReply->abort(); // the download fails, as on a full disk
}

// Qt sometimes takes a broken connection for the end of the reply, although bytes are missing. And only now
// are the last bytes of the file written to the disk, which may be full.
void NAMDownload::CheckWhole()
{
    const QVariant length = m_pReply->header(QNetworkRequest::ContentLengthHeader);
    const bool bWritten = m_pFile->flush();
    const qint64 nWritten = m_pFile->pos();
    m_pFile->close();
    if (m_pReply->error() != QNetworkReply::NoError) {
        return;
    }
    if (!bWritten || m_pFile->error() != QFileDevice::NoError) {
        ErrorOfReply::Set(*m_pReply, QNetworkReply::UnknownContentError,
                          "The file can't be written: " + m_pFile->errorString());
    } else if (length.isValid() && length.toLongLong() != nWritten) {
        ErrorOfReply::Set(*m_pReply, QNetworkReply::RemoteHostClosedError,
                          QStringLiteral("Connection closed before the whole file came"));
    }
}

void NAMDownload::slot_NReply_downloadProgress(qint64 bytesReceived, qint64 bytesTotal)
{
    if (IsProgress(bytesReceived, bytesTotal)) {
        Q_EMIT signal_NReply_downloadProgress(bytesReceived, bytesTotal);
    }
}

void NAMDownload::slot_NReply_finished()
{
    m_pFile->close();
    const bool bSucc = m_pReply->error() == QNetworkReply::NoError;
    if (!bSucc || !RenameWithoutReplacing(NativePath(m_pFile->fileName()), NativePath(m_strTarget))) {
        m_pFile->remove();
    }
    m_pFile.reset();
    Q_EMIT signal_NReply_finished(bSucc);
    m_pReply->deleteLater();
    deleteLater();
}
