#include "labserver/LabSeenJson.h"

#include "labserver/LabFaults.h"
#include "labserver/LabJson.h"

#include <ctime>
#include <iomanip>
#include <sstream>

namespace
{

constexpr std::size_t MOST_BODY = std::size_t{64} * 1024;

std::tm UtcOf(std::time_t nTime)
{
    std::tm parts{};
#if defined(_WIN32)
    gmtime_s(&parts, &nTime);
#else
    gmtime_r(&nTime, &parts);
#endif
    return parts;
}

Json::Value HeaderToJson(const std::string& strName, const std::string& strValue)
{
    Json::Value header(Json::arrayValue);
    header.append(strName);
    header.append(strValue);
    return header;
}

Json::Value RequestHeaders(const LabSeen& seen)
{
    Json::Value headers(Json::arrayValue);
    for (const auto& [strName, strValue] : seen.vecRequestHeaders) {
        headers.append(HeaderToJson(strName, strValue));
    }
    return headers;
}

/// The headers of a reply's head, which begins with the status line.
Json::Value ReplyHeaders(const std::string& strHead)
{
    Json::Value headers(Json::arrayValue);
    std::istringstream lines(strHead);
    std::string strLine;
    std::getline(lines, strLine);
    while (std::getline(lines, strLine)) {
        const std::size_t nColon = strLine.find(": ");
        if (nColon != std::string::npos) {
            const std::size_t nEnd = strLine.find_last_not_of('\r') + 1;
            headers.append(
                HeaderToJson(strLine.substr(0, nColon), strLine.substr(nColon + 2, nEnd - nColon - 2)));
        }
    }
    return headers;
}

void AddBody(Json::Value& exchange, const std::string& strName, const std::string& strBody)
{
    exchange[strName] = strBody.substr(0, MOST_BODY);
    if (strBody.size() > MOST_BODY) {
        exchange[strName + "Cut"] = true;
    }
}

} // namespace

std::string TimeText(std::chrono::system_clock::time_point time)
{
    using namespace std::chrono;
    const auto nMs = duration_cast<milliseconds>(time.time_since_epoch()).count();
    const std::tm parts = UtcOf(static_cast<std::time_t>(nMs / 1000));
    std::ostringstream text;
    text << std::put_time(&parts, "%Y-%m-%dT%H:%M:%S") << '.' << std::setw(3) << std::setfill('0')
         << nMs % 1000 << 'Z';
    return text.str();
}

Json::Value SummaryToJson(const LabSeen& seen)
{
    Json::Value exchange(Json::objectValue);
    exchange["id"] = Json::UInt64{seen.nId};
    exchange["time"] = TimeText(seen.arrived);
    exchange["durationMs"] = std::chrono::duration<double, std::milli>(seen.duration).count();
    exchange["host"] = seen.strHost;
    exchange["port"] = seen.nPort;
    exchange["tls"] = seen.bTls;
    exchange["method"] = seen.strMethod;
    exchange["path"] = seen.strPath;
    exchange["target"] = seen.strTarget;
    exchange["requestBytes"] = Json::UInt64{seen.strRequestBody.size()};
    exchange["status"] = seen.nStatus;
    exchange["replyBytes"] = Json::UInt64{seen.strReplyBody.size()};
    exchange["outcome"] = NameOf(OutcomeOf(seen));
    if (seen.optFault) {
        exchange["fault"] = FaultToJson(*seen.optFault);
    }
    return exchange;
}

Json::Value SeenToJson(const LabSeen& seen)
{
    Json::Value exchange = SummaryToJson(seen);
    exchange["requestHeaders"] = RequestHeaders(seen);
    exchange["replyHeaders"] = ReplyHeaders(seen.strReplyHead);
    AddBody(exchange, "requestBody", seen.strRequestBody);
    AddBody(exchange, "replyBody", seen.strReplyBody);
    return exchange;
}

Json::Value SecondToJson(const LabSecond& second)
{
    Json::Value value(Json::objectValue);
    value["second"] = TimeText(std::chrono::system_clock::time_point(std::chrono::seconds(second.nSecond)));
    value["count"] = Json::UInt64{second.nCount};
    value["failed"] = Json::UInt64{second.nFailed};
    value["p50Ms"] = second.fMedianMs;
    value["p99Ms"] = second.f99Ms;
    value["mostMs"] = second.fMostMs;
    return value;
}
