#pragma once

#include <QDeadlineTimer>
#include <QPointer>
#include <QTimer>

#include <cstddef>
#include <list>

class NAManager;

/// The requests of blocking calls that are over without their reply. Each has a thread and descriptors of its
/// own, so they are given up: at their deadline, and the one that was left first where there are too many.
/// Giving up is silent: nobody hears of it, and what a reply would change stays as it is.
///
/// Everything happens on the thread that made it. Its event loop has to run for a deadline to be noticed; a
/// thread without one notices at its next blocking call.
class LeftBehind
{
public:
    /// The most that there are at once.
    static constexpr std::size_t MOST = 100;

    LeftBehind();
    /// Leaves each of them to itself: it goes on to its deadline.
    ~LeftBehind();
    LeftBehind(const LeftBehind&) = delete;
    LeftBehind& operator=(const LeftBehind&) = delete;

    /// @param manager  its request is sent and not answered yet
    void Add(NAManager& manager, QDeadlineTimer deadline);

private:
    struct Request {
        QPointer<NAManager> pManager; ///< goes by itself after its reply, and at the end of the process
        QDeadlineTimer deadline;
    };

    void GiveUpExpired();

    std::list<Request> m_lstRequests; ///< in the order in which they were left
    QTimer m_timer;                   ///< to the next deadline
};
