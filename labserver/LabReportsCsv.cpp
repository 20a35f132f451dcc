#include "labserver/LabReportsCsv.h"

#include "labserver/LabJson.h"
#include "labserver/LabReports.h"

#include <set>
#include <string_view>
#include <vector>

namespace
{

constexpr std::string_view REPORTS_FOLDER = "/lab/reports/";
constexpr std::string_view CSV_ENDING = ".csv";

/// The kind whose file a path is; empty if it is none.
std::string KindOfFile(const std::string& strPath)
{
    const bool bFile =
        strPath.size() > REPORTS_FOLDER.size() + CSV_ENDING.size() &&
        strPath.compare(0, REPORTS_FOLDER.size(), REPORTS_FOLDER) == 0 &&
        strPath.compare(strPath.size() - CSV_ENDING.size(), CSV_ENDING.size(), CSV_ENDING) == 0;
    return bFile ? strPath.substr(REPORTS_FOLDER.size(),
                                  strPath.size() - REPORTS_FOLDER.size() - CSV_ENDING.size())
                 : "";
}

/// What every line begins with.
constexpr const char* OF_REPORT[] = {"id", "receivedAt", "key", "repeats"};
constexpr const char* NO_OBJECT = "value"; ///< the column of an element that has no members

/// A line of the file: a report, or an element of one that is a list.
struct CsvLine {
    const Json::Value& report;
    const Json::Value& element;
};

std::vector<CsvLine> LinesOf(const Json::Value& reports)
{
    std::vector<CsvLine> vecLines;
    for (const Json::Value& report : reports) {
        const Json::Value& content = report["report"];
        if (!content.isArray()) {
            vecLines.push_back({report, content});
            continue;
        }
        for (const Json::Value& element : content) {
            vecLines.push_back({report, element});
        }
    }
    return vecLines;
}

/// All members of all lines' elements.
std::vector<std::string> ColumnsOf(const std::vector<CsvLine>& vecLines)
{
    std::set<std::string> setNames;
    for (const CsvLine& line : vecLines) {
        const bool bObject = line.element.isObject();
        for (const std::string& strName :
             bObject ? line.element.getMemberNames() : Json::Value::Members{NO_OBJECT}) {
            setNames.insert(strName);
        }
    }
    return {setNames.begin(), setNames.end()};
}

Json::Value ValueOf(const Json::Value& element, const std::string& strColumn)
{
    if (element.isObject()) {
        return element.get(strColumn, Json::Value());
    }
    return strColumn == NO_OBJECT ? element : Json::Value();
}

std::string CellOf(const Json::Value& value)
{
    std::string strText = value.isString() ? value.asString() : value.isNull() ? "" : WriteJson(value);
    // A number stays one, negative or not.
    if (value.isString() && strText.find_first_of("=+-@\t\r") == 0) {
        strText.insert(0, 1, '\'');
    }
    if (strText.find_first_of(",\"\r\n") == std::string::npos) {
        return strText;
    }
    std::string strQuoted = "\"";
    for (const char c : strText) {
        strQuoted += c == '"' ? std::string("\"\"") : std::string(1, c);
    }
    return strQuoted + '"';
}

void AddCell(const Json::Value& value, std::string& strLine)
{
    strLine += (strLine.empty() ? "" : ",") + CellOf(value);
}

} // namespace

std::string CsvOf(const Json::Value& reports)
{
    const std::vector<CsvLine> vecLines = LinesOf(reports);
    const std::vector<std::string> vecColumns = ColumnsOf(vecLines);
    std::string strHead;
    for (const char* szName : OF_REPORT) {
        AddCell(szName, strHead);
    }
    for (const std::string& strName : vecColumns) {
        AddCell(strName, strHead);
    }
    std::string strFile = "\xEF\xBB\xBF" + strHead + "\r\n";
    for (const CsvLine& line : vecLines) {
        std::string strLine;
        for (const char* szName : OF_REPORT) {
            AddCell(line.report.get(szName, Json::Value()), strLine);
        }
        for (const std::string& strName : vecColumns) {
            AddCell(ValueOf(line.element, strName), strLine);
        }
        strFile += strLine + "\r\n";
    }
    return strFile;
}

bool AnswerReportsCsv(LabContext& context, const std::string& strPath, const httplib::Request& request,
                      httplib::Response& response)
{
    const std::string strKind = KindOfFile(strPath);
    if (strKind.empty() || (request.method != "GET" && request.method != "HEAD")) {
        return false;
    }
    const std::string strFile = CsvOf(FindReports(context, {request, strKind}, strKind));
    response.set_header("Content-Disposition", "attachment; filename=\"" + strKind + ".csv\"");
    response.set_content(strFile, "text/csv; charset=utf-8");
    return true;
}
