#include "FailingAllocations.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace
{

thread_local int t_nUntilFailure = 0; ///< allocations until one fails; 0 for never
thread_local bool t_bFailsOn = false;
thread_local bool t_bFailed = false;

bool FailsNow() noexcept
{
    if (t_nUntilFailure == 0 || --t_nUntilFailure != 0) {
        return false;
    }
    t_bFailed = true;
    t_nUntilFailure = t_bFailsOn ? 1 : 0;
    return true;
}

} // namespace

void FailAllocation(int nNth, bool bFailsOn)
{
    t_bFailed = false;
    t_bFailsOn = bFailsOn;
    t_nUntilFailure = nNth;
}

void EndFailing() noexcept
{
    t_nUntilFailure = 0;
}

bool HasFailed() noexcept
{
    return t_bFailed;
}

#if defined(KTS_OWN_MALLOC)

// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): the C library names them so

extern "C" {

void* __libc_malloc(std::size_t nBytes);
void* __libc_calloc(std::size_t nCount, std::size_t nBytes);
void* __libc_realloc(void* pMemory, std::size_t nBytes);

__attribute__((visibility("default"))) void* malloc(std::size_t nBytes) noexcept
{
    return FailsNow() ? nullptr : __libc_malloc(nBytes);
}

__attribute__((visibility("default"))) void* calloc(std::size_t nCount, std::size_t nBytes) noexcept
{
    return FailsNow() ? nullptr : __libc_calloc(nCount, nBytes);
}

__attribute__((visibility("default"))) void* realloc(void* pMemory, std::size_t nBytes) noexcept
{
    return FailsNow() ? nullptr : __libc_realloc(pMemory, nBytes);
}

} // extern "C"

// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)

#else

#if !defined(_WIN32)

// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp): the linker's --wrap names them so

extern "C" {

void* __real_realloc(void* pMemory, std::size_t nBytes);
void* __wrap_realloc(void* pMemory, std::size_t nBytes);
void* __wrap_realloc(void* pMemory, std::size_t nBytes)
{
    return FailsNow() ? nullptr : __real_realloc(pMemory, nBytes);
}

} // extern "C"

// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)

#endif

void* operator new(std::size_t nSize)
{
    if (void* const pMemory = FailsNow() ? nullptr : std::malloc(nSize == 0 ? 1 : nSize)) {
        return pMemory;
    }
    throw std::bad_alloc();
}

void operator delete(void* pMemory) noexcept
{
    std::free(pMemory);
}

void operator delete(void* pMemory, std::size_t /*nSize*/) noexcept
{
    std::free(pMemory);
}

#endif
