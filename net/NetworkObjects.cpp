#include "NetworkUse.h"

#include "platform/system/NeverDestroyed.h"
#include "platform/system/ProcessEnd.h"
#include "platform/system/QuietThread.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QTimer>
#include <QUrl>

#include <atomic>
#include <chrono>
#include <future>
#include <mutex>
#include <system_error>
#include <thread>

namespace
{

// How long each of the failing requests may take. They fail at once, unless the machine is in trouble.
constexpr int PATIENCE_MS = 1'000;
// How long the caller waits for both requests. They can't be made while the caller holds the lock of the
// dynamic loader, as the constructor of a static object does while its library is being loaded.
constexpr std::chrono::seconds LONGEST_WAIT{3};

/// Sends requests to port 0, on which nothing can listen: Qt creates all of its objects, and nothing leaves
/// the machine.
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

/// The requests, made on a thread of their own, so that no event of the host is handled meanwhile.
struct Requests {
    std::promise<void> made;
    std::future<void> end = made.get_future();
    std::thread thread = StartQuietThread([this] {
        MakeFailingRequests();
        made.set_value();
    });
};

/// Makes the requests, or continues to wait for them.
/// @return false when they take too long; they go on then
bool MadeRequestsInTime()
{
    static const NeverDestroyed<Requests> made; // the thread may still run at the end of the process
    Requests& requests = *made;
    if (requests.end.wait_for(LONGEST_WAIT) != std::future_status::ready) {
        return false;
    }
    requests.thread.join();
    return true;
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
        const QNetworkAccessManager first; // some of what it creates belongs to the application's thread
        try {
            if (MadeRequestsInTime()) {
                AtProcessEnd(&EndNetworkUse);
                bPrepared = true;
            }
        } catch (const std::system_error&) {
            // No thread could be started; the next call tries again.
        }
    }
}
