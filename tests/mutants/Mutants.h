#pragma once

// Functions called by the faults that `./dev mutants` inserts into a copy of the sources. A process has at
// most one fault switched on: the one with the number in KTS_MUTANT. If KTS_MUTANTS_REACHED names a file, the
// process records in it which places were reached, one byte for each.

#include <cstdio>
#include <cstdlib>
#include <sys/mman.h>
#include <type_traits>

namespace mutants
{
namespace detail
{

inline unsigned Chosen() noexcept
{
    const char* const szNumber = std::getenv("KTS_MUTANT");
    return szNumber != nullptr ? static_cast<unsigned>(std::strtoul(szNumber, nullptr, 10)) : 0;
}

inline unsigned char* MapReached() noexcept
{
    const char* const szFile = std::getenv("KTS_MUTANTS_REACHED");
    if (szFile == nullptr) {
        return nullptr;
    }
    // Avoids open and fstat, which fail in tests that replace them.
    std::FILE* const pFile = std::fopen(szFile, "r+e");
    void* pBytes = MAP_FAILED;
    if (pFile != nullptr && std::fseek(pFile, 0, SEEK_END) == 0) {
        pBytes = ::mmap(nullptr, static_cast<std::size_t>(std::ftell(pFile)), PROT_READ | PROT_WRITE,
                        MAP_SHARED, ::fileno(pFile), 0);
    }
    if (pFile != nullptr) {
        std::fclose(pFile);
    }
    return pBytes != MAP_FAILED ? static_cast<unsigned char*>(pBytes) : nullptr;
}

inline bool IsOn(unsigned nMutant) noexcept
{
    static const unsigned nChosen = Chosen();
    static unsigned char* const pReached = MapReached();
    if (pReached != nullptr) {
        __atomic_store_n(pReached + nMutant, static_cast<unsigned char>(1), __ATOMIC_RELAXED);
    }
    return nMutant == nChosen;
}

} // namespace detail

/// During compilation no fault is on, so that array sizes, case labels and static_asserts are unchanged.
constexpr bool On(unsigned nMutant) noexcept
{
    return !__builtin_is_constant_evaluated() && detail::IsOn(nMutant);
}

constexpr bool Not(unsigned nMutant, bool bValue) noexcept
{
    return On(nMutant) ? !bValue : bValue;
}

/// Changes a value: a number is increased by one, a bool is negated, a time is doubled.
template <typename T>
constexpr T Changed(unsigned nMutant, T value) noexcept
{
    if constexpr (std::is_same_v<T, bool>) {
        return Not(nMutant, value);
    } else if constexpr (std::is_arithmetic_v<T>) {
        return On(nMutant) ? static_cast<T>(value + 1) : value;
    } else {
        return On(nMutant) ? value + value : value;
    }
}

/// Omits a lock: locks a mutex that no other thread uses.
template <typename Mutex>
Mutex& Lock(unsigned nMutant, Mutex& mutex) noexcept
{
    static thread_local Mutex own;
    return On(nMutant) ? own : mutex;
}

template <typename Mutex>
Mutex* Lock(unsigned nMutant, Mutex* pMutex) noexcept
{
    return &Lock(nMutant, *pMutex);
}

} // namespace mutants
