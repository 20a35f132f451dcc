#pragma once

#include <set>
#include <string>

#include <windows.h>

/// A library as the loader has mapped it into memory.
class LoadedImage
{
public:
    /// @param strLibrary  its name without ".dll"
    /// @throws std::runtime_error if it can't be loaded
    explicit LoadedImage(const std::string& strLibrary);

    /// The names in its export table; C++ names of functions and objects are written as in the source.
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
