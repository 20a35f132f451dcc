#pragma once

#include <QFile>
#include <QNetworkAccessManager>
#include <QPointer>
#include <QString>

#include <memory>

class QNetworkReply;

/// Downloads one file and then deletes itself. Create it with `new`, connect, and call `Start` once.
///
/// The file is written under a temporary name beside its target and renamed when it is complete, so the
/// target is either whole or missing. An existing target is left unchanged, even if it appeared meanwhile.
/// Whether the file is whole can be checked only if the server announces its length: without that (a chunked
/// reply), Qt may take a broken connection for the end of the file.
///
/// A file larger than CHTTPCLIENT_MAX_REPLY_BYTES (64 MiB), or one that takes longer than
/// CHTTPCLIENT_TIMEOUT_MS (60 s) in all, including redirects, makes the download fail; see ExchangeLimits.h.
///
/// Threads: everything happens on the thread that owns it, whose event loop must run.
class NAMDownload : public QNetworkAccessManager
{
    Q_OBJECT

public:
    explicit NAMDownload(QObject* parent);

    /// Aborts a download in progress, and removes its partial file.
    ~NAMDownload() override;

    /// Starts the download. Redirects are followed within http and https, but not from https to http.
    /// @return false when a download was started before, when the URL is not an http or https one, when no
    ///         file can be created beside the target, or when the process or its QCoreApplication is ending;
    ///         then nothing is sent, no signal is emitted, and the object remains the caller's
    bool Start(const QString& strUrl, const QString& strTarget);

Q_SIGNALS:
    /// The end: true when the whole file was received and written. It does not tell whether the file could be
    /// renamed to the target.
    void signal_NReply_finished(bool IfSuccess);
    /// The progress; emitted only if the server announced the size.
    void signal_NReply_downloadProgress(qint64 bytesReceived, qint64 bytesTotal);

private Q_SLOTS:
    void slot_NReply_finished();
    void slot_NReply_readyRead();
    void slot_NReply_downloadProgress(qint64 bytesReceived, qint64 bytesTotal);

private:
    void CheckWhole();
    bool IsTooLarge() const;

    QPointer<QNetworkReply> m_pReply; ///< deleted after its end, or with this object
    std::unique_ptr<QFile> m_pFile;   ///< open while the download is in progress
    QString m_strTarget;
};
