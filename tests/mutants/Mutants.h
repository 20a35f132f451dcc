#pragma once

// What the faults call that `./dev mutants` writes into a copy of the sources. One process has at most one
// fault switched on: the one whose number stands in KTS_MUTANT. With KTS_MUTANTS_REACHED, the name of a file,
// a process leaves in it which places it came to, one byte for each.

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
    const char* const pszNumber = std::getenv("KTS_MUTANT");
    return pszNumber != nullptr ? static_cast<unsigned>(std::strtoul(pszNumber, nullptr, 10)) : 0;
}

inline unsigned char* MapReached() noexcept
{
    const char* const pszFile = std::getenv("KTS_MUTANTS_REACHED");
    if (pszFile == nullptr) {
        return nullptr;
    }
    // Not by open and fstat, which fail in tests that have their own.
    std::FILE* const pFile = std::fopen(pszFile, "r+e");
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

/// What the compiler computes is as it was, so that array sizes, case labels and static_asserts stay.
constexpr bool On(unsigned nMutant) noexcept
{
    return !__builtin_is_constant_evaluated() && detail::IsOn(nMutant);
}

constexpr bool Not(unsigned nMutant, bool bValue) noexcept
{
    return On(nMutant) ? !bValue : bValue;
}

/// A number becomes its successor, a truth its contrary, a time twice as long.
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

/// A lock that is left out: what is locked is a mutex that no other thread knows.
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
