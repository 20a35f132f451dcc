// What a host would write if it used only Qt.

#include "Clock.h"
#include "Measured.h"

#include <QEventLoop>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QUrl>

#include <algorithm>
#include <stdexcept>

namespace
{

QNetworkRequest Request(int nPort, const QString& strTarget)
{
    return QNetworkRequest(QUrl(QStringLiteral("http://127.0.0.1:%1/%2").arg(nPort).arg(strTarget)));
}

void ThrowUnlessSuccess(QNetworkReply& reply)
{
    const QJsonObject object = QJsonDocument::fromJson(reply.readAll()).object();
    if (reply.error() != QNetworkReply::NoError || !object.value(QStringLiteral("success")).toBool()) {
        throw std::runtime_error("a request of Qt's failed");
    }
}

} // namespace

// Qt opens six connections to a host; that can't be changed.
double RateOfQt(const Load& load)
{
    const Stopwatch watch;
    QNetworkAccessManager manager;
    QEventLoop loop;
    std::size_t nSent = 0;
    std::size_t nAnswered = 0;
    const auto send = [&] {
        ++nSent;
        manager.get(Request(load.nPort, QStringLiteral("vomd/system/GetSupportVer.action?t=1.1.0")));
    };
    QObject::connect(&manager, &QNetworkAccessManager::finished, &loop, [&](QNetworkReply* pReply) {
        ThrowUnlessSuccess(*pReply);
        pReply->deleteLater();
        if (++nAnswered == load.nCount) {
            loop.quit();
        } else if (nSent < load.nCount) {
            send();
        }
    });
    while (nSent < std::min(MAX_OUTSTANDING, load.nCount)) {
        send();
    }
    loop.exec();
    return static_cast<double>(load.nCount) / watch.Seconds();
}

Latencies LatencyOfOneShotQt(const Load& load)
{
    Laps laps;
    for (std::size_t nSent = 0; nSent < load.nCount; ++nSent) {
        laps.Next();
        QEventLoop loop;
        auto* const pManager = new QNetworkAccessManager;
        QObject::connect(pManager, &QNetworkAccessManager::finished, &loop, [&](QNetworkReply* pReply) {
            ThrowUnlessSuccess(*pReply);
            pReply->deleteLater();
            pManager->deleteLater();
            loop.quit();
        });
        pManager->get(Request(
            load.nPort,
            QStringLiteral("vomd/system/channelCheckData.action"
                           "?chl=1-1&deviceId=device&dxtm=dxtm&purpose=purpose&wtNumId=1&xmNameId=2")));
        loop.exec();
    }
    return laps.Microseconds();
}
