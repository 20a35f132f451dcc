#include "SourceTree.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace fs = std::filesystem;

namespace
{

const fs::path ROOT = KTS_SOURCE_DIR;

/// The position after the next occurrence of svEnd, or the end of the text.
std::size_t Behind(const std::string& strText, std::string_view svEnd, std::size_t nFrom)
{
    const std::size_t nEnd = strText.find(svEnd, nFrom);
    return nEnd == std::string::npos ? strText.size() : nEnd + svEnd.size();
}

std::size_t EndOfRawLiteral(const std::string& strText, std::size_t nBegin)
{
    const std::size_t nMark = nBegin + 2; // after R"
    const std::size_t nOpen = strText.find('(', nMark);
    return nOpen == std::string::npos
               ? strText.size()
               : Behind(strText, ")" + strText.substr(nMark, nOpen - nMark) + "\"", nOpen);
}

std::size_t EndOfLiteral(const std::string& strText, std::size_t nBegin)
{
    std::size_t nEnd = nBegin + 1;
    while (nEnd < strText.size() && strText[nEnd] != strText[nBegin] && strText[nEnd] != '\n') {
        nEnd += strText[nEnd] == '\\' ? 2 : 1;
    }
    return std::min(nEnd + 1, strText.size());
}

/// Whether a quotation mark separates digits, as in 10'000.
bool IsBetweenDigits(const std::string& strText, std::size_t nPlace)
{
    return nPlace > 0 && std::isxdigit(static_cast<unsigned char>(strText[nPlace - 1])) != 0;
}

/// The position after the comment or literal that begins at nBegin; nBegin itself when none begins there.
std::size_t EndOfWords(const std::string& strText, std::size_t nBegin)
{
    if (strText.compare(nBegin, 2, "//") == 0) {
        return std::min(strText.find('\n', nBegin), strText.size());
    }
    if (strText.compare(nBegin, 2, "/*") == 0) {
        return Behind(strText, "*/", nBegin + 2);
    }
    if (strText.compare(nBegin, 2, "R\"") == 0) {
        return EndOfRawLiteral(strText, nBegin);
    }
    if (strText[nBegin] == '"' || (strText[nBegin] == '\'' && !IsBetweenDigits(strText, nBegin))) {
        return EndOfLiteral(strText, nBegin);
    }
    return nBegin;
}

/// The name that a line includes, without quotes or brackets; empty if it includes nothing.
std::string IncludeOf(const std::string& strLine)
{
    constexpr const char* BLANKS = " \t";
    const std::size_t nHash = strLine.find_first_not_of(BLANKS);
    if (nHash == std::string::npos || strLine[nHash] != '#') {
        return {};
    }
    const std::size_t nWord = strLine.find_first_not_of(BLANKS, nHash + 1);
    if (nWord == std::string::npos || strLine.compare(nWord, 7, "include") != 0) {
        return {};
    }
    const std::size_t nBegin = strLine.find_first_of("\"<", nWord);
    const std::size_t nEnd = strLine.find_first_of("\">", nBegin + 1);
    return nEnd == std::string::npos ? std::string() : strLine.substr(nBegin + 1, nEnd - nBegin - 1);
}

} // namespace

fs::path InSourceTree(const std::string& strPath)
{
    return ROOT / strPath;
}

bool IsSource(const fs::path& path)
{
    return path.extension() == ".h" || path.extension() == ".cpp";
}

std::vector<std::string> SourcesIn(const std::vector<std::string>& vecFolders)
{
    std::vector<std::string> vecSources;
    for (const std::string& strFolder : vecFolders) {
        if (!fs::exists(InSourceTree(strFolder))) {
            continue;
        }
        for (const auto& entry : fs::recursive_directory_iterator(InSourceTree(strFolder))) {
            if (IsSource(entry.path())) {
                vecSources.push_back(entry.path().lexically_relative(ROOT).generic_string());
            }
        }
    }
    std::sort(vecSources.begin(), vecSources.end());
    return vecSources;
}

std::vector<std::string> ProductionSources()
{
    return SourcesIn({"include", "sdk", "agent", "net", "platform", "labserver", "testing", "apps"});
}

std::string TextOf(const std::string& strFile)
{
    std::ifstream file(InSourceTree(strFile), std::ios::binary);
    if (!file) {
        throw std::runtime_error("can't be read: " + strFile);
    }
    return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::string> LinesOf(const std::string& strText)
{
    std::vector<std::string> vecLines;
    std::istringstream text(strText);
    for (std::string strLine; std::getline(text, strLine);) {
        vecLines.push_back(strLine);
    }
    return vecLines;
}

bool BeginsWith(const std::string& strText, const std::string& strBegin)
{
    return strText.compare(0, strBegin.size(), strBegin) == 0;
}

bool EndsWith(const std::string& strText, const std::string& strEnd)
{
    return strText.size() >= strEnd.size() &&
           strText.compare(strText.size() - strEnd.size(), strEnd.size(), strEnd) == 0;
}

bool IsOfAName(char c)
{
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
}

std::string CodeOf(std::string strText)
{
    for (std::size_t nPlace = 0; nPlace < strText.size();) {
        const std::size_t nBehind = EndOfWords(strText, nPlace);
        std::replace_if(
            strText.begin() + static_cast<std::ptrdiff_t>(nPlace),
            strText.begin() + static_cast<std::ptrdiff_t>(nBehind), [](char c) { return c != '\n'; }, ' ');
        nPlace = std::max(nBehind, nPlace + 1);
    }
    return strText;
}

std::vector<std::string> IncludesOf(std::istream& file)
{
    std::vector<std::string> vecIncludes;
    for (std::string strLine; std::getline(file, strLine);) {
        if (std::string strInclude = IncludeOf(strLine); !strInclude.empty()) {
            vecIncludes.push_back(std::move(strInclude));
        }
    }
    return vecIncludes;
}
