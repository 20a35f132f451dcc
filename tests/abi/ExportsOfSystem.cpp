#include "ExportsOfSystem.h"

#include <array>
#include <cstdio>
#include <memory>

std::set<std::string> ExportsOf(const std::string& strLibrary)
{
    const std::string strFile = (strLibrary == "libclog" ? "" : "lib") + strLibrary + ".so";
    const std::string strCommand = "nm -DC --defined-only " + std::string(KTS_LIBRARIES_DIR) + "/" + strFile;
    const std::unique_ptr<FILE, int (*)(FILE*)> pPipe(popen(strCommand.c_str(), "r"), &pclose);
    std::set<std::string> setExports;
    std::array<char, 4096> line{};
    while (pPipe != nullptr &&
           std::fgets(line.data(), static_cast<int>(line.size()), pPipe.get()) != nullptr) {
        std::string strLine = line.data();
        strLine.erase(strLine.find_last_not_of('\n') + 1);
        setExports.insert(strLine.substr(19)); // after the address and the kind
    }
    return setExports;
}

std::set<std::string> ExportsFor(const std::string& strListed)
{
    return {strListed};
}
