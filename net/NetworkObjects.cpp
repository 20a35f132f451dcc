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

// How long each request may take that nobody answers. They fail at once, unless the machine is in trouble.
constexpr int PATIENCE_MS = 1'000;

/// Requests to the port that nothing can listen on: Qt makes all of its objects, and nothing leaves the
/// machine.
void MakeFailingRequests()
{
    QNetworkAccessManager manager;
    manager.setProxy(QNetworkProxy::NoProxy);
    QEventLoop loop;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &loop, &QEventLoop::quit);
    timer.start(PATIENCE_MS);
    for (const char* const szUrl : {"http://127.0.0.1:0/", "https://127.0.0.1:0/"}) {
        const QNetworkReply* const pReply = manager.get(QNetworkRequest(QUrl(szUrl)));
        QObject::connect(pReply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
        loop.exec();
    }
}

} // namespace

void PrepareNetwork()
{
    static std::atomic<bool> bPrepared = false;
    static std::mutex mutex;
    if (bPrepared || QCoreApplication::instance() == nullptr) {
        return;
    }
    const std::lock_guard<std::mutex> lock(mutex);
    if (!bPrepared) {
        const QNetworkAccessManager first; // some of what it makes belongs to the thread of the application
        // The thread is one of its own, so its loop handles no event of the host's.
        std::thread(&MakeFailingRequests).join();
        AtProcessEnd(&EndNetworkUse);
        bPrepared = true;
    }
}
