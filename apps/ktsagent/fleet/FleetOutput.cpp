#include "FleetOutput.h"

#include "ValueWriter.h"

#include "platform/text/Escaping.h"

#include <iomanip>
#include <sstream>

namespace
{

struct NamedPart {
    const char* szName;
    double dPart;
};

constexpr NamedPart PERCENTILES[] = {{"p50", 0.5}, {"p90", 0.9}, {"p99", 0.99}, {"p99.9", 0.999}};

std::string Milliseconds(Histogram::Duration duration)
{
    constexpr double MICROSECONDS = 1000;
    std::ostringstream text;
    text << std::fixed << std::setprecision(3) << static_cast<double>(duration.count()) / MICROSECONDS;
    return text.str();
}

std::int64_t Sum(const std::map<std::string, std::int64_t>& mapCounts)
{
    std::int64_t nSum = 0;
    for (const auto& [strName, nCount] : mapCounts) {
        nSum += nCount;
    }
    return nSum;
}

/// The causes of failures, as "3 timed_out, 1 tls_failed".
std::string Causes(const std::map<std::string, std::int64_t>& mapFailed)
{
    std::string strCauses;
    for (const auto& [strName, nCount] : mapFailed) {
        strCauses += (strCauses.empty() ? "" : ", ") + std::to_string(nCount) + ' ' + strName;
    }
    return strCauses;
}

void WriteRow(std::ostream& table, const char* szName, std::int64_t nCount, const std::string& strRemark = {})
{
    table << std::left << std::setw(14) << szName << std::right << std::setw(10) << nCount
          << (strRemark.empty() ? "" : "  ") << strRemark << '\n';
}

void WriteLatencies(std::ostream& table, const Histogram& latencies)
{
    constexpr int WIDTH = 12;
    std::ostringstream values;
    for (const NamedPart& percentile : PERCENTILES) {
        table << std::setw(WIDTH) << percentile.szName;
        values << std::setw(WIDTH) << Milliseconds(latencies.Percentile(percentile.dPart));
    }
    table << std::setw(WIDTH) << "max" << '\n'
          << values.str() << std::setw(WIDTH) << Milliseconds(latencies.Max()) << '\n';
}

void WriteLatencies(JsonWriter& writer, const Histogram& latencies)
{
    writer.StartObject();
    for (const NamedPart& percentile : PERCENTILES) {
        writer.Key(percentile.szName);
        writer.Integer(latencies.Percentile(percentile.dPart).count());
    }
    writer.Key("max");
    writer.Integer(latencies.Max().count());
    writer.EndObject();
}

void WritePlan(JsonWriter& writer, const FleetPlan& plan)
{
    writer.Key("hosts");
    writer.Integer(plan.nHosts);
    writer.Key("channels");
    writer.Integer(plan.nChannels);
    writer.Key("rate");
    writer.Number(plan.dRate);
    writer.Key("seconds");
    writer.Integer(plan.nSeconds);
    writer.Key("seed");
    writer.Integer(plan.nSeed);
}

void WriteCounts(JsonWriter& writer, const FleetResult& result)
{
    writer.Key("planned");
    writer.Integer(result.nPlanned);
    writer.Key("sent");
    writer.Integer(result.figures.nSent);
    writer.Key("late");
    writer.Integer(result.figures.nLate);
    writer.Key("yes");
    writer.Integer(result.figures.nYes);
    writer.Key("no");
    writer.Integer(result.nNo);
    writer.Key("failed");
    writer.StartObject();
    for (const auto& [strName, nCount] : result.mapFailed) {
        writer.Key(strName);
        writer.Integer(nCount);
    }
    writer.EndObject();
}

} // namespace

std::string FleetLine(int nSecond, const FleetFigures& figures)
{
    std::ostringstream line;
    line << std::setw(5) << nSecond << " s: sent " << figures.nSent << ", yes " << figures.nYes
         << ", no or failed " << figures.nEnded - figures.nYes << ", outstanding " << figures.Outstanding()
         << ", p50 " << Milliseconds(figures.latencies.Percentile(0.5)) << " ms, p99 "
         << Milliseconds(figures.latencies.Percentile(0.99)) << " ms";
    return line.str();
}

std::string TableOf(const FleetResult& result)
{
    const FleetPlan& plan = result.plan;
    std::ostringstream table;
    table << plan.nHosts << " hosts with " << plan.nChannels << " channels, " << plan.dRate
          << " reports per second of each channel, " << plan.nSeconds << " s, seed " << plan.nSeed << ": "
          << EscapeUnsafe(result.strUrl) << '\n';
    WriteRow(table, "sent", result.figures.nSent,
             result.bComplete ? "" : "of " + std::to_string(result.nPlanned) + ": a signal ended the run");
    WriteRow(table, "answered yes", result.figures.nYes);
    WriteRow(table, "answered no", result.nNo);
    WriteRow(table, "failed", Sum(result.mapFailed), Causes(result.mapFailed));
    WriteRow(table, "sent late", result.figures.nLate,
             "more than " + std::to_string(FleetTally::LATE.count()) + " ms after they were due");
    table << "\nmilliseconds from the moment when a report was due to its answer or failure:\n";
    WriteLatencies(table, result.figures.latencies);
    return table.str();
}

std::string JsonOf(const FleetResult& result)
{
    JsonWriter writer;
    writer.StartObject();
    writer.Key("server");
    writer.Text(result.strUrl);
    WritePlan(writer, result.plan);
    writer.Key("complete");
    writer.Bool(result.bComplete);
    WriteCounts(writer, result);
    writer.Key("microseconds");
    WriteLatencies(writer, result.figures.latencies);
    writer.EndObject();
    return writer.Result();
}
