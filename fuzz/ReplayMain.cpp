// Passes every file of a corpus folder to a fuzz target, so that builds without a fuzzer also check what a
// fuzzer once found. The name of each file is printed first: if the target ends the process, the last name
// printed is that of the file that caused it.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize);

namespace
{

namespace fs = std::filesystem;

std::vector<fs::path> FilesOf(const fs::path& folder)
{
    std::vector<fs::path> vecFiles;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        vecFiles.push_back(entry.path());
    }
    std::sort(vecFiles.begin(), vecFiles.end());
    return vecFiles;
}

void Replay(const fs::path& path)
{
    std::printf("%s\n", path.filename().string().c_str());
    std::fflush(stdout);
    std::ifstream file(path, std::ios::binary);
    const std::vector<char> vecInput{std::istreambuf_iterator<char>(file), {}};
    if (!file) {
        throw std::runtime_error("can't be read: " + path.string());
    }
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(vecInput.data()), vecInput.size());
}

} // namespace

int main(int nArguments, char** ppArguments)
{
    if (nArguments != 2) {
        std::fprintf(stderr, "usage: %s CORPUS_FOLDER\n", ppArguments[0]);
        return 2;
    }
    const std::vector<fs::path> vecFiles = FilesOf(ppArguments[1]);
    std::for_each(vecFiles.begin(), vecFiles.end(), Replay);
    std::printf("%zu files\n", vecFiles.size());
    return vecFiles.empty() ? 1 : 0;
}
