#include "StatsFile.h"

#include <cmath>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string_view>

namespace
{

constexpr std::string_view PREFIX = "ktshttpagent_";

/// A line NAME{LABEL="VALUE",…} NUMBER of Prometheus' text format; the file's writer escapes nothing.
struct Line {
    std::string strName; ///< without the prefix
    std::map<std::string, std::string> mapLabels;
    double dValue = 0;
};

std::map<std::string, std::string> LabelsOf(const std::string& strLabels)
{
    std::map<std::string, std::string> mapLabels;
    std::istringstream labels(strLabels);
    for (std::string strName, strValue;
         std::getline(labels, strName, '=') && labels.get() == '"' && std::getline(labels, strValue, '"');) {
        mapLabels[strName] = strValue;
        labels.get(); // the comma
    }
    return mapLabels;
}

/// Whatever the locale.
std::optional<double> NumberOf(const std::string& strText)
{
    std::istringstream text(strText);
    text.imbue(std::locale::classic());
    double dValue = 0;
    if (strText == "+Inf") {
        return HUGE_VAL;
    }
    return text >> dValue ? std::make_optional(dValue) : std::nullopt;
}

std::optional<Line> ParseLine(const std::string& strLine)
{
    const std::size_t nValue = strLine.rfind(' ');
    if (strLine.rfind(PREFIX, 0) != 0 || nValue == std::string::npos) {
        return std::nullopt;
    }
    const std::optional<double> dValue = NumberOf(strLine.substr(nValue + 1));
    if (!dValue) {
        return std::nullopt;
    }
    const std::size_t nLabels = strLine.find('{');
    Line line;
    line.strName = strLine.substr(PREFIX.size(), std::min(nLabels, nValue) - PREFIX.size());
    line.dValue = *dValue;
    if (nLabels < nValue) {
        line.mapLabels = LabelsOf(strLine.substr(nLabels + 1, nValue - nLabels - 2));
    }
    return line;
}

void AddTo(RequestStats& request, Line& line)
{
    const auto nValue = static_cast<std::uint64_t>(line.dValue);
    if (line.strName == "requests_sent_total") {
        request.nSent = nValue;
    } else if (line.strName == "requests_ended_total") {
        request.mapEnded[line.mapLabels["result"]] = nValue;
    } else if (line.strName == "request_duration_seconds_bucket") {
        request.mapWithinSeconds[NumberOf(line.mapLabels["le"]).value_or(HUGE_VAL)] = nValue;
    }
}

std::optional<int> TypeOf(Line& line)
{
    try {
        return std::stoi(line.mapLabels["type"]);
    } catch (const std::logic_error&) {
        return std::nullopt;
    }
}

} // namespace

double RequestStats::Within(double dShare) const
{
    const double dEnded =
        mapWithinSeconds.empty() ? 0 : static_cast<double>(mapWithinSeconds.rbegin()->second);
    for (const auto& [dSeconds, nEnded] : mapWithinSeconds) {
        if (dEnded > 0 && static_cast<double>(nEnded) >= dShare * dEnded) {
            return std::isinf(dSeconds) ? -1 : dSeconds;
        }
    }
    return -1;
}

StatsFile ReadStats(std::istream& file)
{
    StatsFile stats;
    for (std::string strLine; std::getline(file, strLine);) {
        std::optional<Line> line = ParseLine(strLine);
        if (!line) {
            continue;
        }
        if (line->mapLabels.empty()) {
            stats.mapSingle[line->strName] = line->dValue;
        } else if (const std::optional<int> nType = TypeOf(*line)) {
            AddTo(stats.mapRequests[{*nType, line->mapLabels["interface"]}], *line);
        }
    }
    return stats;
}
