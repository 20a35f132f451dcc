#include "labserver/LabPage.h"

#include "labserver/LabPageFiles.h"
#include "labserver/LabText.h"

#include <algorithm>
#include <locale>
#include <sstream>
#include <string_view>

namespace
{

constexpr std::string_view PAGE_FOLDER = "/lab/page/";

/// Only what comes from this server is loaded, no script or style stands in the page itself, and the browser
/// refuses to take a text for markup.
constexpr const char* PAGE_POLICY =
    "default-src 'none'; script-src 'self'; style-src 'self'; connect-src 'self'; img-src 'self' data:; "
    "base-uri 'none'; form-action 'none'; frame-ancestors 'none'; require-trusted-types-for 'script'; "
    "trusted-types 'none'";

/// The name of the file that a request is for; empty if it is for none.
std::string FileFor(const std::string& strPath, const httplib::Request& request)
{
    if (request.method != "GET" && request.method != "HEAD") {
        return {};
    }
    if (strPath == "/lab/" && PrefersHtml(request.get_header_value("Accept"))) {
        return "index.html";
    }
    return strPath.compare(0, PAGE_FOLDER.size(), PAGE_FOLDER) == 0 ? strPath.substr(PAGE_FOLDER.size())
                                                                    : std::string();
}

std::string WithoutBlanks(std::string strText)
{
    strText.erase(
        std::remove_if(strText.begin(), strText.end(), [](char c) { return c == ' ' || c == '\t'; }),
        strText.end());
    return strText;
}

/// The weight of a range of a header Accept: its parameter q.
double WeightOf(const std::string& strRange)
{
    const size_t nAt = strRange.find(";q=");
    if (nAt == std::string::npos) {
        return 1;
    }
    double nWeight = 0;
    std::istringstream text(strRange.substr(nAt + 3));
    text.imbue(std::locale::classic());
    text >> nWeight;
    return nWeight;
}

/// How exactly a range of a header Accept names a media type; 0 if it does not.
int ExactnessOf(const std::string& strRange, const std::string& strType)
{
    const std::string strName = strRange.substr(0, strRange.find(';'));
    if (strName == strType) {
        return 3;
    }
    if (strName == strType.substr(0, strType.find('/')) + "/*") {
        return 2;
    }
    return strName == "*/*" ? 1 : 0;
}

/// The weight that a header Accept, in lower case and without blanks, gives a media type; what it says about
/// the type itself counts more than what it says about all of them.
double WeightOfType(const std::string& strAccept, const std::string& strType)
{
    double nWeight = 0;
    int nExactness = 0;
    std::istringstream ranges(strAccept);
    for (std::string strRange; std::getline(ranges, strRange, ',');) {
        const int nFits = ExactnessOf(strRange, strType);
        if (nFits > nExactness) {
            nExactness = nFits;
            nWeight = WeightOf(strRange);
        }
    }
    return nWeight;
}

} // namespace

bool PrefersHtml(const std::string& strAccept)
{
    const std::string strRanges = LowerCase(WithoutBlanks(strAccept));
    return WeightOfType(strRanges, "text/html") > WeightOfType(strRanges, "application/json");
}

bool AnswerPage(const std::string& strPath, const httplib::Request& request, httplib::Response& response)
{
    const std::string strName = FileFor(strPath, request);
    const auto& vecFiles = LabPageFiles();
    const auto itFile = std::find_if(vecFiles.begin(), vecFiles.end(),
                                     [&](const LabPageFile& file) { return file.strName == strName; });
    if (itFile == vecFiles.end()) {
        return false;
    }
    response.set_header("Content-Security-Policy", PAGE_POLICY);
    response.set_header("Referrer-Policy", "no-referrer");
    response.set_header("Vary", "Accept");
    response.set_content(itFile->strText.data(), itFile->strText.size(), itFile->szContentType);
    return true;
}
