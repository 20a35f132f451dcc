// Each process makes one measurement and prints its figures, one per line.

#include "InFlight.h"
#include "Measured.h"
#include "StartUp.h"

#include <QCoreApplication>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace
{

using Figures = std::vector<double>;
using Arguments = std::vector<std::string>;

Load LoadOf(const Arguments& vecArguments)
{
    return {std::stoi(vecArguments.at(0)), std::stoul(vecArguments.at(1))};
}

double Quantile(Latencies vecSorted, double fShare)
{
    std::sort(vecSorted.begin(), vecSorted.end());
    return vecSorted.at(static_cast<std::size_t>(fShare * static_cast<double>(vecSorted.size() - 1)));
}

template <double (*fnMeasure)(const Load&)>
Figures Single(const Arguments& vecArguments)
{
    return {fnMeasure(LoadOf(vecArguments))};
}

template <Latencies (*fnLatency)(const Load&)>
Figures MedianAndFarTail(const Arguments& vecArguments)
{
    const Latencies vecLatency = fnLatency(LoadOf(vecArguments));
    return {Quantile(vecLatency, 0.5), Quantile(vecLatency, 0.999)};
}

template <Latencies (*fnLatency)(const Load&)>
Figures MedianAndTail(const Arguments& vecArguments)
{
    const Latencies vecLatency = fnLatency(LoadOf(vecArguments));
    return {Quantile(vecLatency, 0.5), Quantile(vecLatency, 0.99)};
}

template <double (*fnBytes)(const Flight&)>
Figures InFlight(const Arguments& vecArguments)
{
    return {fnBytes(
        {std::stoul(vecArguments.at(0)), std::stoul(vecArguments.at(1)), std::stoul(vecArguments.at(2))})};
}

Figures StartUp(const Arguments& vecArguments)
{
    const StartUpCosts startUp = MeasureStartUp(vecArguments.at(0));
    return {startUp.fMilliseconds, startUp.fResidentBytes};
}

const std::map<std::string, std::function<Figures(const Arguments&)>> MEASUREMENTS{
    {"rate-agent", Single<RateOfAgent>},
    {"rate-agent-direct", Single<RateOfAgentDirect>},
    {"rate-bare", Single<RateOfBareLoop>},
    {"rate-qt", Single<RateOfQt>},
    {"latency-agent", MedianAndTail<LatencyOfAgent>},
    {"latency-agent-direct", MedianAndTail<LatencyOfAgentDirect>},
    {"latency-bare", MedianAndTail<LatencyOfBareCurl>},
    {"latency-hand-over", MedianAndTail<LatencyOfBareHandOver>},
    {"processor-agent", Single<ProcessorTimeOfAgent>},
    {"processor-bare", Single<ProcessorTimeOfBareLoop>},
    {"rate-reports", Single<RateOfReports>},
    {"calls-reports", MedianAndFarTail<CallsOfReports>},
    {"sleeps-reports", Single<SleepsOfIdleReporter>},
    {"sync-agent", MedianAndTail<LatencyOfSyncSender>},
    {"sync-qt", MedianAndTail<LatencyOfOneShotQt>},
    {"in-flight-agent", InFlight<BytesInFlightOfAgent>},
    {"in-flight-bare", InFlight<BytesInFlightOfBareLoop>},
    {"start-up", StartUp},
};

} // namespace

int main(int nArguments, char** arArguments)
{
    QCoreApplication app(nArguments, arArguments);
    const Arguments vecWords(arArguments + 1, arArguments + nArguments);
    const auto found = vecWords.empty() ? MEASUREMENTS.end() : MEASUREMENTS.find(vecWords.front());
    if (found == MEASUREMENTS.end()) {
        std::fputs("ktsbench MEASUREMENT ARGUMENT...; bench/run.sh knows which\n", stderr);
        return EXIT_FAILURE + 1;
    }
    try {
        for (const double fFigure : found->second({vecWords.begin() + 1, vecWords.end()})) {
            std::printf("%.3f\n", fFigure);
        }
        return EXIT_SUCCESS;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "ktsbench %s: %s\n", vecWords.front().c_str(), error.what());
        return EXIT_FAILURE;
    }
}
