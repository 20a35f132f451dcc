#include "LeftBehind.h"

#include "net/NAManager.h"

#include <algorithm>
#include <limits>
#include <new>

namespace
{

/// The time until a deadline has passed, in milliseconds, for Qt's timers.
int TimeTo(const QDeadlineTimer& deadline)
{
    constexpr qint64 LONGEST = std::numeric_limits<int>::max();
    return static_cast<int>(std::min(deadline.remainingTime() + 1, LONGEST));
}

} // namespace

LeftBehind::LeftBehind()
{
    m_timer.setSingleShot(true);
    QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] {
        try {
            GiveUpExpired();
        } catch (const std::bad_alloc&) { // the next `Add` starts the timer again
        }
    });
}

LeftBehind::~LeftBehind()
{
    for (const Request& request : m_lstRequests) {
        NAManager* const pManager = request.pManager;
        if (pManager == nullptr || pManager->HasEnded()) {
            continue;
        }
        try {
            QTimer::singleShot(TimeTo(request.deadline), pManager, [pManager] {
                if (!pManager->HasEnded()) {
                    pManager->deleteLater();
                }
            });
        } catch (const std::bad_alloc&) { // it ends with its reply, or at the end of the process
        }
    }
}

void LeftBehind::Add(NAManager& manager, QDeadlineTimer deadline)
{
    m_lstRequests.push_back({&manager, deadline});
    GiveUpExpired();
    if (m_lstRequests.size() > MOST) {
        delete m_lstRequests.front().pManager;
        m_lstRequests.pop_front();
    }
}

// Deletes managers at once, because deleteLater would need an event loop, which may never run. That is safe:
// a manager that is handling its reply has ended already, and is only removed from the list.
void LeftBehind::GiveUpExpired()
{
    QDeadlineTimer next(QDeadlineTimer::Forever);
    m_lstRequests.remove_if([&next](const Request& request) {
        if (request.pManager == nullptr || request.pManager->HasEnded()) {
            return true;
        }
        if (request.deadline.hasExpired()) {
            delete request.pManager;
            return true;
        }
        next = std::min(next, request.deadline);
        return false;
    });
    if (!next.isForever()) {
        m_timer.start(TimeTo(next));
    }
}
