#include "KtsagentProcess.h"

#include <gmock/gmock.h>

#include <chrono>
#include <filesystem>

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace
{

const std::string FIGURES = R"(# TYPE ktshttpagent_requests_sent_total counter
ktshttpagent_requests_sent_total{type="3103",interface="asynchronous"} 10
ktshttpagent_requests_sent_total{type="3114",interface="blocking"} 5
ktshttpagent_requests_sent_total{type="3115",interface="blocking"} 4
ktshttpagent_requests_sent_total{type="9999",interface="blocking"} 1
ktshttpagent_requests_ended_total{type="3103",interface="asynchronous",result="succeeded"} 7
ktshttpagent_requests_ended_total{type="3103",interface="asynchronous",result="refused"} 2
ktshttpagent_requests_ended_total{type="3103",interface="asynchronous",result="stored"} 4
ktshttpagent_requests_ended_total{type="3115",interface="blocking",result="timed_out"} 3
ktshttpagent_requests_ended_total{type="3115",interface="blocking",result="other"} 0
ktshttpagent_requests_ended_total{type="3115",interface="blocking",result="tls_failed"} 1
ktshttpagent_request_duration_seconds_bucket{type="3103",interface="asynchronous",le="0.001000"} 0
ktshttpagent_request_duration_seconds_bucket{type="3103",interface="asynchronous",le="0.020000"} 8
ktshttpagent_request_duration_seconds_bucket{type="3103",interface="asynchronous",le="5.000000"} 9
ktshttpagent_request_duration_seconds_bucket{type="3103",interface="asynchronous",le="+Inf"} 9
a line that nobody knows
ktshttpagent_without_a_number
ktshttpagent_with_a_word often
ktshttpagent_requests_sent_total{type=3103,interface=asynchronous} 7777
ktshttpagent_requests_sent_total{type="} 7777
ktshttpagent_requests_sent_total{interface="asynchronous"} 7777
ktshttpagent_request_duration_seconds_bucket{type="9998",interface="blocking",le="5.000000"} 0
ktshttpagent_request_duration_seconds_bucket{type="9998",interface="blocking",le="+Inf"} 2
ktshttpagent_request_duration_seconds_bucket{type="9997",interface="blocking",le="+Inf"} 0
ktshttpagent_requests_outstanding 1
ktshttpagent_requests_queued 0
ktshttpagent_last_success_timestamp_seconds 0.000000
ktshttpagent_last_failure_timestamp_seconds 1700000000.000000
)";

class Stats : public KtsagentProcess
{
protected:
    KtsagentRun RunWith(const std::string& strFigures) const
    {
        return Run({"stats", WriteFile("host.prom", strFigures)});
    }

    /// The line of the output that begins with this text.
    static std::string LineOf(const KtsagentRun& run, const std::string& strBegin)
    {
        const std::string& strOut = run.strOut;
        const std::size_t nBegin = strOut.find(strBegin);
        return nBegin == std::string::npos ? "" : strOut.substr(nBegin, strOut.find('\n', nBegin) - nBegin);
    }

    /// Where the words and numbers of a line end, behind a column.
    static std::vector<std::size_t> EndsOfNumbers(const std::string& strLine, std::size_t nFrom)
    {
        std::vector<std::size_t> vecEnds;
        for (std::size_t n = nFrom; n < strLine.size(); ++n) {
            if (strLine[n] != ' ' && (n + 1 == strLine.size() || strLine[n + 1] == ' ')) {
                vecEnds.push_back(n);
            }
        }
        return vecEnds;
    }
};

} // namespace

TEST_F(Stats, HaveTheirNumbersBelowTheWordsForThem)
{
    const KtsagentRun run = RunWith(FIGURES);
    const std::string strHead = LineOf(run, "operation");
    const std::string strRow = LineOf(run, "projects");
    ASSERT_FALSE(strHead.empty());
    ASSERT_FALSE(strRow.empty());
    const std::size_t nFrom = strHead.find("interface") + std::string("interface").size();
    std::vector<std::size_t> vecHead = EndsOfNumbers(strHead, nFrom);
    std::vector<std::size_t> vecRow = EndsOfNumbers(strRow, strRow.find("asynchronous") + 12);
    vecHead.resize(4); // sent, succeeded, refused, stored; the words behind them have blanks
    vecRow.resize(4);
    EXPECT_EQ(vecHead, vecRow);
}

