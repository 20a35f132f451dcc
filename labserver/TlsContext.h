#pragma once

#include "labserver/LabStream.h"

#include <memory>
#include <string>

/// A certificate and its key, in PEM.
struct PemPair {
    std::string strCertificates; ///< the server's, and behind it those of authorities, if any
    std::string strKey;          ///< without a passphrase
};

/// A server's certificate, ready for connections. In a program that was built without OpenSSL there is none:
/// the constructor throws.
class TlsContext
{
public:
    /// @throws std::runtime_error that says why these can't be used
    explicit TlsContext(const PemPair& pair);

    /// The server's side of TLS on a socket, which must stay open as long as the stream lives, and from which
    /// nothing was read. May be called from any thread.
    /// @throws std::bad_alloc
    std::unique_ptr<LabStream> Open(Socket nSocket) const;

private:
    std::shared_ptr<void> m_pContext; ///< an SSL_CTX
};
