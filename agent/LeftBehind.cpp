#include "LeftBehind.h"

#include "net/NAManager.h"

#include <algorithm>
#include <limits>
#include <new>

CLeftBehind::CLeftBehind()
{
    m_timer.setSingleShot(true);
    QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] {
        try {
            GiveUpExpired();
        } catch (const std::bad_alloc&) { // the next request that is left sets the timer again
        }
    });
}

void CLeftBehind::Add(NAManager& manager, QDeadlineTimer deadline)
{
    m_lstRequests.push_back({&manager, deadline});
    GiveUpExpired();
    if (m_lstRequests.size() > MOST) {
        delete m_lstRequests.front().pManager;
        m_lstRequests.pop_front();
    }
}

// At once rather than by deleteLater, which waits for an event loop that may never run. A manager that
// handles its reply is none of these any more.
void CLeftBehind::GiveUpExpired()
{
    QDeadlineTimer next(QDeadlineTimer::Forever);
    m_lstRequests.remove_if([&next](const SRequest& request) {
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
        constexpr qint64 LONGEST = std::numeric_limits<int>::max();
        m_timer.start(static_cast<int>(std::min(next.remainingTime() + 1, LONGEST)));
    }
}
