#include "Routes.h"

#include <algorithm>
#include <cstdint>

namespace outbox
{
namespace
{

/// Two kinds of names that can't be equal: no address of an object is part of a stream's name.
std::string LaneKey(const Report& report, const Place& place)
{
    const void* const pOwner =
        report.strStream.empty() ? static_cast<const void*>(&place) : static_cast<const void*>(place.pServer);
    return std::to_string(reinterpret_cast<std::uintptr_t>(pOwner)) + ' ' + report.strStream;
}

} // namespace

Place& Routes::PlaceOf(const Address& address)
{
    if (const auto found = m_mapPlace.find(address.strPlace); found != m_mapPlace.end()) {
        return found->second;
    }
    Server& server = m_mapServer[address.strServer];
    return m_mapPlace.try_emplace(address.strPlace, server, IsHttp(address.strPlace)).first->second;
}

Place& Routes::PlaceOf(const Report& report)
{
    const std::optional<Address> address = ReadAddress(report.strUrl);
    return PlaceOf(address ? *address
                           : Address{{}, report.strUrl, {}, {}}); // what was found on the disk may be no URL
}

Lane* Routes::FindLane(const Report& report, const Place& place)
{
    const auto found = m_mapLane.find(LaneKey(report, place));
    return found == m_mapLane.end() ? nullptr : &found->second;
}

Lane& Routes::MakeLane(const Report& report, Place& place)
{
    if (m_mapLane.size() >= m_nForgetAt) {
        ForgetEmpty();
        m_nForgetAt = std::max<std::size_t>(m_nForgetAt, 2 * m_mapLane.size());
    }
    Lane& lane = m_mapLane[LaneKey(report, place)];
    lane.pServer = place.pServer;
    lane.pPlace = &place;
    lane.bOrdered = !report.strStream.empty();
    return lane;
}

const Server* Routes::Hasten(const std::string& strServer)
{
    const auto found = m_mapServer.find(strServer);
    if (found == m_mapServer.end()) {
        return nullptr;
    }
    for (auto& [strPlace, place] : m_mapPlace) {
        if (place.pServer == &found->second) {
            place.gate.Hasten();
        }
    }
    return &found->second;
}

void Routes::ForgetEmpty()
{
    for (auto it = m_mapLane.begin(); it != m_mapLane.end();) {
        it = it->second.IsEmpty() && it->second.nAdding == 0 ? m_mapLane.erase(it) : std::next(it);
    }
}

} // namespace outbox
