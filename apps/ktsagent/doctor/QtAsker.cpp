#include "QtAsker.h"

#include "BlockingWay.h"
#include "Verbose.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QTimer>
#include <QUrl>

#include <algorithm>
#include <memory>

namespace
{

/// One request and what comes back.
struct AskedByQt {
    std::unique_ptr<QNetworkReply> pReply;
    HttpAnswer answer;
};

/// Whether a whole reply came. A status of 400 or more counts as an error with Qt, but is an answer; 400
/// itself counts as an invalid operation.
bool IsAnswer(const QNetworkReply& reply)
{
    const QNetworkReply::NetworkError eError = reply.error();
    return eError == QNetworkReply::NoError || eError >= QNetworkReply::InternalServerError ||
           (eError >= QNetworkReply::ContentAccessDenied && eError <= QNetworkReply::UnknownContentError) ||
           eError == QNetworkReply::ProtocolInvalidOperationError;
}

void Read(AskedByQt& asked)
{
    QNetworkReply& reply = *asked.pReply;
    HttpAnswer& answer = asked.answer;
    answer.nStatus = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    for (const QNetworkReply::RawHeaderPair& header : reply.rawHeaderPairs()) {
        answer.mapHeaders[header.first.toLower().toStdString()] = header.second.toStdString();
    }
    const std::string strRest = reply.readAll().toStdString();
    answer.strBody.append(strRest, 0, MOST_BODY_BYTES - answer.strBody.size());
    answer.bTimedOut = !reply.isFinished();
    if (!answer.bTimedOut && IsAnswer(reply)) {
        return;
    }
    answer.bNotHttp = reply.error() == QNetworkReply::ProtocolFailure;
    answer.strError = answer.bTimedOut ? "no whole reply in time" : reply.errorString().toStdString();
}

/// Shows a request to a user who wants to see it.
void Show(const QNetworkRequest& request, const AskedByQt* pAsked)
{
    if (IsVerbose()) {
        ShowPart(EKtsTrace::RequestHeader, "GET " + request.url().toEncoded().toStdString() + "\r\n\r\n",
                 pAsked);
    }
}

/// Shows what came back, which Qt reports without its bytes.
void Show(const AskedByQt& asked)
{
    if (!IsVerbose()) {
        return;
    }
    const HttpAnswer& answer = asked.answer;
    std::string strHead = answer.nStatus == 0 ? "" : "HTTP " + std::to_string(answer.nStatus) + "\r\n";
    for (const auto& [strName, strValue] : answer.mapHeaders) {
        strHead.append(strName).append(": ").append(strValue).append("\r\n");
    }
    ShowPart(EKtsTrace::ReplyHeader, strHead.empty() ? "" : strHead + "\r\n", &asked);
    ShowPart(EKtsTrace::ReplyBody, answer.strBody, &asked);
    ShowPart(EKtsTrace::End,
             (answer.strError.empty() ? "" : answer.strError + "; ") + "ms: whole " +
                 std::to_string(answer.nMilliseconds),
             &asked);
}

} // namespace

std::vector<HttpAnswer> QtAsker::Ask(const std::vector<std::string>& vecUrls,
                                     std::chrono::milliseconds timeout)
{
    QEventLoop loop;
    QElapsedTimer clock;
    clock.start();
    std::size_t nOpen = vecUrls.size();
    std::vector<AskedByQt> vecAsked(vecUrls.size());
    for (std::size_t i = 0; i < vecUrls.size(); ++i) {
        AskedByQt& asked = vecAsked[i];
        asked.answer.strUrl = vecUrls[i];
        QNetworkRequest request{QUrl(QString::fromStdString(vecUrls[i]))};
        ApplyBlockingWay(m_context, m_manager, request);
        Show(request, &asked);
        asked.pReply.reset(m_manager.get(request));
        QObject::connect(asked.pReply.get(), &QNetworkReply::finished, &loop, [&] {
            asked.answer.nMilliseconds = clock.elapsed();
            if (--nOpen == 0) {
                loop.quit();
            }
        });
    }
    QTimer::singleShot(timeout, &loop, &QEventLoop::quit);
    if (nOpen > 0) {
        loop.exec();
    }
    std::vector<HttpAnswer> vecAnswers;
    for (AskedByQt& asked : vecAsked) {
        asked.pReply->disconnect(&loop);
        if (!asked.pReply->isFinished()) {
            asked.answer.nMilliseconds = clock.elapsed();
        }
        Read(asked);
        Show(asked);
        vecAnswers.push_back(std::move(asked.answer));
    }
    return vecAnswers;
}
