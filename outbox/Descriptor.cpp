#include "Descriptor.h"

#include <cerrno>
#include <mutex>

#include <unistd.h>

namespace outbox
{

namespace
{

std::mutex g_mutex;
Descriptor* g_pFirst = nullptr;

} // namespace

Descriptor::Descriptor(const std::function<int()>& fnOpen)
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    do {
        m_nDescriptor = fnOpen();
    } while (m_nDescriptor < 0 && errno == EINTR);
    if (m_nDescriptor < 0) {
        m_error.assign(errno, std::generic_category());
        return;
    }
    m_pNext = g_pFirst;
    if (m_pNext != nullptr) {
        m_pNext->m_pPrevious = this;
    }
    g_pFirst = this;
}

Descriptor::~Descriptor()
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    if (m_nDescriptor < 0) {
        return;
    }
    ::close(m_nDescriptor);
    (m_pPrevious != nullptr ? m_pPrevious->m_pNext : g_pFirst) = m_pNext;
    if (m_pNext != nullptr) {
        m_pNext->m_pPrevious = m_pPrevious;
    }
}

void Descriptor::LockForFork()
{
    g_mutex.lock();
}

void Descriptor::UnlockAfterFork()
{
    g_mutex.unlock();
}

void Descriptor::CloseInChild()
{
    while (g_pFirst != nullptr) {
        Descriptor& descriptor = *g_pFirst;
        g_pFirst = descriptor.m_pNext;
        ::close(descriptor.m_nDescriptor);
        descriptor.m_nDescriptor = -1;
    }
    g_mutex.unlock();
}

} // namespace outbox