TEST_F(Stats, ShowEachRequestByTheNameOfItsOperation)
{
    const KtsagentRun run = RunWith(FIGURES);
    ASSERT_EQ(run.nExit, 0) << run.strErr;
    EXPECT_THAT(LineOf(run, "projects"), testing::ContainsRegex("asynchronous +10 +7 +2 +4 +20 ms +5 s +-$"));
    EXPECT_THAT(LineOf(run, "report-step"), testing::ContainsRegex("report-step +blocking +5 "));
    EXPECT_THAT(LineOf(run, "report-step-orn"),
                testing::ContainsRegex("blocking +4 +0 +0 +0 +- +- +3 timed_out, 1 tls_failed$"));
    EXPECT_THAT(LineOf(run, "9999"), testing::ContainsRegex("blocking +1 "));
    EXPECT_THAT(LineOf(run, "9998"), testing::ContainsRegex("blocking +0 +0 +0 +0 +- +- +-$"));
    EXPECT_THAT(LineOf(run, "9997"), testing::ContainsRegex("blocking +0 +0 +0 +0 +- +- +-$"));
    EXPECT_THAT(run.strOut, Not(HasSubstr("7777"))) << "lines that can't be parsed count nothing";
    EXPECT_THAT(LineOf(run, "outstanding"), HasSubstr("outstanding: 1"));
    EXPECT_THAT(LineOf(run, "last success"), HasSubstr("last success: never, last failure or refusal: "));
    EXPECT_THAT(run.strOut, Not(HasSubstr("s old")));
}

TEST_F(Stats, TellOfTheOutboxIfTheHostHasOne)
{
    EXPECT_EQ(LineOf(RunWith(FIGURES), "outbox"), "");
    const std::string strOutbox = "ktshttpagent_outbox_waiting 12\nktshttpagent_outbox_oldest_seconds 34\n"
                                  "ktshttpagent_outbox_dead_letters 2\nktshttpagent_outbox_bad_pieces 1\n"
                                  "ktshttpagent_outbox_unprotected_total 5\nktshttpagent_outbox_alarm ";
    const std::string strLine =
        "outbox: 12 waiting, the oldest for 34 s, 2 dead letters, 1 damaged pieces, 5 sent "
        "without being stored\n";
    const std::string strAlarm = "outbox: an address does not take reports; the host's log names it\n";
    EXPECT_THAT(RunWith(FIGURES + strOutbox + "0\n").strOut,
                AllOf(HasSubstr(strLine), Not(HasSubstr(strAlarm))));
    EXPECT_THAT(RunWith(FIGURES + strOutbox + "1\n").strOut, HasSubstr(strLine + strAlarm));
}

TEST_F(Stats, SayThatAFileIsOld)
{
    const QString strFile = WriteFile("host.prom", FIGURES);
    const auto tpOld = std::filesystem::file_time_type::clock::now() - std::chrono::hours(1);
    std::filesystem::last_write_time(strFile.toStdString(), tpOld);
    EXPECT_THAT(Run({"stats", strFile}).strOut, HasSubstr("s old"));
}

TEST_F(Stats, OfAnotherKindOfFileAreRefused)
{
    const KtsagentRun run = RunWith("go_goroutines 7\n");
    EXPECT_EQ(run.nExit, 1);
    EXPECT_THAT(run.strErr, HasSubstr("holds no figures"));
}

TEST_F(Stats, OfAFileThatIsMissingAreAnError)
{
    const KtsagentRun run = Run({"stats", "nowhere/host.prom"});
    EXPECT_EQ(run.nExit, 1);
    EXPECT_THAT(run.strErr, HasSubstr("nowhere/host.prom can't be read"));
}
