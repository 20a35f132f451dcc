#include "NAMDownload.h"

#include "EnvironmentsProxy.h"
#include "NetworkUse.h"
#include "ProgressGuard.h"

#include <QNetworkReply>
#include <QNetworkRequest>
#include <QRandomGenerator>
#include <QUrl>
#include <QVariant>

namespace
{

/// Gives a reply an error that Qt has missed.
struct ErrorOfReply : QNetworkReply {
    static void Set(QNetworkReply& reply, NetworkError eError, const QString& strError)
    {
        (reply.*&ErrorOfReply::setError)(eError, strError);
    }
};

} // namespace

NAMDownload::NAMDownload(QObject* parent) : QNetworkAccessManager(parent)
{
    AvoidEnvironmentsProxy(*this);
}

NAMDownload::~NAMDownload()
{
    if (m_pReply != nullptr) {
        m_pReply->disconnect(this); // it is aborted with this object, and must not report that
    }
    if (m_pFile != nullptr) {
        m_pFile->remove();
    }
}

bool NAMDownload::Start(const QString& strUrl, const QString& strTarget)
{
    const QString strUnique = QString::number(QRandomGenerator::global()->generate(), 16);
    auto pFile = std::make_unique<QFile>(strTarget + '.' + strUnique + ".part");
    if (m_pReply != nullptr || !pFile->open(QIODevice::WriteOnly | QIODevice::NewOnly)) {
        return false;
    }
    m_pFile = std::move(pFile);
    m_strTarget = strTarget;
    QNetworkRequest request(QUrl(strUrl, QUrl::TolerantMode));
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::NoLessSafeRedirectPolicy);
    request.setRawHeader("Accept-Encoding", "identity"); // so that the length told is that of the file
    m_pReply = get(request);
    connect(m_pReply, SIGNAL(readyRead()), this, SLOT(slot_NReply_readyRead()));
    connect(m_pReply, SIGNAL(downloadProgress(qint64, qint64)), this,
            SLOT(slot_NReply_downloadProgress(qint64, qint64)));
    connect(m_pReply, &QNetworkReply::finished, this, &NAMDownload::CheckLength); // before the next one
    connect(m_pReply, SIGNAL(finished()), this, SLOT(slot_NReply_finished()));
    WatchInFlight(*this);
    return true;
}

void NAMDownload::slot_NReply_readyRead()
{
    const QByteArray baData = m_pReply->readAll();
    if (m_pFile->write(baData) != baData.size()) {
        m_pReply->abort(); // a full disk: the download ends as a failed one
    }
}

// Qt now and then takes a connection that breaks for the end of its reply, although bytes are missing.
void NAMDownload::CheckLength()
{
    const QVariant length = m_pReply->header(QNetworkRequest::ContentLengthHeader);
    if (m_pReply->error() == QNetworkReply::NoError && length.isValid() &&
        length.toLongLong() != m_pFile->pos()) {
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
    if (!bSucc || !m_pFile->rename(m_strTarget)) {
        m_pFile->remove();
    }
    m_pFile.reset();
    Q_EMIT signal_NReply_finished(bSucc);
    m_pReply->deleteLater();
    deleteLater();
}
