#pragma once

#include <ktshttpagent/chttpclient.h>

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

/// A request as it waits for its callback; it owns copies of all texts.
struct Request {
    int nType = 0;
    std::string strBody;
    void* pUserData = nullptr; ///< never dereferenced
    bool bPost = false;
    bool bRefused = false; ///< whether it came while the transport was stopped
};

/// A transport without a network. It answers each request with the content of the file TYPE.json, and appends
/// the body of each POST to the file TYPE.sent, in the folder that the environment variable
/// OWN_TRANSPORT_FOLDER names, by default the current one. TYPE is the request's type, such as 3104.
///
/// Threads: every function may be called from any thread, also from within the receiver.
class FileTransport
{
public:
    explicit FileTransport(std::shared_ptr<const CHttpClientResponse> pReceiver = nullptr);

    void Start();
    /// Returns when each request has had its callback. If it is called by the receiver itself, it does not
    /// wait; for a receiver that blocks it waits a few seconds only.
    void Stop();
    void SetReceiver(std::shared_ptr<const CHttpClientResponse> pReceiver);
    /// Accepts a request, or throws; only an accepted one gets a callback.
    void Send(Request request);

    /// @name Around a fork
    /// @{
    void LockForFork();
    void UnlockAfterFork();
    /// What the child of a fork continues with: a stopped transport, because a fork copies no threads.
    FileTransport* MakeForChild() const;
    /// @}

private:
    void StartThread();
    void Run();

    std::mutex m_mutex; ///< guards everything below
    std::condition_variable m_changed;
    std::deque<Request> m_lstWaiting;
    std::shared_ptr<const CHttpClientResponse> m_pReceiver;
    bool m_bRunning = false;
    bool m_bHasThread = false;
    std::thread::id m_idThread;
};
