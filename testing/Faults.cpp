#include "Faults.h"

#include <ktshttpagent/chttpclient.h>

#include <algorithm>
#include <array>

const FaultWords& WordsOf(EKtsFault eFault)
{
    static constexpr std::array<FaultWords, 7> FAULTS{{
        {EKtsFault::NameNotFound, CHttpOutcome::NameNotFound, QNetworkReply::HostNotFoundError,
         "Host not found"},
        {EKtsFault::ConnectionRefused, CHttpOutcome::ConnectionRefused, QNetworkReply::ConnectionRefusedError,
         "Connection refused"},
        {EKtsFault::ConnectionReset, CHttpOutcome::ConnectionReset, QNetworkReply::RemoteHostClosedError,
         "Connection reset by peer"},
        {EKtsFault::NoReply, CHttpOutcome::NoReply, QNetworkReply::RemoteHostClosedError,
         "Connection closed"},
        {EKtsFault::TlsFailed, CHttpOutcome::TlsFailed, QNetworkReply::SslHandshakeFailedError,
         "SSL handshake failed"},
        {EKtsFault::UntrustedCertificate, CHttpOutcome::UntrustedCertificate,
         QNetworkReply::SslHandshakeFailedError, "The certificate can't be trusted"},
        {EKtsFault::TimedOut, CHttpOutcome::TimedOut, QNetworkReply::TimeoutError,
         "Socket operation timed out"},
    }};
    return *std::find_if(FAULTS.begin(), FAULTS.end(),
                         [eFault](const FaultWords& words) { return words.eFault == eFault; });
}
