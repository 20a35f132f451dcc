#include "InFlight.h"

#include <QCoreApplication>
#include <QMutex>
#include <QNetworkAccessManager>
#include <QPointer>
#include <QThread>
#include <QVector>

#include <cstdlib>

namespace
{

/// Never destroyed: it serves to the very end.
struct SWatched {
    QMutex mutex;
    QVector<QPointer<QNetworkAccessManager>> vecManagers;
    QPointer<QCoreApplication> pApplication; ///< at whose end they are deleted
    bool bAtExit = false;                    ///< and at the end of the process
};

SWatched& Watched()
{
    static SWatched& watched = *new SWatched;
    return watched;
}

void EndAll()
{
    QVector<QPointer<QNetworkAccessManager>> vecManagers;
    {
        const QMutexLocker lock(&Watched().mutex);
        vecManagers.swap(Watched().vecManagers);
    }
    for (const QPointer<QNetworkAccessManager>& pManager : vecManagers) {
        if (pManager != nullptr && pManager->thread() == QThread::currentThread()) { // no other may delete it
            delete pManager.data();
        }
    }
}

} // namespace

void WatchInFlight(QNetworkAccessManager& manager)
{
    SWatched& watched = Watched();
    const QMutexLocker lock(&watched.mutex);
    watched.vecManagers.removeAll({}); // those that are gone
    watched.vecManagers.append(&manager);
    if (watched.pApplication != QCoreApplication::instance()) {
        watched.pApplication = QCoreApplication::instance();
        qAddPostRoutine(&EndAll);
    }
    // What is put up for the exit runs in the reverse order: this one after the request is made, hence before
    // the parts of Qt that it brought to life.
    if (!watched.bAtExit) {
        watched.bAtExit = std::atexit(&EndAll) == 0;
    }
}
