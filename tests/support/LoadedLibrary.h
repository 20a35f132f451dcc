#pragma once

#include <gtest/gtest.h>

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

/// A shared library that the process loads, and unloads with this object.
class LoadedLibrary
{
public:
    explicit LoadedLibrary(const char* szFile) : m_handle(Load(szFile))
    {
        EXPECT_NE(m_handle, nullptr) << szFile;
    }
    ~LoadedLibrary() { EXPECT_TRUE(Unload(m_handle)); }
    LoadedLibrary(const LoadedLibrary&) = delete;
    LoadedLibrary& operator=(const LoadedLibrary&) = delete;

    /// Finds a function by its linker name.
    template <class Function>
    Function Find(const char* szName) const
    {
        void* const pFunction = Address(m_handle, szName);
        EXPECT_NE(pFunction, nullptr) << szName;
        return reinterpret_cast<Function>(pFunction);
    }

private:
#if defined(_WIN32)
    using Handle = HMODULE;
    static Handle Load(const char* szFile)
    {
        return ::LoadLibraryA(szFile);
    }
    static bool Unload(Handle handle)
    {
        return ::FreeLibrary(handle) != 0;
    }
    static void* Address(Handle handle, const char* szName)
    {
        return reinterpret_cast<void*>(::GetProcAddress(handle, szName));
    }
#else
    using Handle = void*;
    static Handle Load(const char* szFile)
    {
        return ::dlopen(szFile, RTLD_NOW | RTLD_LOCAL);
    }
    static bool Unload(Handle handle)
    {
        return ::dlclose(handle) == 0;
    }
    static void* Address(Handle handle, const char* szName)
    {
        return ::dlsym(handle, szName);
    }
#endif

    const Handle m_handle;
};
