#include "NetworkUse.h"

#include "platform/system/NeverDestroyed.h"
#include "platform/system/ProcessEnd.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QPointer>

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace
{

// How long an end waits for the other threads. A receiver that hangs must not keep the process from ending.
constexpr std::chrono::seconds STOP_GRACE{5};
// How long a stopped thread sleeps: longer than an end takes, unless several parts of it wait as long as they
// may.
constexpr std::chrono::seconds SLEEP_OF_THE_STOPPED{10};

/// What one thread is using.
struct SThread {
    QObject anchor; ///< lives in the thread, and so what is posted to it runs there
    std::vector<QNetworkAccessManager*> vecManagers;
    std::vector<QEventLoop*> vecLoops;       ///< of blocking calls, the innermost last
    QPointer<QCoreApplication> pApplication; ///< the one whose end is watched
    const std::thread::id id = std::this_thread::get_id();
    const qint64 nProcess = QCoreApplication::applicationPid();

    // Guarded by the mutex of all threads.
    std::size_t nUses = 0; ///< managers and blocking calls
    bool bStopped = false; ///< it sleeps, or has slept
};

/// All threads.
struct SThreads {
    std::mutex mutex; ///< guards all that follows
    std::condition_variable changed;
    std::vector<SThread*> vecThreads;
    bool bApplicationEnds = false;
    bool bProcessEnds = false;
    std::thread::id idEnding; ///< the thread that ends the process

    bool IsEnding() const { return bProcessEnds || bApplicationEnds; }
    bool EndsElsewhere() const { return bProcessEnds && idEnding != std::this_thread::get_id(); }
    bool OthersAreDone() const
    {
        return std::none_of(vecThreads.begin(), vecThreads.end(), &IsBusyElsewhere);
    }
    /// The child of a fork has none of the threads but one.
    static bool IsBusyElsewhere(const SThread* pThread)
    {
        return pThread->nUses != 0 && !pThread->bStopped && pThread->id != std::this_thread::get_id() &&
               pThread->nProcess == QCoreApplication::applicationPid();
    }
};

SThreads& Threads()
{
    static const NeverDestroyed<SThreads> threads; // the end of the process needs it
    return *threads;
}

void Count(SThread& thread, int nChange)
{
    const std::lock_guard<std::mutex> lock(Threads().mutex);
    thread.nUses += static_cast<std::size_t>(nChange);
    Threads().changed.notify_all();
}

/// Counts as a use itself: a manager says that it goes before it has waited for its thread of Qt's, which
/// uses what goes with the process.
void EndAll(SThread& thread)
{
    Count(thread, 1);
    while (!thread.vecManagers.empty()) {
        delete thread.vecManagers.back(); // which removes it from the list
    }
    Count(thread, -1);
}

/// Where the process ends on another thread: lets this one sleep, once.
void SleepIfStopped(SThread& thread)
{
    {
        const std::lock_guard<std::mutex> lock(Threads().mutex);
        if (!Threads().EndsElsewhere() || thread.bStopped) {
            return;
        }
    }
    EndAll(thread);
    {
        const std::lock_guard<std::mutex> lock(Threads().mutex);
        thread.bStopped = true;
        Threads().changed.notify_all();
    }
    std::this_thread::sleep_for(SLEEP_OF_THE_STOPPED);
}

/// Ends what the thread is using, called on it from its event loop.
void Stop(SThread& thread)
{
    SleepIfStopped(thread);
    EndAll(thread);
    for (QEventLoop* const pLoop : thread.vecLoops) {
        pLoop->quit();
    }
}

void StopOthers(std::unique_lock<std::mutex>& lock)
{
    for (SThread* const pThread : Threads().vecThreads) {
        if (SThreads::IsBusyElsewhere(pThread)) {
            QMetaObject::invokeMethod(
                &pThread->anchor, [pThread] { Stop(*pThread); }, Qt::QueuedConnection);
        }
    }
    Threads().changed.wait_for(lock, STOP_GRACE, [] { return Threads().OthersAreDone(); });
}

thread_local bool t_bGone = false; ///< so that a static object that goes later finds out

/// What belongs to a thread goes before anything static when that thread calls exit() or returns from main,
/// so also before what Qt's own threads are using or just making.
struct SOwner {
    SThread* const pThread = new SThread;

    SOwner()
    {
        const std::lock_guard<std::mutex> lock(Threads().mutex);
        Threads().vecThreads.push_back(pThread);
    }
    ~SOwner()
    {
        t_bGone = true;
        // A manager waits for a thread of its own, and a thread that is no more may hold a lock of Qt's.
        UnlessThreadsAreGone([this] { Leave(); });
    }
    SOwner(const SOwner&) = delete;
    SOwner& operator=(const SOwner&) = delete;

    void Leave() const
    {
        EndAll(*pThread);
        {
            const std::lock_guard<std::mutex> lock(Threads().mutex);
            auto& vecThreads = Threads().vecThreads;
            vecThreads.erase(std::remove(vecThreads.begin(), vecThreads.end(), pThread), vecThreads.end());
            Threads().changed.notify_all();
        }
        delete pThread;
    }
};

/// @return null once the thread is past its end
SThread* ThisThread()
{
    if (t_bGone) {
        return nullptr;
    }
    thread_local const SOwner owner;
    // The analyzer takes it for an object that ends with this function; it ends with the thread.
    return owner.pThread; // NOLINT(clang-analyzer-cplusplus.NewDelete)
}

void EndOfApplication()
{
    if (SThread* const pThread = ThisThread()) {
        EndAll(*pThread);
    }
    std::unique_lock<std::mutex> lock(Threads().mutex);
    if (!std::exchange(Threads().bApplicationEnds, true)) { // each thread registers this function
        StopOthers(lock);
    }
}

void WatchApplication(SThread& thread)
{
    QCoreApplication* const pApplication = QCoreApplication::instance();
    if (pApplication == nullptr || thread.pApplication == pApplication) {
        return;
    }
    thread.pApplication = pApplication;
    qAddPostRoutine(&EndOfApplication);
    QObject::connect(pApplication, &QObject::destroyed, [] {
        const std::lock_guard<std::mutex> lock(Threads().mutex);
        Threads().bApplicationEnds = false; // there may be another one
    });
}

} // namespace

