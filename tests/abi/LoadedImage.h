#pragma once

#include <set>
#include <string>

#include <windows.h>

/// A library as the loader has laid it out in memory.
class LoadedImage
{
public:
    /// @param strLibrary  its name without ".dll"
    /// @throws std::runtime_error when it can't be loaded
    explicit LoadedImage(const std::string& strLibrary);

    /// The names in its export table, those of functions and objects in C++ as they stand in the source.
    std::set<std::string> Exports() const;

    /// The libraries in its import table.
    std::set<std::string> Imports() const;

private:
    template <class Part>
    const Part* At(DWORD nOffset) const
    {
        return reinterpret_cast<const Part*>(reinterpret_cast<const char*>(m_hModule) + nOffset);
    }

    DWORD Directory(std::size_t nEntry) const;

    const HMODULE m_hModule;
};
