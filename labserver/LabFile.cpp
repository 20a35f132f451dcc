#include "labserver/LabFile.h"

#include <fstream>
#include <iterator>
#include <stdexcept>

std::string ContentOf(const std::string& strFile)
{
    std::ifstream file(strFile, std::ios::binary);
    std::string strText{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    if (!file) {
        throw std::runtime_error("can't read " + strFile);
    }
    return strText;
}
