// The functions that tell the time, in place of the C library's: every library of the process calls these.

#include "ShiftedClock.h"

#include <ctime>

#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

extern "C" {

__attribute__((visibility("default"))) int clock_gettime(clockid_t nClock, struct timespec* pTime) noexcept
{
    const auto nResult = static_cast<int>(::syscall(SYS_clock_gettime, nClock, pTime));
    if (nResult == 0 && (nClock == CLOCK_REALTIME || nClock == CLOCK_REALTIME_COARSE)) {
        pTime->tv_sec += g_nClockShift;
    }
    return nResult;
}

__attribute__((visibility("default"))) int gettimeofday(struct timeval* pTime, void* pZone) noexcept
{
    const auto nResult = static_cast<int>(::syscall(SYS_gettimeofday, pTime, pZone));
    if (nResult == 0) {
        pTime->tv_sec += g_nClockShift;
    }
    return nResult;
}

__attribute__((visibility("default"))) time_t time(time_t* pTime) noexcept
{
    struct timespec now {
    };
    clock_gettime(CLOCK_REALTIME, &now);
    if (pTime != nullptr) {
        *pTime = now.tv_sec;
    }
    return now.tv_sec;
}

} // extern "C"
