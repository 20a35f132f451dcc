#include "labserver/LabEventStream.h"

#include "labserver/LabJson.h"
#include "labserver/LabSeenJson.h"

#include "platform/text/Escaping.h"

#include <algorithm>

namespace
{

/// An event may not contain a line end, and JSON does not.
std::string Event(const std::string& strName, const Json::Value& data, const std::string& strId = {})
{
    return (strId.empty() ? "" : "id: " + strId + "\n") + "event: " + strName +
           "\ndata: " + EscapeUnsafeInJson(WriteJson(data)) + "\n\n";
}

} // namespace

LabEventStream::LabEventStream(const LabWatch& watch, std::uint64_t nAfter, std::int64_t nSecond)
    : m_watch(watch), m_nAfter(nAfter), m_nSecond(nSecond), m_mapTold(watch.events.All())
{
}

std::string LabEventStream::Next(std::int64_t nSecond)
{
    std::string strEvents;
    SendExchanges(strEvents);
    if (nSecond > m_nSecond) {
        SendSecond(nSecond - 1, strEvents);
        m_nSecond = nSecond;
        m_nRoom = MOST_A_SECOND;
    }
    SendChanges(strEvents);
    return strEvents;
}

void LabEventStream::SendSecond(std::int64_t nSecond, std::string& strEvents)
{
    Json::Value second = SecondToJson(m_watch.rates.Second(nSecond));
    second["skipped"] = Json::UInt64{m_nSkipped};
    strEvents += Event("second", second);
    m_nSkipped = 0;
}

void LabEventStream::SendExchanges(std::string& strEvents)
{
    const std::uint64_t nLast = m_watch.traffic.LastId();
    const std::uint64_t nMissed = nLast - std::min(m_nAfter, nLast);
    const std::uint64_t nSent = std::min<std::uint64_t>(nMissed, m_nRoom);
    for (const LabTraffic::Entry& pSeen :
         m_watch.traffic.After(nLast - nSent, static_cast<std::size_t>(nSent))) {
        strEvents += Event("exchange", SummaryToJson(*pSeen), std::to_string(pSeen->nId));
    }
    m_nRoom -= static_cast<std::size_t>(nSent);
    m_nSkipped += nMissed - nSent;
    m_nAfter = nLast;
}

void LabEventStream::SendChanges(std::string& strEvents)
{
    LabEvents::Changes mapNow = m_watch.events.All();
    for (const auto& [change, nTimes] : mapNow) {
        if (const auto told = m_mapTold.find(change); told == m_mapTold.end() || told->second != nTimes) {
            Json::Value data(Json::objectValue);
            data["what"] = change.first;
            if (!change.second.empty()) {
                data["name"] = change.second;
            }
            strEvents += Event("change", data);
        }
    }
    m_mapTold = std::move(mapNow);
}
