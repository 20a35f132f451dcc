#include "LoadedImage.h"

#include <cxxabi.h>

#include <cstdlib>
#include <memory>
#include <stdexcept>

namespace
{

std::string Demangled(const char* szName)
{
    int nStatus = 0;
    const std::unique_ptr<char, decltype(&std::free)> pText(
        abi::__cxa_demangle(szName, nullptr, nullptr, &nStatus), &std::free);
    return nStatus == 0 ? pText.get() : szName;
}

} // namespace

LoadedImage::LoadedImage(const std::string& strLibrary)
    : m_hModule(::LoadLibraryA((strLibrary + ".dll").c_str()))
{
    if (m_hModule == nullptr) {
        throw std::runtime_error(strLibrary + ".dll can't be loaded");
    }
}

std::set<std::string> LoadedImage::Exports() const
{
    const auto& table = *At<IMAGE_EXPORT_DIRECTORY>(Directory(IMAGE_DIRECTORY_ENTRY_EXPORT));
    const auto* const pNames = At<DWORD>(table.AddressOfNames);
    std::set<std::string> setNames;
    for (DWORD nName = 0; nName < table.NumberOfNames; ++nName) {
        setNames.insert(Demangled(At<char>(pNames[nName])));
    }
    return setNames;
}

std::set<std::string> LoadedImage::Imports() const
{
    std::set<std::string> setNames;
    for (const auto* pImport = At<IMAGE_IMPORT_DESCRIPTOR>(Directory(IMAGE_DIRECTORY_ENTRY_IMPORT));
         pImport->Name != 0; ++pImport) {
        setNames.insert(At<char>(pImport->Name));
    }
    return setNames;
}

DWORD LoadedImage::Directory(std::size_t nEntry) const
{
    const auto& headers = *At<IMAGE_NT_HEADERS>(static_cast<DWORD>(At<IMAGE_DOS_HEADER>(0)->e_lfanew));
    return headers.OptionalHeader.DataDirectory[nEntry].VirtualAddress;
}
