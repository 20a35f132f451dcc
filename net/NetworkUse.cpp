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
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace
{

// How long the end of the process or the application waits for the other threads. A receiver that hangs must
// not keep the process from ending.
constexpr std::chrono::seconds STOP_GRACE{5};
// How long a stopped thread sleeps: longer than the end of the process takes, if none of its steps hangs.
constexpr std::chrono::seconds SLEEP_OF_THE_STOPPED{10};

/// What one thread is using.
struct Thread {
    QObject anchor; ///< lives in the thread, so that calls posted to it run there
    std::vector<QNetworkAccessManager*> vecManagers;
    std::vector<QEventLoop*> vecLoops;       ///< of blocking calls, the innermost last
    QPointer<QCoreApplication> pApplication; ///< the one whose end is watched
    const std::thread::id id = std::this_thread::get_id();
    const qint64 nProcess = QCoreApplication::applicationPid();

    // Guarded by the mutex of all threads.
    std::size_t nUses = 0; ///< managers and blocking calls
    bool bStopped = false; ///< it sleeps, or has slept
};

/// All threads that use the network.
struct AllThreads {
    std::mutex mutex; ///< guards all that follows
    std::condition_variable changed;
    std::vector<Thread*> vecThreads;
    bool bApplicationEnds = false;
    bool bProcessEnds = false;
    std::thread::id idEnding; ///< the thread that ends the process

    bool IsEnding() const { return bProcessEnds || bApplicationEnds; }
    bool EndsElsewhere() const { return bProcessEnds && idEnding != std::this_thread::get_id(); }
    bool OthersAreDone() const
    {
        return std::none_of(vecThreads.begin(), vecThreads.end(), &IsBusyElsewhere);
    }
    /// Only threads of this process count: of its parent's threads, the child of a fork has only one.
    static bool IsBusyElsewhere(const Thread* pThread)
    {
        return pThread->nUses != 0 && !pThread->bStopped && pThread->id != std::this_thread::get_id() &&
               pThread->nProcess == QCoreApplication::applicationPid();
    }
};

AllThreads& Threads()
{
    static const NeverDestroyed<AllThreads> threads; // the end of the process needs it
    return *threads;
}

void Count(Thread& thread, int nChange)
{
    const std::lock_guard<std::mutex> lock(Threads().mutex);
    thread.nUses += static_cast<std::size_t>(nChange);
    Threads().changed.notify_all();
}

/// Deletes the thread's managers. Counts as a use itself: a manager signals its destruction before it has
/// waited for its internal Qt thread, and that thread uses objects that are destroyed as the process ends.
void EndAll(Thread& thread)
{
    Count(thread, 1);
    while (!thread.vecManagers.empty()) {
        delete thread.vecManagers.back(); // which removes it from the list
    }
    Count(thread, -1);
}

/// If the process is ending on another thread, makes this one sleep, once.
void SleepIfStopped(Thread& thread)
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

/// Ends the thread's use of the network; called on that thread, from its event loop.
void Stop(Thread& thread)
{
    SleepIfStopped(thread);
    EndAll(thread);
    for (QEventLoop* const pLoop : thread.vecLoops) {
        pLoop->quit();
    }
}

void StopOthers(std::unique_lock<std::mutex>& lock)
{
    for (Thread* const pThread : Threads().vecThreads) {
        if (AllThreads::IsBusyElsewhere(pThread)) {
            QMetaObject::invokeMethod(
                &pThread->anchor, [pThread] { Stop(*pThread); }, Qt::QueuedConnection);
        }
    }
    Threads().changed.wait_for(lock, STOP_GRACE, [] { return Threads().OthersAreDone(); });
}

thread_local Thread* t_pThread = nullptr; ///< of this thread, while its owner exists
thread_local bool t_bGone = false;        ///< lets static objects that are destroyed later know

/// Owns what a thread uses. Thread-local objects of a thread that calls exit() or returns from main are
/// destroyed before any static object, and so before the objects that Qt's own threads use or create. It has
/// no members: MinGW frees the memory of a thread's thread-local objects before it destroys them.
struct Owner {
    Owner()
    {
        const std::lock_guard<std::mutex> lock(Threads().mutex);
        t_pThread = Threads().vecThreads.emplace_back(new Thread);
    }
    ~Owner()
    {
        t_bGone = true;
        // A manager waits for a thread of its own, and a thread that is no more may hold a lock of Qt's.
        UnlessThreadsAreGone(&Leave);
    }
    Owner(const Owner&) = delete;
    Owner& operator=(const Owner&) = delete;

    static void Leave()
    {
        // In the child of a fork, older ones may be threads of its parent that had the same id.
        auto& vecThreads = Threads().vecThreads;
        const auto isThis = [](const Thread* pThread) { return pThread->id == std::this_thread::get_id(); };
        std::unique_lock<std::mutex> lock(Threads().mutex);
        const std::unique_ptr<Thread> pThread(*std::find_if(vecThreads.rbegin(), vecThreads.rend(), isThis));
        lock.unlock();
        EndAll(*pThread);
        lock.lock();
        vecThreads.erase(std::remove(vecThreads.begin(), vecThreads.end(), pThread.get()), vecThreads.end());
        Threads().changed.notify_all();
        lock.unlock();
    }
};

/// @return null once the thread's owner object is destroyed
Thread* ThisThread()
{
    if (t_bGone) {
        return nullptr;
    }
    thread_local const Owner owner;
    return t_pThread;
}

void EndOfApplication()
{
    if (Thread* const pThread = ThisThread()) {
        EndAll(*pThread);
    }
    std::unique_lock<std::mutex> lock(Threads().mutex);
    if (!std::exchange(Threads().bApplicationEnds, true)) { // each thread registers this function
        StopOthers(lock);
    }
}

void WatchApplication(Thread& thread)
{
    QCoreApplication* const pApplication = QCoreApplication::instance();
    if (pApplication == nullptr || thread.pApplication == pApplication) {
        return;
    }
    thread.pApplication = pApplication;
    qAddPostRoutine(&EndOfApplication);
    QObject::connect(pApplication, &QObject::destroyed, [] {
        const std::lock_guard<std::mutex> lock(Threads().mutex);
        Threads().bApplicationEnds = false; // another one may follow
    });
}

} // namespace

