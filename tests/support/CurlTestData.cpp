#include "CurlTestData.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>
#include <stdexcept>

namespace
{

int HexDigit(char c)
{
    return c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10;
}

bool IsHexDigit(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
}

/// The text with each escape, such as "%0d", replaced by its byte.
std::string Unescaped(const std::string& strText)
{
    std::string strBytes;
    for (std::size_t nAt = 0; nAt < strText.size(); ++nAt) {
        if (strText[nAt] == '%' && nAt + 2 < strText.size() && IsHexDigit(strText[nAt + 1]) &&
            IsHexDigit(strText[nAt + 2])) {
            strBytes += static_cast<char>(HexDigit(strText[nAt + 1]) * 16 + HexDigit(strText[nAt + 2]));
            nAt += 2;
        } else {
            strBytes += strText[nAt];
        }
    }
    return strBytes;
}

/// What "%NAME[...]%" stands for.
std::string Meaning(const std::string& strName, const std::string& strValue)
{
    if (strName == "hex") {
        return Unescaped(strValue);
    }
    const std::size_t nTimes = strValue.find(" x "); // "3 x text"
    if (strName != "repeat" || nTimes == std::string::npos) {
        return strValue;
    }
    const std::string strText = Unescaped(strValue.substr(nTimes + 3));
    std::string strAll;
    for (unsigned long nLeft = std::stoul(strValue); nLeft > 0; --nLeft) {
        strAll += strText;
    }
    return strAll;
}

/// With every "%hex[...]hex%", "%b64[...]b64%" and "%repeat[...]%" replaced.
std::string Expanded(const std::string& strText)
{
    std::string strAll;
    std::size_t nDone = 0;
    for (const std::string strName : {"hex", "b64", "repeat"}) { // no reply has two kinds
        const std::string strEnd = "]" + (strName == "repeat" ? "" : strName) + "%";
        for (std::size_t nBegin = 0;
             (nBegin = strText.find("%" + strName + "[", nDone)) != std::string::npos;) {
            const std::size_t nValue = nBegin + strName.size() + 2;
            const std::size_t nEnd = strText.find(strEnd, nValue);
            if (nEnd == std::string::npos) {
                break;
            }
            strAll += strText.substr(nDone, nBegin - nDone) +
                      Meaning(strName, strText.substr(nValue, nEnd - nValue));
            nDone = nEnd + strEnd.size();
        }
    }
    return strAll + strText.substr(nDone);
}

std::string FromBase64(const std::string& strText)
{
    constexpr const char* DIGITS = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string strBytes;
    unsigned nBits = 0;
    unsigned nValue = 0;
    for (const char c : strText) {
        const char* const pDigit = std::find(DIGITS, DIGITS + 64, c);
        if (pDigit == DIGITS + 64) {
            continue; // an end of line, or the padding
        }
        nValue = nValue << 6U | static_cast<unsigned>(pDigit - DIGITS);
        if ((nBits += 6) >= 8) {
            nBits -= 8;
            strBytes += static_cast<char>(nValue >> nBits & 0xFFU);
        }
    }
    return strBytes;
}

/// What curl's test servers send for the text between the tags of a section.
std::string BytesOfSection(std::string strText, const std::string& strAttributes)
{
    const auto has = [&](const char* szAttribute) {
        return strAttributes.find(szAttribute) != std::string::npos;
    };
    strText = Expanded(strText);
    if (has("base64=\"yes\"")) {
        return FromBase64(strText);
    }
    if (has("crlf=\"yes\"")) {
        strText = std::regex_replace(strText, std::regex("\r?\n"), "\r\n");
    }
    if (has("nonewline=\"yes\"") && !strText.empty() && strText.back() == '\n') {
        strText.pop_back();
    }
    return strText;
}

bool IsCondition(const std::string& strLine) // %if, %else, %endif: both branches are kept
{
    const std::size_t nText = std::min(strLine.find_first_not_of(' '), strLine.size());
    return strLine.compare(nText, 3, "%if") == 0 || strLine.compare(nText, 5, "%else") == 0 ||
           strLine.compare(nText, 6, "%endif") == 0;
}

void AddReplies(const std::filesystem::path& file, std::vector<CurlTestReply>& vecReplies)
{
    static const std::regex TAG(R"(\s*<((?:data|connect)[0-9]*)((?: [^>]*)?)>\s*)");
    std::ifstream stream(file, std::ios::binary);
    std::string strSection;
    std::string strAttributes;
    std::string strText;
    for (std::string strLine; std::getline(stream, strLine);) {
        std::smatch match;
        if (strSection.empty()) {
            if (strLine.find('<') != std::string::npos && std::regex_match(strLine, match, TAG)) {
                strSection = match[1];
                strAttributes = match[2];
            }
        } else if (strLine.find("</" + strSection + ">") != std::string::npos) {
            vecReplies.push_back(
                {file.filename().string() + " " + strSection, BytesOfSection(strText, strAttributes)});
            strSection.clear();
            strText.clear();
        } else if (!IsCondition(strLine)) {
            strText += strLine + '\n';
        }
    }
}

std::string AsItIs(std::string strBytes)
{
    return strBytes;
}

/// Turns the first header line into a continuation of the status line.
std::string WithItsFirstHeaderLineFolded(std::string strBytes)
{
    const std::size_t nLine = strBytes.find('\n');
    return nLine == std::string::npos ? strBytes : strBytes.insert(nLine + 1, " ");
}

std::string WithEveryHeaderLineFolded(std::string strBytes)
{
    const std::size_t nEnd = std::min(strBytes.find("\r\n\r\n"), strBytes.size());
    for (std::size_t nLine = strBytes.rfind('\n', nEnd); nLine != std::string::npos && nLine > 0;
         nLine = strBytes.rfind('\n', nLine - 1)) {
        strBytes.insert(nLine + 1, "\t");
    }
    return strBytes;
}

std::string CutInTheMiddle(std::string strBytes)
{
    strBytes.resize(strBytes.size() / 2);
    return strBytes;
}

} // namespace

std::vector<CurlTestReply> CurlTestReplies()
{
    const std::filesystem::path folder = CURL_TEST_DATA;
    if (!std::filesystem::is_directory(folder)) {
        throw std::runtime_error(
            "curl's test data is missing: packaging/curl_test_data.sh, which ./dev test runs, puts "
            "it into " +
            folder.string());
    }
    std::vector<std::filesystem::path> vecFiles(std::filesystem::directory_iterator(folder), {});
    std::sort(vecFiles.begin(), vecFiles.end());
    std::vector<CurlTestReply> vecReplies;
    for (const std::filesystem::path& file : vecFiles) {
        AddReplies(file, vecReplies);
    }
    return vecReplies;
}

std::vector<CurlTestVariant> CurlTestVariants()
{
    return {{"AsItIs", &AsItIs},
            {"FirstHeaderLineFolded", &WithItsFirstHeaderLineFolded},
            {"EveryHeaderLineFolded", &WithEveryHeaderLineFolded},
            {"CutInTheMiddle", &CutInTheMiddle}};
}
