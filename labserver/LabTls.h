#pragma once

#include "labserver/LabServerOptions.h"
#include "labserver/LabStream.h"
#include "labserver/MadeAuthority.h"
#include "labserver/TlsContext.h"

#include <chrono>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

/// A certificate that a server shows for a time instead of its usual one.
struct LabShown {
    LabCertificate eCertificate = LabCertificate::Valid;
    std::string strScenario; ///< the scenario that it belongs to
    std::chrono::steady_clock::time_point tpBegin;
    std::chrono::steady_clock::time_point tpEnd;
};

/// Which certificate a server shows, and the TLS of its connections. Certificates that nobody brought are
/// made when they are needed. Thread-safe.
class LabTls
{
public:
    /// @throws std::runtime_error when the certificate or the key of the options can't be used
    explicit LabTls(const LabServerOptions& options);

    /// Whether hosts must use TLS. If not, they may if a certificate is shown.
    bool IsRequired() const { return m_bRequired; }

    /// The authority's certificate, in PEM, by which clients can check those that are made here.
    std::string Authority();

    /// Shows another certificate; of several whose time it is, the latest.
    /// @throws std::runtime_error when it can't be made
    void Show(const LabShown& shown);
    void RemoveScenario(const std::string& strScenario); ///< all that belong to it

    /// The certificate for connections that begin now; none when the server speaks no TLS.
    std::optional<LabCertificate> Shown() const;

    /// TLS on a connection whose client has begun it.
    /// @throws std::runtime_error when the certificate can't be made
    std::unique_ptr<LabStream> Open(Socket nSocket, LabCertificate eCertificate);

private:
    const TlsContext& ContextOf(LabCertificate eCertificate);
    const MadeAuthority& MadeHere();

    const bool m_bRequired;
    const std::string m_strAddress;
    mutable std::mutex m_mutex;
    std::vector<LabShown> m_vecShown; ///< in the order in which they were added
    std::unique_ptr<const MadeAuthority> m_pAuthority;
    std::map<LabCertificate, TlsContext> m_mapContexts; ///< those that were needed so far
};
