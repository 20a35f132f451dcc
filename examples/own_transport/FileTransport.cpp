#include "FileTransport.h"

#include <ktshttpagent/clog.h>

#if defined(__unix__)
#include <csignal>
#endif
#include <chrono>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iterator>
#include <new>
#include <utility>

namespace
{

constexpr std::chrono::seconds DRAIN_TIME{3};
constexpr int NO_SUCH_FILE = 404; // as if it were an HTTP status

struct Reply {
    std::string strBody;
    int nError = 0;
};

/// While this exists, threads start with all signals blocked, so that the host's threads handle them.
class SignalsBlocked
{
public:
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;
#if defined(__unix__)
    SignalsBlocked()
    {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &m_before);
    }
    ~SignalsBlocked()
    {
        pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
    }

private:
    sigset_t m_before{};
#else
    SignalsBlocked() = default;
#endif
};

std::string FileOf(const Request& request, const char* szEnding)
{
    const char* const szFolder = std::getenv("OWN_TRANSPORT_FOLDER");
    return std::string(szFolder == nullptr ? "." : szFolder) + '/' + std::to_string(request.nType) + szEnding;
}

Reply Exchange(const Request& request)
{
    if (request.bRefused) {
        return {"", CHttpOutcome::NotRunning};
    }
    if (request.bPost) {
        std::ofstream sent(FileOf(request, ".sent"), std::ios::binary | std::ios::app);
        sent << request.strBody << '\n' << std::flush;
        if (!sent) {
            return {"", CHttpOutcome::SendFailed};
        }
    }
    std::ifstream answer(FileOf(request, ".json"), std::ios::binary);
    if (!answer) {
        return {"", NO_SUCH_FILE};
    }
    return {{std::istreambuf_iterator<char>(answer), std::istreambuf_iterator<char>()}, 0};
}

/// Calls the receiver, exactly once. Nothing that goes wrong may keep it from being called, and nothing that
/// it throws may end the thread.
void Answer(const Request& request, const CHttpClientResponse* pReceiver) noexcept
{
    const char* const szWhere = "FileTransport::Answer";
    Reply reply;
    try {
        reply = Exchange(request);
    } catch (const std::exception&) {
        reply.nError = CHttpOutcome::OutOfMemory;
    }
    try {
        if (reply.nError != 0) {
            Log_Write(2, szWhere, 1, "failed: request of type %d, outcome %d", request.nType, reply.nError);
        }
        if (pReceiver != nullptr && *pReceiver) {
            (*pReceiver)(reply.strBody, request.nType, request.pUserData, reply.nError);
        }
    } catch (const std::exception& error) {
        Log_Write(1, szWhere, 2, "the receiver of a reply threw: %s", error.what());
    } catch (...) {
        Log_Write(1, szWhere, 3, "the receiver of a reply threw something");
    }
}

} // namespace

FileTransport::FileTransport(std::shared_ptr<const CHttpClientResponse> pReceiver)
    : m_pReceiver(std::move(pReceiver))
{
}

void FileTransport::Start()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_bRunning = true;
}

void FileTransport::Stop()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_bRunning = false;
    m_changed.notify_all();
    if (m_idThread != std::this_thread::get_id()) {
        m_changed.wait_for(lock, DRAIN_TIME, [this] { return !m_bHasThread; });
    }
}

void FileTransport::SetReceiver(std::shared_ptr<const CHttpClientResponse> pReceiver)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_pReceiver.swap(pReceiver);
}

void FileTransport::Send(Request request)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    request.bRefused = !m_bRunning;
    StartThread(); // first, so that nothing has to be taken back if one of the two throws
    m_lstWaiting.push_back(std::move(request));
    m_changed.notify_all();
}

void FileTransport::StartThread()
{
    if (!m_bHasThread) {
        const SignalsBlocked signalsBlocked;
        std::thread thread(&FileTransport::Run, this);
        m_idThread = thread.get_id();
        m_bHasThread = true;
        thread.detach(); // Stop() waits for its end
    }
}

void FileTransport::Run()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    while (true) {
        m_changed.wait(lock, [this] { return !m_lstWaiting.empty() || !m_bRunning; });
        if (m_lstWaiting.empty()) {
            break; // stopped, and everything is answered
        }
        const Request request = std::move(m_lstWaiting.front());
        m_lstWaiting.pop_front();
        const std::shared_ptr<const CHttpClientResponse> pReceiver = m_pReceiver; // may be replaced meanwhile
        lock.unlock(); // never call foreign code with a lock held
        Answer(request, pReceiver.get());
        lock.lock();
    }
    m_bHasThread = false;
    m_idThread = {};
    m_changed.notify_all();
}

void FileTransport::LockForFork()
{
    m_mutex.lock();
}

void FileTransport::UnlockAfterFork()
{
    m_mutex.unlock();
}

FileTransport* FileTransport::MakeForChild() const
{
    return new FileTransport(m_pReceiver);
}
