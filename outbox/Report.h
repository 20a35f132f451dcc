#pragma once

#include <cstdint>
#include <string>

namespace outbox
{

/// A report as it goes on the wire, and what has to be known to send it again.
struct Report {
    int nType = 0;         ///< request type id
    std::string strUrl;    ///< without user name and password, which are never written to a file
    std::string strHeader; ///< the header line of the request type; empty for none
    std::string strBody;   ///< exactly the bytes of the POST
    std::string strStream; ///< reports of one stream are sent in order, one at a time; empty for no order
    std::string strKey;    ///< by which the server recognises a report that it has already; set when stored
    std::int64_t nStoredMs = 0; ///< when it was stored, milliseconds since 1970 (UTC); for people only
};

/// Identifies a stored report within this process. Smaller ones are older.
struct ReportId {
    std::uint64_t nRun = 0;      ///< number of the run; those that were found are smaller than our own
    std::uint64_t nSequence = 0; ///< within the run, from 1
};

inline bool operator<(ReportId a, ReportId b)
{
    return a.nRun != b.nRun ? a.nRun < b.nRun : a.nSequence < b.nSequence;
}
inline bool operator==(ReportId a, ReportId b)
{
    return a.nRun == b.nRun && a.nSequence == b.nSequence;
}
inline bool operator!=(ReportId a, ReportId b)
{
    return !(a == b);
}

/// How a stored report ended.
enum class Ending {
    Acknowledged, ///< the server has it
    Dead,         ///< no further try: it lies among the dead letters
    Dropped,      ///< an operator took it out
    Parked,       ///< the server may have it, and knows no keys: it lies among the dead letters for a person
};

} // namespace outbox
