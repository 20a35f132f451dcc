#include "platform/metrics/PrometheusText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace
{

using namespace std::chrono_literals;
using testing::Contains;

std::vector<std::string> LinesOf(const SKtsMetrics& figures)
{
    std::istringstream text(metrics::PrometheusText(figures));
    std::vector<std::string> vecLines;
    for (std::string strLine; std::getline(text, strLine);) {
        vecLines.push_back(strLine);
    }
    return vecLines;
}

SKtsMetrics Some()
{
    SKtsRequestMetrics request;
    request.nType = 3109;
    request.bBlocking = true;
    request.nSent = 9;
    request.nSucceeded = 4;
    request.nRefused = 1;
    request.nStored = 2;
    request.arFailed.at(static_cast<std::size_t>(EKtsFailure::TlsFailed)) = 3;
    request.arDurations.front() = 5;
    request.arDurations.at(3) = 2;
    request.arDurations.back() = 1;
    request.durations = 61'000'017us;
    SKtsMetrics figures;
    figures.vecRequests = {request};
    figures.nOutstanding = 1;
    figures.nQueued = 7;
    figures.tpLastSuccess = std::chrono::system_clock::time_point(1'700'000'000s + 5ms);
    return figures;
}

TEST(PrometheusText, CountsWhatWasSentAndHowItEnded)
{
    const std::vector<std::string> vecLines = LinesOf(Some());
    const std::string strLabels = R"({type="3109",interface="blocking")";
    EXPECT_THAT(vecLines, Contains("# TYPE ktshttpagent_requests_sent_total counter"));
    EXPECT_THAT(vecLines, Contains("ktshttpagent_requests_sent_total" + strLabels + "} 9"));
    const std::string strEnded = "ktshttpagent_requests_ended_total" + strLabels;
    EXPECT_THAT(vecLines, Contains(strEnded + R"(,result="succeeded"} 4)"));
    EXPECT_THAT(vecLines, Contains(strEnded + R"(,result="refused"} 1)"));
    EXPECT_THAT(vecLines, Contains(strEnded + R"(,result="stored"} 2)"));
    EXPECT_THAT(vecLines, Contains(strEnded + R"(,result="tls_failed"} 3)"));
    EXPECT_THAT(vecLines, Contains(strEnded + R"(,result="timed_out"} 0)"));
}

TEST(PrometheusText, AddsUpTheClassesOfDurations)
{
    const std::vector<std::string> vecLines = LinesOf(Some());
    const std::string strName = "ktshttpagent_request_duration_seconds";
    const std::string strLabels = R"({type="3109",interface="blocking")";
    EXPECT_THAT(vecLines, Contains("# TYPE " + strName + " histogram"));
    EXPECT_THAT(vecLines, Contains(strName + "_bucket" + strLabels + R"(,le="0.001000"} 5)"));
    EXPECT_THAT(vecLines, Contains(strName + "_bucket" + strLabels + R"(,le="0.005000"} 5)"));
    EXPECT_THAT(vecLines, Contains(strName + "_bucket" + strLabels + R"(,le="0.010000"} 7)"));
    EXPECT_THAT(vecLines, Contains(strName + "_bucket" + strLabels + R"(,le="60.000000"} 7)"));
    EXPECT_THAT(vecLines, Contains(strName + "_bucket" + strLabels + R"(,le="+Inf"} 8)"));
    EXPECT_THAT(vecLines, Contains(strName + "_sum" + strLabels + "} 61.000017"));
    EXPECT_THAT(vecLines, Contains(strName + "_count" + strLabels + "} 8"));
}

TEST(PrometheusText, HasTheFiguresOfTheMoment)
{
    const std::vector<std::string> vecLines = LinesOf(Some());
    EXPECT_THAT(vecLines, Contains("ktshttpagent_requests_outstanding 1"));
    EXPECT_THAT(vecLines, Contains("ktshttpagent_requests_queued 7"));
    EXPECT_THAT(vecLines, Contains("ktshttpagent_last_success_timestamp_seconds 1700000000.005000"));
    EXPECT_THAT(vecLines, Contains("ktshttpagent_last_failure_timestamp_seconds 0.000000"));
}

// Files that were written at different times can be compared line by line.
TEST(PrometheusText, KeepsItsOrder)
{
    std::vector<std::string> vecNames;
    for (const std::string& strLine : LinesOf(Some())) {
        const std::string strName = strLine.substr(0, strLine.find_first_of("{ "));
        if (strName != "#" && (vecNames.empty() || vecNames.back() != strName)) {
            vecNames.push_back(strName);
        }
    }
    const std::string strDuration = "ktshttpagent_request_duration_seconds";
    EXPECT_THAT(vecNames,
                testing::ElementsAre("ktshttpagent_requests_sent_total", "ktshttpagent_requests_ended_total",
                                     strDuration + "_bucket", strDuration + "_sum", strDuration + "_count",
                                     "ktshttpagent_requests_outstanding", "ktshttpagent_requests_queued",
                                     "ktshttpagent_last_success_timestamp_seconds",
                                     "ktshttpagent_last_failure_timestamp_seconds"));
}

// The format demands that each name is described once, before its first value.
TEST(PrometheusText, DescribesEachNameBeforeItsValues)
{
    SKtsMetrics figures = Some();
    figures.vecRequests.push_back(figures.vecRequests.front());
    figures.vecRequests.back().nType = 3110;
    std::vector<std::string> vecDescribed;
    std::string strCurrent;
    std::string strBefore;
    for (const std::string& strLine : LinesOf(figures)) {
        const std::string TYPE = "# TYPE ";
        const std::string strPrevious = std::exchange(strBefore, strLine);
        if (strLine.rfind(TYPE, 0) == 0) {
            strCurrent = strLine.substr(TYPE.size(), strLine.find(' ', TYPE.size()) - TYPE.size());
            EXPECT_THAT(vecDescribed, testing::Not(Contains(strCurrent)));
            EXPECT_THAT(strPrevious, testing::StartsWith("# HELP " + strCurrent + ' '));
            vecDescribed.push_back(strCurrent);
        } else if (strLine.rfind('#', 0) != 0) {
            EXPECT_THAT(strLine, testing::StartsWith(strCurrent));
        }
    }
    EXPECT_EQ(vecDescribed.size(), 7U);
}

} // namespace
