#include "PrometheusText.h"

namespace metrics
{
namespace
{

using std::to_string;
using Microseconds = std::chrono::microseconds;

/// Seconds as a decimal number, whatever the locale.
std::string Seconds(Microseconds time)
{
    constexpr auto SECOND = Microseconds(std::chrono::seconds(1)).count();
    const std::string strFraction = to_string(time.count() % SECOND);
    return to_string(time.count() / SECOND) + '.' + std::string(6 - strFraction.size(), '0') + strFraction;
}

std::string SinceTheEpoch(std::chrono::system_clock::time_point tp)
{
    return Seconds(std::chrono::duration_cast<Microseconds>(tp.time_since_epoch()));
}

void AddHead(std::string& strText, const std::string& strName, const char* szType, const char* szHelp)
{
    strText += "# HELP " + strName + ' ' + szHelp + '\n';
    strText += "# TYPE " + strName + ' ' + szType + '\n';
}

void AddValue(std::string& strText, const std::string& strName, const std::string& strLabels,
              const std::string& strValue)
{
    strText += strName + (strLabels.empty() ? std::string() : '{' + strLabels + '}') + ' ' + strValue + '\n';
}

std::string LabelsOf(const SKtsRequestMetrics& request)
{
    return "type=\"" + to_string(request.nType) + "\",interface=\"" +
           (request.bBlocking ? "blocking" : "asynchronous") + '"';
}

void AddCounts(std::string& strText, const SKtsMetrics& figures)
{
    const std::string strSent = "ktshttpagent_requests_sent_total";
    AddHead(strText, strSent, "counter", "Requests that were sent.");
    for (const SKtsRequestMetrics& request : figures.vecRequests) {
        AddValue(strText, strSent, LabelsOf(request), to_string(request.nSent));
    }
    const std::string strEnded = "ktshttpagent_requests_ended_total";
    AddHead(
        strText, strEnded, "counter",
        "Requests that ended: succeeded, refused by the server's answer, stored for later, or failed for the "
        "reason named.");
    for (const SKtsRequestMetrics& request : figures.vecRequests) {
        const std::string strLabels = LabelsOf(request) + ",result=\"";
        AddValue(strText, strEnded, strLabels + "succeeded\"", to_string(request.nSucceeded));
        AddValue(strText, strEnded, strLabels + "refused\"", to_string(request.nRefused));
        AddValue(strText, strEnded, strLabels + "stored\"", to_string(request.nStored));
        for (std::size_t nFailure = 0; nFailure < request.arFailed.size(); ++nFailure) {
            AddValue(strText, strEnded, strLabels + KtsFailureName(static_cast<EKtsFailure>(nFailure)) + '"',
                     to_string(request.arFailed.at(nFailure)));
        }
    }
}

/// The label that names the upper bound of a class.
std::string BoundLabel(std::size_t nClass)
{
    const bool bBound = nClass < KTS_DURATION_BOUNDS.size();
    return ",le=\"" +
           (bBound ? Seconds(std::chrono::milliseconds(KTS_DURATION_BOUNDS.at(nClass)))
                   : std::string("+Inf")) +
           '"';
}

void AddDurations(std::string& strText, const SKtsMetrics& figures)
{
    const std::string strName = "ktshttpagent_request_duration_seconds";
    AddHead(strText, strName, "histogram", "Time from the call of the sender to the answer.");
    for (const SKtsRequestMetrics& request : figures.vecRequests) {
        const std::string strLabels = LabelsOf(request);
        std::uint64_t nCount = 0;
        for (std::size_t nClass = 0; nClass < request.arDurations.size(); ++nClass) {
            nCount += request.arDurations.at(nClass);
            AddValue(strText, strName + "_bucket", strLabels + BoundLabel(nClass), to_string(nCount));
        }
        AddValue(strText, strName + "_sum", strLabels, Seconds(request.durations));
        AddValue(strText, strName + "_count", strLabels, to_string(nCount));
    }
}

} // namespace

void AddSingle(std::string& strText, const std::string& strName, const char* szType, const char* szHelp,
               const std::string& strValue)
{
    AddHead(strText, strName, szType, szHelp);
    AddValue(strText, strName, {}, strValue);
}

std::string PrometheusText(const SKtsMetrics& figures)
{
    std::string strText;
    AddCounts(strText, figures);
    AddDurations(strText, figures);
    AddSingle(strText, "ktshttpagent_requests_outstanding", "gauge",
              "Requests that were sent and have not ended.", to_string(figures.nOutstanding));
    AddSingle(strText, "ktshttpagent_requests_queued", "gauge",
              "Requests that wait for a free connection to their server.", to_string(figures.nQueued));
    AddSingle(strText, "ktshttpagent_last_success_timestamp_seconds", "gauge",
              "When a request last succeeded; 0 for never.", SinceTheEpoch(figures.tpLastSuccess));
    AddSingle(strText, "ktshttpagent_last_failure_timestamp_seconds", "gauge",
              "When a request last failed or was refused; 0 for never.",
              SinceTheEpoch(figures.tpLastFailure));
    return strText;
}

} // namespace metrics
