#include "ForkWatch.h"

#include "platform/system/AtFork.h"

#if !defined(_WIN32)
#include "Descriptor.h"
#endif

namespace outbox
{

namespace
{

std::mutex g_mutexOfWatches; ///< guards the list; taken before the locks of those in it
ForkWatch* g_pFirstWatch = nullptr;

} // namespace

struct ForkHandlers {
    static void Before()
    {
        g_mutexOfWatches.lock();
        for (ForkWatch* pWatch = g_pFirstWatch; pWatch != nullptr; pWatch = pWatch->m_pNext) {
            pWatch->m_mutex.lock();
        }
#if !defined(_WIN32)
        Descriptor::LockForFork(); // last, because files are opened with those locks held
#endif
    }

    static void InParent()
    {
#if !defined(_WIN32)
        Descriptor::UnlockAfterFork();
#endif
        Unlock(false);
    }

    static void InChild()
    {
#if !defined(_WIN32)
        Descriptor::CloseInChild();
#endif
        Unlock(true);
    }

    static void Unlock(bool bIsChild)
    {
        for (ForkWatch* pWatch = g_pFirstWatch; pWatch != nullptr; pWatch = pWatch->m_pNext) {
            pWatch->m_bIsChild = pWatch->m_bIsChild || bIsChild;
            pWatch->m_mutex.unlock();
        }
        g_mutexOfWatches.unlock();
    }
};

namespace
{

const bool g_bWatchesPrepared = ForkWatch::Register(); // as the library is loaded

} // namespace

bool ForkWatch::Register()
{
    static const bool bRegistered =
        AtFork(&ForkHandlers::Before, &ForkHandlers::InParent, &ForkHandlers::InChild);
    return bRegistered;
}

ForkWatch::ForkWatch(std::mutex& mutex, bool& bIsChild) : m_mutex(mutex), m_bIsChild(bIsChild)
{
    const std::lock_guard<std::mutex> lock(g_mutexOfWatches);
    static_cast<void>(g_bWatchesPrepared);
    m_pNext = g_pFirstWatch;
    if (m_pNext != nullptr) {
        m_pNext->m_pPrevious = this;
    }
    g_pFirstWatch = this;
}

ForkWatch::~ForkWatch()
{
    const std::lock_guard<std::mutex> lock(g_mutexOfWatches);
    (m_pPrevious != nullptr ? m_pPrevious->m_pNext : g_pFirstWatch) = m_pNext;
    if (m_pNext != nullptr) {
        m_pNext->m_pPrevious = m_pPrevious;
    }
}

} // namespace outbox
