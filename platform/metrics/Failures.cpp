#include "Recorder.h"

#include <algorithm>
#include <iterator>

namespace metrics
{
namespace
{

struct Row {
    int nHttpError;
    EKtsFailure eFailure;
};

/// The transport's negative outcomes: libcurl's error numbers, negated, and one of its own.
constexpr Row FAILURES[] = {
    {-1000, EKtsFailure::NotSent},      // too many outstanding
    {-98, EKtsFailure::TlsFailed},      // the server wants a client certificate
    {-97, EKtsFailure::NotConnected},   // the proxy
    {-91, EKtsFailure::TlsFailed},      // the certificate's status
    {-90, EKtsFailure::TlsFailed},      // a pinned key
    {-83, EKtsFailure::TlsFailed},      // the issuer
    {-82, EKtsFailure::TlsFailed},      // a revocation list
    {-77, EKtsFailure::TlsFailed},      // the authorities' file
    {-66, EKtsFailure::TlsFailed},      // the TLS library
    {-65, EKtsFailure::ConnectionLost}, // a kept connection, after a part of the body was sent
    {-63, EKtsFailure::Unreadable},     // too large
    {-61, EKtsFailure::Unreadable},     // can't be decompressed
    {-60, EKtsFailure::TlsFailed},      // the certificate
    {-59, EKtsFailure::TlsFailed},      // the ciphers
    {-58, EKtsFailure::TlsFailed},      // a client certificate
    {-56, EKtsFailure::ConnectionLost}, // reset
    {-55, EKtsFailure::ConnectionLost}, // while it was sent
    {-54, EKtsFailure::TlsFailed},      // the TLS library
    {-53, EKtsFailure::TlsFailed},      // the TLS library
    {-52, EKtsFailure::ConnectionLost}, // no reply
    {-43, EKtsFailure::NotSent},        // the header line
    {-42, EKtsFailure::Cancelled},      // at the stop
    {-35, EKtsFailure::TlsFailed},      // no agreement
    {-28, EKtsFailure::TimedOut},       // in time
    {-18, EKtsFailure::ConnectionLost}, // the reply ended early
    {-8, EKtsFailure::Unreadable},      // the reply's header
    {-7, EKtsFailure::NotConnected},    // refused
    {-6, EKtsFailure::NameNotFound},    // the server's name
    {-5, EKtsFailure::NameNotFound},    // the proxy's name
    {-3, EKtsFailure::NotSent},         // the URL
    {-2, EKtsFailure::NotSent},         // not running
    {-1, EKtsFailure::Unreadable},      // no HTTP; or the URL's scheme
};

} // namespace

EKtsFailure FailureOf(int nHttpError)
{
    if (nHttpError > 0) {
        return EKtsFailure::HttpStatus;
    }
    const auto* const pRow = std::find_if(std::begin(FAILURES), std::end(FAILURES),
                                          [=](const Row& row) { return row.nHttpError == nHttpError; });
    return pRow == std::end(FAILURES) ? EKtsFailure::Other : pRow->eFailure;
}

bool IsUnreached(EKtsFailure eFailure)
{
    return eFailure == EKtsFailure::NameNotFound || eFailure == EKtsFailure::NotConnected ||
           eFailure == EKtsFailure::TlsFailed || eFailure == EKtsFailure::TimedOut ||
           eFailure == EKtsFailure::ConnectionLost;
}

} // namespace metrics

const char* KtsFailureName(EKtsFailure eFailure)
{
    static constexpr std::array<const char*, KTS_FAILURES> NAMES{
        "not_sent",        "name_not_found", "not_connected", "tls_failed", "timed_out",
        "connection_lost", "http_status",    "unreadable",    "cancelled",  "other"};
    const auto nFailure = static_cast<std::size_t>(eFailure);
    return nFailure < NAMES.size() ? NAMES[nFailure] : "other";
}
