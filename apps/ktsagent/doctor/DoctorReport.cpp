#include "DoctorReport.h"

#include "ValueWriter.h"

#include "platform/text/Escaping.h"

#include <algorithm>

namespace
{

std::string Padded(std::string strWord, std::size_t nWidth)
{
    strWord.resize(std::max(strWord.size(), nWidth), ' ');
    return strWord;
}

void Write(ValueWriter& writer, const char* szKey, const std::string& strText)
{
    writer.Key(szKey);
    writer.Text(strText);
}

void Write(ValueWriter& writer, const Finding& finding)
{
    writer.StartObject();
    Write(writer, "mark", WordOf(finding.eMark));
    Write(writer, "says", finding.strSays);
    Write(writer, "do", finding.strToDo);
    writer.EndObject();
}

void Write(ValueWriter& writer, const StageReport& report)
{
    writer.StartObject();
    Write(writer, "stage", report.pStage->szName);
    Write(writer, "mark", WordOf(WorstOf(report.vecFindings)));
    writer.Key("milliseconds");
    writer.Integer(report.nMilliseconds);
    writer.Key("findings");
    writer.StartList();
    for (const Finding& finding : report.vecFindings) {
        Write(writer, finding);
    }
    writer.EndList();
    writer.EndObject();
}

} // namespace

const Stage* FirstFailed(const std::vector<StageReport>& vecReports)
{
    const auto it = std::find_if(vecReports.begin(), vecReports.end(), [](const StageReport& report) {
        return WorstOf(report.vecFindings) == Mark::Failed;
    });
    return it == vecReports.end() ? nullptr : it->pStage;
}

std::string TextOf(const StageReport& report)
{
    constexpr std::size_t STAGE_WIDTH = 13;
    constexpr std::size_t MARK_WIDTH = 9;
    std::string strText;
    std::string strStage = report.pStage->szName;
    for (const Finding& finding : report.vecFindings) {
        strText += Padded(strStage, STAGE_WIDTH) + Padded(WordOf(finding.eMark), MARK_WIDTH) +
                   EscapeUnsafe(finding.strSays) + "\n";
        if (!finding.strToDo.empty()) {
            strText += std::string(STAGE_WIDTH, ' ') + Padded("  do:", MARK_WIDTH) +
                       EscapeUnsafe(finding.strToDo) + "\n";
        }
        strStage.clear();
    }
    return strText;
}

std::string JsonOf(const Context& context, const std::vector<StageReport>& vecReports)
{
    const Stage* const pFailed = FirstFailed(vecReports);
    JsonWriter writer;
    writer.StartObject();
    Write(writer, "server", context.strBaseUrl);
    writer.Key("failed");
    if (pFailed == nullptr) {
        writer.Null();
    } else {
        writer.Text(pFailed->szName);
    }
    writer.Key("exit");
    writer.Integer(pFailed == nullptr ? 0 : pFailed->nExit);
    writer.Key("stages");
    writer.StartList();
    for (const StageReport& report : vecReports) {
        Write(writer, report);
    }
    writer.EndList();
    writer.EndObject();
    return writer.Result();
}
