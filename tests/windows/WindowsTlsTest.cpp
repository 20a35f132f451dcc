// Encrypted exchanges, through Windows' own TLS, with a real server that a script has started on this
// machine.

#include "TransportTest.h"
#include "Wine.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>
#include <stdexcept>
#include <vector>

#include <windows.h>
// Must follow windows.h, whose types it uses.
#include <wincrypt.h>

using testing::Each;

namespace
{

namespace fs = std::filesystem;

const fs::path FOLDER = TLS_FOLDER;

std::string UrlOf(const std::string& strServer)
{
    std::ifstream ports(FOLDER / "ports.txt");
    std::string strName;
    for (int nPort = 0; ports >> strName >> nPort;) {
        if (strName == strServer) {
            // By name: on Windows, libcurl given a CA file does not compare addresses with a certificate.
            return "https://localhost:" + std::to_string(nPort) + "/";
        }
    }
    throw std::runtime_error("no server " + strServer);
}

/// Adds the authority to those that the user trusts, for the lifetime of this object.
class TrustedAuthority
{
public:
    TrustedAuthority() : m_hStore(::CertOpenSystemStoreW(0, L"ROOT"))
    {
        std::ifstream file(FOLDER / "ca.pem");
        const std::string strPem{std::istreambuf_iterator<char>(file), {}};
        std::vector<BYTE> vecBytes(strPem.size());
        auto nBytes = static_cast<DWORD>(vecBytes.size());
        EXPECT_NE(::CryptStringToBinaryA(strPem.c_str(), 0, CRYPT_STRING_BASE64HEADER, vecBytes.data(),
                                         &nBytes, nullptr, nullptr),
                  0);
        EXPECT_NE(::CertAddEncodedCertificateToStore(m_hStore, X509_ASN_ENCODING, vecBytes.data(), nBytes,
                                                     CERT_STORE_ADD_REPLACE_EXISTING, &m_pCertificate),
                  0);
    }
    ~TrustedAuthority()
    {
        ::CertDeleteCertificateFromStore(m_pCertificate);
        ::CertCloseStore(m_hStore, 0);
    }
    TrustedAuthority(const TrustedAuthority&) = delete;
    TrustedAuthority& operator=(const TrustedAuthority&) = delete;

private:
    const HCERTSTORE m_hStore;
    PCCERT_CONTEXT m_pCertificate = nullptr;
};

} // namespace

/// A server, and what the callback gets when the authority comes from a file.
struct WindowsPeer {
    const char* szServer;
    int nHttpError;

    friend void PrintTo(const WindowsPeer& row, std::ostream* pOut) { *pOut << row.szServer; }
};

class WindowsTls : public TransportTest, public testing::WithParamInterface<WindowsPeer>
{
protected:
    std::vector<int> ErrorsOfTwo(const std::string& strServer)
    {
        Start();
        Get(UrlOf(strServer));
        EXPECT_TRUE(m_replies.WaitFor(1));
        Get(UrlOf(strServer));
        RepliesAfterShutdown(2);
        return m_replies.Errors();
    }
};

TEST_P(WindowsTls, WithAnAuthorityOfAFileHasOneOutcomeARequest)
{
    Set("CHTTPCLIENT_CA_FILE", (FOLDER / "ca.pem").string());
    EXPECT_THAT(ErrorsOfTwo(GetParam().szServer), Each(GetParam().nHttpError));
}

INSTANTIATE_TEST_SUITE_P(Peers, WindowsTls,
                         testing::Values(WindowsPeer{"proper", 0}, WindowsPeer{"expired", -60},
                                         WindowsPeer{"othername", -60}),
                         testing::PrintToStringParamName());

TEST_F(WindowsTls, WithoutThatFileTrustsNotTheAuthority)
{
    if (RunsUnderWine()) {
        GTEST_SKIP() << "Wine's TLS trusts every certificate that it is asked to check by the system's store";
    }
    EXPECT_THAT(ErrorsOfTwo("proper"), Each(-60));
}

TEST_F(WindowsTls, TrustsTheAuthoritiesOfTheSystemsStore)
{
    if (RunsUnderWine()) {
        GTEST_SKIP() << "Wine's TLS trusts every certificate that it is asked to check by the system's store";
    }
    const TrustedAuthority authority;
    EXPECT_THAT(ErrorsOfTwo("proper"), Each(0));
}

TEST_F(WindowsTls, TakesTheFileFromAFolderOfAnyName)
{
    const LogFolder folder;
    const fs::path pathUser = folder.Path() / fs::u8path("Użytkownik 用户");
    fs::create_directory(pathUser);
    fs::copy_file(FOLDER / "ca.pem", pathUser / "ca.pem");
    Set("CHTTPCLIENT_CA_FILE", (pathUser / "ca.pem").u8string());
    EXPECT_THAT(ErrorsOfTwo("proper"), Each(0));
}

TEST_F(WindowsTls, WithAnAuthorityFileThatIsMissingFails)
{
    Set("CHTTPCLIENT_CA_FILE", "C:\\nowhere\\ca.pem");
    EXPECT_THAT(ErrorsOfTwo("proper"), Each(-77));
}
