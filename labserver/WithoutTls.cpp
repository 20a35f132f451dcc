// TLS for a program that is built without OpenSSL: there is none, and whoever wants it is told so.

#include "labserver/MadeAuthority.h"
#include "labserver/TlsContext.h"

#include <stdexcept>

namespace
{

constexpr const char* NO_TLS = "this program was built without TLS";

} // namespace

struct MadeAuthority::Signer {
};

TlsContext::TlsContext(const PemPair&)
{
    throw std::runtime_error(NO_TLS);
}

std::unique_ptr<LabStream> TlsContext::Open(Socket) const
{
    return nullptr;
}

MadeAuthority::MadeAuthority()
{
    throw std::runtime_error(NO_TLS);
}

std::string MadeAuthority::Pem() const
{
    return {};
}

PemPair MadeAuthority::Certificate(LabCertificate, const std::vector<std::string>&) const
{
    return {};
}
