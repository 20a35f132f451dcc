#pragma once

#include <string>
#include <string_view>

namespace outbox
{

/// How an attempt to send a report ended, as the transport tells it.
struct Reply {
    int nError = 0;               ///< as chttpclient.h describes it
    std::string_view strBody;     ///< the server's, or empty
    bool bHttp = true;            ///< whether the URL's scheme is http or https
    bool bMayHaveBeenSeen = true; ///< whether the server may have seen any of the report's body
};

/// What an attempt means for the report.
enum class Verdict {
    Acknowledged, ///< the server has it
    TryLater,     ///< the server does not answer, or not now
    SaidNo,       ///< the server answered 2xx, and its body says no
    Poison,       ///< the server does not accept this report
    WrongPlace,   ///< whoever answers there is not a server that takes reports, or does not let us in
    Hopeless,     ///< no try can mend it: the request itself is invalid
    NotEnded,     ///< cancelled by a stop; the next run sends it again
};

struct Judgement {
    Verdict eVerdict = Verdict::TryLater;
    /// Whether the server may have taken the report although it did not say so. A server that recognises keys
    /// gets it again all the same.
    bool bUnclear = false;
};

/// Judges the end of an attempt. Of a body of more than `MOST_BODY_BYTES` nothing is read; then the status
/// alone counts. May be called from any thread.
/// @throws std::bad_alloc
Judgement Judge(const Reply& reply);

inline constexpr std::size_t MOST_BODY_BYTES = std::size_t{1} << 20U;

/// Why a report did not get through, in words, without anything of its body.
/// @throws std::bad_alloc
std::string Reason(Verdict eVerdict, int nError);

} // namespace outbox
