// Compares the exports of the shared libraries with the lists beside this file: an additional export is a
// promise made by accident, a missing one is a host that no longer starts.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <fstream>
#include <memory>
#include <set>
#include <string>

namespace
{

/// The demangled names of the symbols that a library defines for others.
std::set<std::string> ExportsOf(const std::string& strLibrary)
{
    const std::string strCommand = "nm -DC --defined-only " + strLibrary;
    const std::unique_ptr<FILE, int (*)(FILE*)> pPipe(popen(strCommand.c_str(), "r"), &pclose);
    std::set<std::string> setExports;
    std::array<char, 4096> line{};
    while (pPipe != nullptr &&
           std::fgets(line.data(), static_cast<int>(line.size()), pPipe.get()) != nullptr) {
        std::string strLine = line.data();
        strLine.erase(strLine.find_last_not_of('\n') + 1);
        setExports.insert(strLine.substr(19)); // after the address and the type
    }
    return setExports;
}

std::set<std::string> ListedExports(const std::string& strName)
{
    std::ifstream file(std::string(KTS_EXPORT_LISTS) + "/" + strName + ".exports");
    std::set<std::string> setExports;
    for (std::string strLine; std::getline(file, strLine);) {
        setExports.insert(strLine);
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
    const std::string strFile = GetParam() == "libclog" ? GetParam() : "lib" + GetParam();
    EXPECT_THAT(ExportsOf(std::string(KTS_LIBRARIES_DIR) + "/" + strFile + ".so"),
                ::testing::ContainerEq(setListed));
}

INSTANTIATE_TEST_SUITE_P(OfEachLibrary, Exports, ::testing::Values("ktshttpagent", "chttpclient", "libclog"),
                         [](const auto& library) { return library.param; });

} // namespace
