#include "labserver/LabObserver.h"

#include "labserver/LabEventStream.h"
#include "labserver/LabHttp.h"
#include "labserver/LabJson.h"
#include "labserver/LabQueries.h"
#include "labserver/LabSeenJson.h"
#include "labserver/LabWatch.h"

#include <algorithm>
#include <limits>

namespace
{

constexpr int MOST_STREAMS = 16;
constexpr Json::Int64 MOST_LISTED = 1000;

std::string OptionalText(const LabRequest& request, const char* szName)
{
    return request.http.has_param(szName) ? request.http.get_param_value(szName) : "";
}

/// One of the few streams that there may be at a time; counted while this object lives.
class StreamPlace
{
public:
    /// @throws LabError (503) when there are too many
    explicit StreamPlace(std::atomic<int>& nStreams) : m_nStreams(nStreams)
    {
        if (++m_nStreams > MOST_STREAMS) {
            --m_nStreams;
            throw LabError(503, "Too many clients watch already; there may be " +
                                    std::to_string(MOST_STREAMS) + ".");
        }
    }
    ~StreamPlace() { --m_nStreams; }
    StreamPlace(const StreamPlace&) = delete;
    StreamPlace& operator=(const StreamPlace&) = delete;

private:
    std::atomic<int>& m_nStreams;
};

/// The last exchange that a client has: what its header Last-Event-ID says, otherwise the latest of all.
std::uint64_t LastOf(const LabRequest& request, const LabTraffic& traffic)
{
    const char* const szHeader = "Last-Event-ID";
    if (!request.http.has_header(szHeader)) {
        return traffic.LastId();
    }
    return static_cast<std::uint64_t>(IntegerOf(request.http.get_header_value(szHeader), szHeader));
}

} // namespace

Json::Value ListExchanges(LabContext& context, const LabRequest& request)
{
    const Json::Int64 nBefore = CountOf(request, "before", std::numeric_limits<Json::Int64>::max());
    const Json::Int64 nLimit = CountOf(request, "limit", 100);
    if (nLimit < 1 || nLimit > MOST_LISTED) {
        throw LabError(400, "\"limit\" is not within 1 to " + std::to_string(MOST_LISTED) + ".");
    }
    const std::string strPath = OptionalText(request, "path");
    const std::string strHost = OptionalText(request, "host");
    const std::string strOutcome = OptionalText(request, "outcome");
    const auto fnWanted = [&](const LabSeen& seen) {
        return seen.strPath.find(strPath) != std::string::npos &&
               seen.strHost.find(strHost) != std::string::npos &&
               (strOutcome.empty() || strOutcome == NameOf(OutcomeOf(seen)));
    };
    Json::Value exchanges(Json::arrayValue);
    for (const LabTraffic::Entry& pSeen : context.watch.traffic.Before(
             static_cast<std::uint64_t>(nBefore), static_cast<std::size_t>(nLimit), fnWanted)) {
        exchanges.append(SummaryToJson(*pSeen));
    }
    Json::Value reply(Json::objectValue);
    reply["count"] = exchanges.size();
    reply["exchanges"] = std::move(exchanges);
    return reply;
}

Json::Value ShowExchange(LabContext& context, const LabRequest& request)
{
    const Json::Int64 nId = IntegerOf(request.strTail, "id");
    const LabTraffic::Entry pSeen =
        context.watch.traffic.Find(static_cast<std::uint64_t>(std::max<Json::Int64>(nId, 0)));
    if (pSeen == nullptr) {
        throw LabError(404, "There is no such exchange, or not any more.");
    }
    return SeenToJson(*pSeen);
}

Json::Value ListRates(LabContext& context, const LabRequest&)
{
    Json::Value seconds(Json::arrayValue);
    for (const LabSecond& second : context.watch.rates.All(LabRates::Now())) {
        seconds.append(SecondToJson(second));
    }
    Json::Value reply(Json::objectValue);
    reply["seconds"] = std::move(seconds);
    return reply;
}

Json::Value StreamEvents(LabContext& context, const LabRequest& request)
{
    LabWatch& watch = context.watch;
    if (request.http.method == "HEAD") {
        return {};
    }
    const auto pPlace = std::make_shared<StreamPlace>(watch.nStreams);
    const auto pStream =
        std::make_shared<LabEventStream>(watch, LastOf(request, watch.traffic), LabRates::Now());
    LabHttp::Current().StreamReply("text/event-stream; charset=utf-8",
                                   [pPlace, pStream, strBegin = std::string("retry: 2000\n\n")]() mutable {
                                       return std::exchange(strBegin, "") + pStream->Next(LabRates::Now());
                                   });
    return {};
}
