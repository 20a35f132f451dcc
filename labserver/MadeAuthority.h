#pragma once

#include "labserver/TlsContext.h"

#include <memory>
#include <string>
#include <vector>

/// The certificates that a server can show; the names are those of a scenario's steps.
enum class LabCertificate {
    Valid,       ///< "valid"
    Expired,     ///< "expired": since yesterday
    NotYetValid, ///< "not-yet-valid": from tomorrow on
    WrongHost,   ///< "wrong-host": for another server
    SelfSigned,  ///< "self-signed": by no authority
};

/// An authority that is made on the spot, and signs certificates for one server. Its key is nowhere but in
/// this object. In a program that was built without OpenSSL the constructor throws.
class MadeAuthority
{
public:
    MadeAuthority(); ///< @throws std::runtime_error when it can't be made

    std::string Pem() const; ///< its own certificate

    /// @param vecHosts  host names and addresses that the certificate is for; see LabCertificate::WrongHost
    /// @throws std::runtime_error when it can't be made
    PemPair Certificate(LabCertificate eKind, const std::vector<std::string>& vecHosts) const;

private:
    struct Signer;
    std::shared_ptr<const Signer> m_pSigner;
};
