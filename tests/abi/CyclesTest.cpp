// The files of production code do not include each other in cycles. A .cpp file and the header next to it
// count as one file, so two such pairs must not depend on each other either.

#include "SourceTree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// What each file includes, by path.
using Includes = std::map<std::string, std::vector<std::string>>;
/// Which files each file depends on.
using Graph = std::map<std::string, std::set<std::string>>;

/// A path up to and including its last "/".
std::string FolderOf(const std::string& strFile)
{
    return strFile.substr(0, strFile.rfind('/') + 1);
}

/// Resolves an included name: to the file next to the including file, or else to the file with this path from
/// the root, or else to every file whose path ends with it. Empty for headers that are not part of this tree.
std::vector<std::string> FilesOf(const std::string& strInclude, const std::string& strFrom,
                                 const Includes& mapAll)
{
    for (const std::string& strFile : {FolderOf(strFrom) + strInclude, strInclude}) {
        if (mapAll.count(strFile) != 0) {
            return {strFile};
        }
    }
    std::vector<std::string> vecFiles;
    for (const auto& [strFile, vecIncludes] : mapAll) {
        if (EndsWith(strFile, "/" + strInclude)) {
            vecFiles.push_back(strFile);
        }
    }
    return vecFiles;
}

Graph GraphOf(const Includes& mapIncludes)
{
    Graph graph;
    for (const auto& [strFile, vecIncludes] : mapIncludes) {
        for (const std::string& strInclude : vecIncludes) {
            for (const std::string& strTarget : FilesOf(strInclude, strFile, mapIncludes)) {
                graph[strFile].insert(strTarget);
            }
        }
    }
    return graph;
}

/// The pair that a file belongs to: its path without the extension. A source X_Part.cpp belongs to X.h like
/// X.cpp. A file without such a header is its own pair.
std::string PairOf(const std::string& strFile, const Includes& mapAll)
{
    const std::string strBase = strFile.substr(0, strFile.rfind('.'));
    for (const std::string& strPair :
         {strBase, strBase.substr(0, strBase.find('_', strBase.rfind('/') + 1))}) {
        if (mapAll.count(strPair + ".h") != 0) {
            return strPair;
        }
    }
    return strFile;
}

Graph GraphOfPairs(const Includes& mapIncludes)
{
    Graph pairs;
    for (const auto& [strFrom, setTargets] : GraphOf(mapIncludes)) {
        const std::string strPair = PairOf(strFrom, mapIncludes);
        for (const std::string& strTarget : setTargets) {
            if (PairOf(strTarget, mapIncludes) != strPair) {
                pairs[strPair].insert(PairOf(strTarget, mapIncludes));
            }
        }
    }
    return pairs;
}

void AddReached(const Graph& graph, const std::string& strFrom, std::set<std::string>& setReached)
{
    const auto it = graph.find(strFrom);
    if (it == graph.end()) {
        return;
    }
    for (const std::string& strTo : it->second) {
        if (setReached.insert(strTo).second) {
            AddReached(graph, strTo, setReached);
        }
    }
}

/// The cycles of a graph, each as the sorted names of the nodes that depend on each other.
std::vector<std::string> CyclesOf(const Graph& graph)
{
    std::map<std::string, std::set<std::string>> mapReached;
    for (const auto& [strFrom, setTargets] : graph) {
        AddReached(graph, strFrom, mapReached[strFrom]);
    }
    std::set<std::string> setCycles;
    for (const auto& [strFrom, setReached] : mapReached) {
        std::string strCycle;
        for (const std::string& strTo : setReached) {
            if (mapReached.count(strTo) != 0 && mapReached[strTo].count(strFrom) != 0) {
                strCycle += strCycle.empty() ? strTo : " " + strTo;
            }
        }
        if (!strCycle.empty()) {
            setCycles.insert(strCycle);
        }
    }
    return {setCycles.begin(), setCycles.end()};
}

Includes ProductionIncludes()
{
    Includes mapIncludes;
    for (const std::string& strFile : ProductionSources()) {
        std::ifstream file(InSourceTree(strFile));
        mapIncludes[strFile] = IncludesOf(file);
    }
    return mapIncludes;
}

TEST(Cycles, TheRuleItselfSeesOneOfHeaders)
{
    const Includes mapIncludes = {{"a/A.h", {"string", "B.h"}},
                                  {"a/B.h", {"b/C.h"}},
                                  {"b/C.h", {"D.h"}},
                                  {"b/D.h", {"a/A.h"}},
                                  {"b/E.h", {"C.h"}}};
    EXPECT_THAT(CyclesOf(GraphOf(mapIncludes)), ElementsAre("a/A.h a/B.h b/C.h b/D.h"));
}

TEST(Cycles, TheRuleItselfSeesOneOfPairs)
{
    const Includes mapIncludes = {{"a/A.h", {}},
                                  {"a/A_Part.cpp", {"A.h", "B.h"}},
                                  {"a/B.h", {}},
                                  {"a/B.cpp", {"B.h", "A.h"}},
                                  {"a/main.cpp", {"A.h"}}};
    EXPECT_THAT(CyclesOf(GraphOf(mapIncludes)), IsEmpty());
    EXPECT_THAT(CyclesOf(GraphOfPairs(mapIncludes)), ElementsAre("a/A a/B"));
}

TEST(Cycles, TheRuleItselfFindsWhatIsIncludedByTheEndOfItsPath)
{
    const Includes mapIncludes = {{"include/lib/A.h", {"B.h"}}, {"b/B.h", {"lib/A.h"}}, {"c/A.h", {}}};
    EXPECT_THAT(CyclesOf(GraphOf(mapIncludes)), ElementsAre("b/B.h include/lib/A.h"));
}

TEST(Cycles, FilesHaveNone)
{
    const Graph graph = GraphOf(ProductionIncludes());
    EXPECT_GT(graph.size(), 100U) << "the source tree was not found";
    EXPECT_THAT(CyclesOf(graph), IsEmpty());
}

TEST(Cycles, PairsHaveNone)
{
    EXPECT_THAT(CyclesOf(GraphOfPairs(ProductionIncludes())), IsEmpty());
}

} // namespace
