#pragma once

#include <QDeadlineTimer>
#include <QPointer>
#include <QTimer>

#include <cstddef>
#include <list>

class NAManager;

/// The requests whose blocking call returned before their reply came. Each has a thread and descriptors of
/// its own, so their number and time are limited: a request is cancelled at its deadline, and if there are
/// too many, the oldest is cancelled. That is silent: no signal is emitted, and no wait record (`SyncWait`)
/// changes.
///
/// Threads: use it only on the thread that made it. That thread notices a deadline in its event loop; without
/// an event loop, at its next blocking call.
class LeftBehind
{
public:
    /// The maximum number of such requests at a time.
    static constexpr std::size_t MOST = 100;

    LeftBehind();
    /// Does not cancel the requests: each goes on until its deadline.
    ~LeftBehind();
    LeftBehind(const LeftBehind&) = delete;
    LeftBehind& operator=(const LeftBehind&) = delete;

    /// @param manager  its request was sent and has no reply yet
    void Add(NAManager& manager, QDeadlineTimer deadline);

private:
    struct Request {
        QPointer<NAManager> pManager; ///< deletes itself after its reply, and at the end of the process
        QDeadlineTimer deadline;
    };

    void GiveUpExpired();

    std::list<Request> m_lstRequests; ///< the oldest first
    QTimer m_timer;                   ///< expires at the next deadline
};
