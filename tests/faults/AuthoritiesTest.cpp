// Which authorities are trusted: those of the system, or those of a file alone. The tests replace the
// system's authorities by their own, in their own mount namespace.

#include "Nginx.h"
#include "OwnMounts.h"
#include "TransportTest.h"

#include <curl/curl.h>
#include <gmock/gmock.h>

#include <cstdlib>
#include <optional>
#include <ostream>

namespace fs = std::filesystem;
using testing::Each;

namespace
{

constexpr const char* NAME = "IP:127.0.0.2"; // where nginx listens

/// A server, or a proxy that is reached over TLS, and what the callback gets.
struct TlsSigner {
    const char* szName;
    bool bProxy;
    const char* szSigner; ///< "System" for an authority of the system, "Other" for another one
    const char* szFile;   ///< the signer named in CHTTPCLIENT_CA_FILE; null for none
    int nHttpError;

    friend void PrintTo(const TlsSigner& row, std::ostream* pOut) { *pOut << row.szName; }
};

class TransportAuthority : public TransportTest, public testing::WithParamInterface<TlsSigner>
{
protected:
    void SetUp() override
    {
        if (!Nginx::IsInstalled()) {
            GTEST_SKIP() << "nginx is not installed; ./dev setup does it";
        }
        for (const char* szAuthority : {"System", "Other", "Bystander"}) {
            fs::create_directory(Folder(szAuthority));
            ASSERT_TRUE(MakeCertificates(Folder(szAuthority), NAME, "2", szAuthority));
        }
        const char* const szPlace = curl_version_info(CURLVERSION_NOW)->capath;
        if (szPlace == nullptr) {
            GTEST_SKIP() << "this libcurl supports no folder of authorities";
        }
        if (const std::string strWhyNot = OwnMounts(); !strWhyNot.empty()) {
            GTEST_SKIP() << strWhyNot;
        }
        PutSystemAuthorities(szPlace);
        m_nginx.emplace(Folder(GetParam().szSigner), " ssl",
                        "ssl_certificate server.pem; ssl_certificate_key server.key;\n"
                        "location / { return 200 'from nginx'; }");
    }

    /// Sends a request over TLS to nginx, as the server or as the proxy for one.
    void GetFromNginx()
    {
        const std::string strNginx =
            "https://" + std::string(Nginx::ADDRESS) + ":" + std::to_string(m_nginx->Port());
        if (GetParam().bProxy) {
            Set("http_proxy", strNginx);
        }
        Get(GetParam().bProxy ? "http://laboratory.invalid/" : strNginx + "/");
    }

    fs::path Folder(const std::string& strAuthority) const { return m_folder.Path() / strAuthority; }

private:
    /// A folder like the system's: an authority under the hash of its name, and a file of authorities. The
    /// file holds one that signs nothing, so that accepted certificates are accepted because of the folder.
    void PutSystemAuthorities(const fs::path& place)
    {
        const fs::path folder = Folder("authorities");
        fs::create_directory(folder);
        fs::copy_file(Folder("System") / "ca.pem", folder / "system.pem");
        ASSERT_EQ(std::system(("openssl rehash '" + folder.string() + "'").c_str()), 0);
        fs::copy_file(Folder("Bystander") / "ca.pem", folder / "ca-certificates.crt");
        ASSERT_EQ(PutInPlaceOf(place, folder), "");
    }

    const LogFolder m_folder; ///< any temporary folder will do
    std::optional<Nginx> m_nginx;
};

} // namespace

TEST_P(TransportAuthority, CountsOrDoesNot)
{
    if (GetParam().szFile != nullptr) {
        Set("CHTTPCLIENT_CA_FILE", (Folder(GetParam().szFile) / "ca.pem").string());
    }
    Start();
    GetFromNginx();
    ASSERT_TRUE(m_replies.WaitFor(1));
    GetFromNginx();
    RepliesAfterShutdown(2);
    EXPECT_THAT(m_replies.Errors(), Each(GetParam().nHttpError));
}

INSTANTIATE_TEST_SUITE_P(
    Signers, TransportAuthority,
    testing::Values(TlsSigner{"OfTheSystem", false, "System", nullptr, 0},
                    TlsSigner{"OfTheSystemBesideAFileOfAnother", false, "System", "Other", -60},
                    TlsSigner{"OfTheFile", false, "Other", "Other", 0},
                    TlsSigner{"OfNobodyKnown", false, "Other", nullptr, -60},
                    TlsSigner{"OfTheSystemForAProxy", true, "System", nullptr, 0},
                    TlsSigner{"OfTheSystemForAProxyBesideAFileOfAnother", true, "System", "Other", -60},
                    TlsSigner{"OfTheFileForAProxy", true, "Other", "Other", 0},
                    TlsSigner{"OfNobodyKnownForAProxy", true, "Other", nullptr, -60}),
    testing::PrintToStringParamName());
