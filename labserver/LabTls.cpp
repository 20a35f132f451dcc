#include "labserver/LabTls.h"

#include "labserver/LabFile.h"

#include <algorithm>
#include <stdexcept>

namespace
{

TlsContext ContextFrom(const std::string& strCertificateFile, const std::string& strKeyFile)
{
    const PemPair pair{ContentOf(strCertificateFile), ContentOf(strKeyFile)};
    try {
        return TlsContext(pair);
    } catch (const std::exception& error) {
        throw std::runtime_error("can't use the certificate in " + strCertificateFile + " with the key in " +
                                 strKeyFile + ": " + error.what());
    }
}

/// How clients may name a server that listens on an address.
std::vector<std::string> NamesOf(const std::string& strAddress)
{
    std::vector<std::string> vecNames = {"localhost", "127.0.0.1", "::1"};
    if (std::find(vecNames.begin(), vecNames.end(), strAddress) == vecNames.end()) {
        vecNames.push_back(strAddress);
    }
    return vecNames;
}

} // namespace

LabTls::LabTls(const LabServerOptions& options) : m_bRequired(options.bTls), m_strAddress(options.strAddress)
{
    if (!options.bTls) {
        return;
    }
    if (options.strCertificateFile.empty()) {
        ContextOf(LabCertificate::Valid);
    } else {
        m_mapContexts.emplace(LabCertificate::Valid,
                              ContextFrom(options.strCertificateFile, options.strKeyFile));
    }
}

std::string LabTls::Authority()
{
    const std::lock_guard lock(m_mutex);
    return MadeHere().Pem();
}

void LabTls::Show(const LabShown& shown)
{
    const std::lock_guard lock(m_mutex);
    ContextOf(shown.eCertificate); // if it can't be made, whoever wants it is told so now
    m_vecShown.push_back(shown);
}

void LabTls::RemoveScenario(const std::string& strScenario)
{
    const std::lock_guard lock(m_mutex);
    m_vecShown.erase(std::remove_if(m_vecShown.begin(), m_vecShown.end(),
                                    [&](const LabShown& shown) { return shown.strScenario == strScenario; }),
                     m_vecShown.end());
}

std::optional<LabCertificate> LabTls::Shown() const
{
    const auto now = std::chrono::steady_clock::now();
    const std::lock_guard lock(m_mutex);
    const auto it = std::find_if(m_vecShown.rbegin(), m_vecShown.rend(), [now](const LabShown& shown) {
        return shown.tpBegin <= now && now < shown.tpEnd;
    });
    if (it != m_vecShown.rend()) {
        return it->eCertificate;
    }
    return m_bRequired ? std::optional(LabCertificate::Valid) : std::nullopt;
}

std::unique_ptr<LabStream> LabTls::Open(Socket nSocket, LabCertificate eCertificate)
{
    const std::lock_guard lock(m_mutex);
    return ContextOf(eCertificate).Open(nSocket);
}

const TlsContext& LabTls::ContextOf(LabCertificate eCertificate)
{
    auto it = m_mapContexts.find(eCertificate);
    if (it == m_mapContexts.end()) {
        TlsContext context(MadeHere().Certificate(eCertificate, NamesOf(m_strAddress)));
        it = m_mapContexts.emplace(eCertificate, std::move(context)).first;
    }
    return it->second;
}

const MadeAuthority& LabTls::MadeHere()
{
    if (m_pAuthority == nullptr) {
        m_pAuthority = std::make_unique<const MadeAuthority>();
    }
    return *m_pAuthority;
}
