#pragma once

#include <QFile>
#include <QNetworkAccessManager>
#include <QPointer>
#include <QString>

#include <memory>

class QNetworkReply;

/// Downloads one file and then deletes itself. Make it with `new`, connect, and call `Start` once.
///
/// The file grows under a temporary name beside its target and takes the target's name when it is complete,
/// so the target is there whole or not at all. A target that exists is left as it is, though it appeared
/// meanwhile. What "whole" means the server must say: of a file whose length it does not tell (a chunked
/// reply), Qt may take a connection that breaks for the end.
///
/// A file larger than CHTTPCLIENT_MAX_REPLY_BYTES (64 MiB), or one that takes longer than
/// CHTTPCLIENT_TIMEOUT_MS (60 s) in all, redirects included, is a failed download; see ExchangeLimits.h.
///
/// Threads: everything happens on the thread that owns it, whose event loop must run.
class NAMDownload : public QNetworkAccessManager
{
    Q_OBJECT

public:
    explicit NAMDownload(QObject* parent);

    /// Ends a download that is under way, and removes what there is of it.
    ~NAMDownload() override;

    /// Begins the download. Redirects are followed where they lead to nothing less safe, by http and https
    /// only.
    /// @return false when a download was begun before, when the URL is not one of http or https, when no
    ///         file can be made beside the target, or when the process or its QCoreApplication is ending;
    ///         then nothing is sent, no signal comes, and the object stays the caller's
    bool Start(const QString& strUrl, const QString& strTarget);

Q_SIGNALS:
    /// The end: true when the network brought the whole file, and all of it was written. Whether it could be
    /// given the target's name is not told.
    void signal_NReply_finished(bool IfSuccess);
    /// How far the download is; only where the server told its size.
    void signal_NReply_downloadProgress(qint64 bytesReceived, qint64 bytesTotal);

private Q_SLOTS:
    void slot_NReply_finished();
    void slot_NReply_readyRead();
    void slot_NReply_downloadProgress(qint64 bytesReceived, qint64 bytesTotal);

private:
    void CheckWhole();
    bool IsTooLarge() const;

    QPointer<QNetworkReply> m_pReply; ///< a child of this object; deletes itself after its end
    std::unique_ptr<QFile> m_pFile;   ///< open while the download is under way
    QString m_strTarget;
};
