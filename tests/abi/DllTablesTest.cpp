// Compares the exports of the DLLs with the lists beside this file, and their imports with the libraries that
// a site may replace.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cxxabi.h>

#include <cstdlib>
#include <fstream>
#include <memory>
#include <set>
#include <string>

#include <windows.h>

namespace
{

using ::testing::ContainerEq;
using ::testing::IsSupersetOf;

/// A library as loaded into memory.
class LoadedImage
{
public:
    explicit LoadedImage(const std::string& strLibrary)
        : m_hModule(::LoadLibraryA((strLibrary + ".dll").c_str()))
    {
        if (m_hModule == nullptr) {
            throw std::runtime_error(strLibrary + ".dll can't be loaded");
        }
    }

    /// The names in its export table; those of C++ functions and objects are demangled.
    std::set<std::string> Exports() const
    {
        const auto& table = *At<IMAGE_EXPORT_DIRECTORY>(Directory(IMAGE_DIRECTORY_ENTRY_EXPORT));
        const auto* const pNames = At<DWORD>(table.AddressOfNames);
        std::set<std::string> setNames;
        for (DWORD nName = 0; nName < table.NumberOfNames; ++nName) {
            setNames.insert(Demangled(At<char>(pNames[nName])));
        }
        return setNames;
    }

    /// The libraries in its import table.
    std::set<std::string> Imports() const
    {
        std::set<std::string> setNames;
        for (const auto* pImport = At<IMAGE_IMPORT_DESCRIPTOR>(Directory(IMAGE_DIRECTORY_ENTRY_IMPORT));
             pImport->Name != 0; ++pImport) {
            setNames.insert(At<char>(pImport->Name));
        }
        return setNames;
    }

private:
    template <class Part>
    const Part* At(DWORD nOffset) const
    {
        return reinterpret_cast<const Part*>(reinterpret_cast<const char*>(m_hModule) + nOffset);
    }

    DWORD Directory(std::size_t nEntry) const
    {
        const auto& headers = *At<IMAGE_NT_HEADERS>(static_cast<DWORD>(At<IMAGE_DOS_HEADER>(0)->e_lfanew));
        return headers.OptionalHeader.DataDirectory[nEntry].VirtualAddress;
    }

    static std::string Demangled(const char* szName)
    {
        int nStatus = 0;
        const std::unique_ptr<char, decltype(&std::free)> pText(
            abi::__cxa_demangle(szName, nullptr, nullptr, &nStatus), &std::free);
        return nStatus == 0 ? pText.get() : szName;
    }

    const HMODULE m_hModule;
};

/// The names in the list, adapted to what Windows exports: all static members of an exported class are
/// exported too, including those of Qt's meta-objects, and type names are not exported, as each library has
/// its own.
std::set<std::string> ListedExports(const std::string& strName)
{
    std::ifstream file(std::string(KTS_EXPORT_LISTS) + "/" + strName + ".exports");
    std::set<std::string> setExports;
    for (std::string strLine; std::getline(file, strLine);) {
        const std::size_t nMetaObject = strLine.find("::staticMetaObject");
        if (nMetaObject != std::string::npos) {
            setExports.insert(strLine.substr(0, nMetaObject) +
                              "::qt_static_metacall(QObject*, QMetaObject::Call, int, void**)");
        }
        if (strLine.rfind("typeinfo name for ", 0) != 0) {
            setExports.insert(strLine);
        }
    }
    return setExports;
}

class Exports : public ::testing::TestWithParam<std::string>
{
};

TEST_P(Exports, AreThoseOfTheListAndNoOthers)
{
    const std::set<std::string> setListed = ListedExports(GetParam());
    ASSERT_FALSE(setListed.empty());
    EXPECT_THAT(LoadedImage(GetParam()).Exports(), ContainerEq(setListed));
}

INSTANTIATE_TEST_SUITE_P(OfEachLibrary, Exports, ::testing::Values("ktshttpagent", "chttpclient", "libclog"),
                         [](const auto& library) { return library.param; });

TEST(Imports, OfTheAgentNameTheLibrariesThatASiteMayReplace)
{
    EXPECT_THAT(LoadedImage("ktshttpagent").Imports(),
                IsSupersetOf({std::string("chttpclient.dll"), std::string("libclog.dll")}));
}

TEST(Imports, OfTheTransportNameTheLog)
{
    EXPECT_EQ(LoadedImage("chttpclient").Imports().count("libclog.dll"), 1U);
}

} // namespace
