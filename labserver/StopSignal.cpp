#include "labserver/StopSignal.h"

#include <cerrno>
#include <poll.h>
#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>

StopSignal::StopSignal() : m_nDescriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    if (m_nDescriptor < 0)
        throw std::system_error(errno, std::generic_category(), "eventfd");
}

StopSignal::~StopSignal()
{
    close(m_nDescriptor);
}

// The write can't fail: the counter takes any number of raises that a process can live to make.
void StopSignal::Raise()
{
    eventfd_write(m_nDescriptor, 1);
}

bool StopSignal::WaitFor(std::chrono::milliseconds patience) const
{
    pollfd raised{m_nDescriptor, POLLIN, 0};
    return poll(&raised, 1, static_cast<int>(patience.count())) > 0;
}
