#include "LogFolder.h"

#include <cstdlib>
#include <fstream>
#include <stdexcept>

std::vector<std::string> LinesOf(const std::filesystem::path& pathFile)
{
    std::ifstream file(pathFile);
    std::vector<std::string> vecLines;
    for (std::string strLine; std::getline(file, strLine);) {
        vecLines.push_back(strLine);
    }
    return vecLines;
}

LogFolder::LogFolder()
{
    std::string strPath = (std::filesystem::temp_directory_path() / "kts-log-XXXXXX").string();
    if (::mkdtemp(strPath.data()) == nullptr) {
        throw std::runtime_error("no temporary folder: " + strPath);
    }
    m_path = strPath;
    ::setenv("CLOG_DIR", strPath.c_str(), 1);
}

LogFolder::~LogFolder()
{
    std::error_code error;
    std::filesystem::remove_all(m_path, error);
}

std::filesystem::path LogFolder::File(std::size_t nAside) const
{
    const std::string strNumber = nAside == 0 ? "" : '.' + std::to_string(nAside);
    return m_path / ("ktshttpagent" + strNumber + ".log");
}