void WatchInFlight(QNetworkAccessManager& manager)
{
    Thread* const pThread = ThisThread();
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
    // Direct, since `EndAll` relies on the call even when Qt considers the thread finished.
    QObject::connect(&manager, &QObject::destroyed, &pThread->anchor, fnForget, Qt::DirectConnection);
}

NetworkCall::NetworkCall()
{
    Thread* const pThread = ThisThread();
    std::unique_lock<std::mutex> lock(Threads().mutex);
    m_bRefused = pThread == nullptr || Threads().IsEnding();
    if (m_bRefused) {
        return;
    }
    lock.unlock();
    WatchApplication(*pThread); // before it relies on the application, which may end at any time
    lock.lock();
    m_bRefused = Threads().IsEnding();
    if (!m_bRefused) {
        ++pThread->nUses;
    }
}

NetworkCall::~NetworkCall()
{
    Thread* const pThread = ThisThread();
    if (pThread == nullptr) {
        return;
    }
    if (m_bRefused) {
        EndAll(*pThread); // the end waits for them, and this thread might handle no more events
    } else {
        Count(*pThread, -1);
    }
    SleepIfStopped(*pThread);
}

void NetworkCall::Run(QEventLoop& loop)
{
    Thread* const pThread = ThisThread();
    if (pThread == nullptr) {
        return;
    }
    pThread->vecLoops.push_back(&loop);
    // While a posted event is being handled, Qt's GLib dispatcher handles the other events posted earlier
    // only when it is woken up. One of them may be the event that sends the report of an outer call.
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
    if (Thread* const pThread = ThisThread()) {
        SleepIfStopped(*pThread);
    }
}

void EndNetworkUse()
{
    if (Thread* const pThread = ThisThread()) {
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
