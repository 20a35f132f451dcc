#include "ScriptedReply.h"

#include "Faults.h"

#include <QNetworkRequest>
#include <QTimer>
#include <QUrl>

#include <algorithm>
#include <limits>

namespace
{

constexpr int FIRST_FAILURE = 400;
constexpr int FIRST_SERVER_FAILURE = 500;

/// The error that Qt makes of an HTTP status.
QNetworkReply::NetworkError ErrorOf(int nStatus)
{
    switch (nStatus) {
    case 400:
        return QNetworkReply::ProtocolInvalidOperationError;
    case 401:
        return QNetworkReply::AuthenticationRequiredError;
    case 403:
        return QNetworkReply::ContentAccessDenied;
    case 404:
        return QNetworkReply::ContentNotFoundError;
    case 405:
        return QNetworkReply::ContentOperationNotPermittedError;
    case 407:
        return QNetworkReply::ProxyAuthenticationRequiredError;
    case 409:
        return QNetworkReply::ContentConflictError;
    case 410:
        return QNetworkReply::ContentGoneError;
    case 418:
        return QNetworkReply::ProtocolInvalidOperationError;
    case 500:
        return QNetworkReply::InternalServerError;
    case 501:
        return QNetworkReply::OperationNotImplementedError;
    case 503:
        return QNetworkReply::ServiceUnavailableError;
    default:
        return nStatus >= FIRST_SERVER_FAILURE ? QNetworkReply::UnknownServerError
                                               : QNetworkReply::UnknownContentError;
    }
}

int ForQtsTimer(std::chrono::milliseconds delay)
{
    constexpr std::chrono::milliseconds::rep LONGEST = std::numeric_limits<int>::max();
    return static_cast<int>(std::clamp<std::chrono::milliseconds::rep>(delay.count(), 0, LONGEST));
}

} // namespace

ScriptedReply::ScriptedReply(QNetworkAccessManager::Operation eOperation, const QNetworkRequest& request,
                             const ChosenReply& chosen, QObject* pParent)
    : QNetworkReply(pParent)
{
    setOperation(eOperation);
    setRequest(request);
    setUrl(request.url());
    open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    if (chosen.reply.TheKind() != KtsReply::Kind::Never) {
        QTimer::singleShot(ForQtsTimer(chosen.reply.Delay()), Qt::PreciseTimer, this,
                           [this, chosen] { Come(chosen); });
    }
}

void ScriptedReply::Come(const ChosenReply& chosen)
{
    if (isFinished()) { // it was aborted
        return;
    }
    if (chosen.reply.TheKind() == KtsReply::Kind::Body) {
        TakeBody(chosen.reply);
        return;
    }
    const FaultWords& words = WordsOf(chosen.reply.Fault());
    End(words.eError, QString::fromStdString(chosen.strWhy.empty() ? words.szWords : chosen.strWhy));
}

void ScriptedReply::TakeBody(const KtsReply& reply)
{
    const int nStatus = reply.Status();
    m_baBody = QByteArray::fromStdString(reply.TheBody());
    setAttribute(QNetworkRequest::HttpStatusCodeAttribute, nStatus);
    setHeader(QNetworkRequest::ContentLengthHeader, m_baBody.size());
    if (reply.RetryAfterOrZero().count() > 0) {
        setRawHeader("Retry-After", QByteArray::number(qlonglong{reply.RetryAfterOrZero().count()}));
    }
    Q_EMIT metaDataChanged();
    if (!m_baBody.isEmpty()) {
        Q_EMIT readyRead();
    }
    if (isFinished()) { // what received the body has aborted the exchange
        return;
    }
    if (nStatus >= FIRST_FAILURE) {
        End(ErrorOf(nStatus), QStringLiteral("Error transferring %1 - server replied: HTTP status %2")
                                  .arg(url().toString())
                                  .arg(nStatus));
    } else {
        setFinished(true);
        Q_EMIT finished();
    }
}

void ScriptedReply::End(NetworkError eError, const QString& strError)
{
    setError(eError, strError);
    setFinished(true);
    Q_EMIT errorOccurred(eError);
    Q_EMIT finished();
}

void ScriptedReply::abort()
{
    if (!isFinished()) {
        End(OperationCanceledError, QStringLiteral("Operation canceled"));
    }
}

qint64 ScriptedReply::bytesAvailable() const
{
    return m_baBody.size() + QNetworkReply::bytesAvailable();
}

qint64 ScriptedReply::readData(char* pData, qint64 nMost)
{
    const auto nRead = static_cast<int>(std::min<qint64>(nMost, m_baBody.size()));
    std::copy_n(m_baBody.constData(), nRead, pData);
    m_baBody.remove(0, nRead);
    return nRead == 0 && isFinished() ? -1 : nRead;
}
