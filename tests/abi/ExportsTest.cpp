// Compares the exports of the shared libraries with the lists in this folder: an additional export would
// become a part of the interface by accident; without a listed export, hosts that use it would not start.

#include "ExportsOfSystem.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

namespace
{

/// The names in a list, in the form in which this system exports them.
std::set<std::string> ListedExports(const std::string& strName)
{
    std::ifstream file(std::string(KTS_EXPORT_LISTS) + "/" + strName + ".exports");
    std::set<std::string> setExports;
    for (std::string strLine; std::getline(file, strLine);) {
        const std::set<std::string> setHere = ExportsFor(strLine);
        setExports.insert(setHere.begin(), setHere.end());
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
    EXPECT_THAT(ExportsOf(GetParam()), ::testing::ContainerEq(setListed));
}

INSTANTIATE_TEST_SUITE_P(OfEachLibrary, Exports, ::testing::Values("ktshttpagent", "chttpclient", "libclog"),
                         [](const auto& library) { return library.param; });

} // namespace