void WatchInFlight(QNetworkAccessManager& manager)
{
    SThread* const pThread = ThisThread();
    if (pThread == nullptr) {
        return;
    }
    WatchApplication(*pThread);
    auto& vecManagers = pThread->vecManagers;
    if (std::find(vecManagers.begin(), vecManagers.end(), &manager) != vecManagers.end()) {
        return;
    }
    vecManagers.push_back(&manager);
    Count(*pThread, 1);
    const auto fnForget = [pThread](const QObject* pGone) {
        auto& vecLeft = pThread->vecManagers;
        vecLeft.erase(std::remove(vecLeft.begin(), vecLeft.end(), pGone), vecLeft.end());
        Count(*pThread, -1);
    };
    // Direct, since `EndAll` relies on it also where the thread is past its end for Qt.
    QObject::connect(&manager, &QObject::destroyed, &pThread->anchor, fnForget, Qt::DirectConnection);
}

CBlockingCall::CBlockingCall()
{
    SThread* const pThread = ThisThread();
    std::unique_lock<std::mutex> lock(Threads().mutex);
    m_bRefused = pThread == nullptr || Threads().IsEnding();
    if (m_bRefused) {
        return;
    }
    lock.unlock();
    WatchApplication(*pThread); // before it counts on the application, which may end at any time
    lock.lock();
    m_bRefused = Threads().IsEnding();
    if (!m_bRefused) {
        ++pThread->nUses;
    }
}

CBlockingCall::~CBlockingCall()
{
    SThread* const pThread = ThisThread();
    if (pThread == nullptr) {
        return;
    }
    if (m_bRefused) {
        EndAll(*pThread); // the end waits for it, and no event may be handled here before the next call
    } else {
        Count(*pThread, -1);
    }
    SleepIfStopped(*pThread);
}

void CBlockingCall::Run(QEventLoop& loop)
{
    SThread* const pThread = ThisThread();
    if (pThread == nullptr) {
        return;
    }
    pThread->vecLoops.push_back(&loop);
    // Within a handler of a posted event, Qt's GLib dispatcher takes up the other events posted before it
    // only when it is woken up. Among them may be the one that sends the report of an outer call.
    if (QAbstractEventDispatcher* const pDispatcher = QAbstractEventDispatcher::instance()) {
        pDispatcher->wakeUp();
    }
    loop.exec();
    pThread->vecLoops.pop_back();
}

void HoldBack(std::chrono::milliseconds pause)
{
    {
        std::unique_lock<std::mutex> lock(Threads().mutex);
        Threads().changed.wait_for(lock, pause, [] { return Threads().bProcessEnds; });
    }
    if (SThread* const pThread = ThisThread()) {
        SleepIfStopped(*pThread);
    }
}

void EndNetworkUse()
{
    if (SThread* const pThread = ThisThread()) {
        EndAll(*pThread);
    }
    std::unique_lock<std::mutex> lock(Threads().mutex);
    if (!std::exchange(Threads().bProcessEnds, true)) {
        Threads().idEnding = std::this_thread::get_id();
        Threads().changed.notify_all();
        StopOthers(lock);
    }
}

bool HasNetworkUseEnded()
{
    const std::lock_guard<std::mutex> lock(Threads().mutex);
    return Threads().bProcessEnds;
}
