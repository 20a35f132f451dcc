#include "NetworkUse.h"

#include "platform/system/ProcessEnd.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QTimer>
#include <QUrl>

#include <atomic>
#include <mutex>
#include <thread>

namespace
{

// How long the request may take that nobody answers. It fails at once, unless the machine is in trouble.
constexpr int PATIENCE_MS = 1'000;

/// A request to the port that nothing can listen on: Qt makes all of its objects, and nothing leaves the
/// machine.
void MakeFailingRequest()
{
    QNetworkAccessManager manager;
    manager.setProxy(QNetworkProxy::NoProxy);
    QEventLoop loop;
    const QNetworkReply* const pReply =
        manager.get(QNetworkRequest(QUrl(QStringLiteral("http://127.0.0.1:0/"))));
    QObject::connect(pReply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    QTimer::singleShot(PATIENCE_MS, &loop, &QEventLoop::quit);
    loop.exec();
}

} // namespace

void PrepareNetwork()
{
    static std::atomic<bool> bPrepared = false;
    static std::mutex& mutex = *new std::mutex;
    if (bPrepared || QCoreApplication::instance() == nullptr) {
        return;
    }
    const std::lock_guard<std::mutex> lock(mutex);
    if (!bPrepared) {
        std::thread(&MakeFailingRequest)
            .join(); // a thread of its own, whose loop handles no event of the host's
        AtProcessEnd(&EndNetworkUse);
        bPrepared = true;
    }
}
