#include "InFlight.h"

#include "platform/system/ProcessEnd.h"

#include <QCoreApplication>
#include <QNetworkAccessManager>
#include <QPointer>
#include <QVector>

#include <utility>

namespace
{

/// The managers of one thread that may have a request under way.
struct SWatched {
    QVector<QPointer<QNetworkAccessManager>> vecManagers;
    QPointer<QCoreApplication> pApplication; ///< at whose end they are deleted

    SWatched() = default;
    ~SWatched();
    SWatched(const SWatched&) = delete;
    SWatched& operator=(const SWatched&) = delete;

    void EndAll()
    {
        for (const QPointer<QNetworkAccessManager>& pManager : std::exchange(vecManagers, {})) {
            delete pManager.data();
        }
    }
};

// What belongs to a thread goes before anything static when that thread calls exit() or returns from main, so
// also before what Qt's own threads are using or just making.
thread_local SWatched t_watched;
thread_local bool t_bGone = false; ///< so that a static object that goes later finds out

SWatched::~SWatched()
{
    if (!ThreadsAreGone()) { // for which each would wait
        EndAll();
    }
    t_bGone = true;
}

void EndAllOfThread()
{
    if (!t_bGone) {
        t_watched.EndAll();
    }
}

} // namespace

void WatchInFlight(QNetworkAccessManager& manager)
{
    if (t_bGone) {
        return;
    }
    // Windows destroys what belongs to the last thread when the others are gone, so its end must come sooner.
    static const bool bAtEnd = AtProcessEnd(&EndAllOfThread);
    static_cast<void>(bAtEnd);
    t_watched.vecManagers.removeAll({}); // those that are gone
    t_watched.vecManagers.append(&manager);
    if (t_watched.pApplication != QCoreApplication::instance()) {
        t_watched.pApplication = QCoreApplication::instance();
        qAddPostRoutine(&EndAllOfThread);
    }
}
