// HTTPS of the lab server, and the certificates that it shows. The client is httplib's, on OpenSSL.

#include "LabFixture.h"
#include "RawClient.h"

#include "labserver/MadeAuthority.h"
#include "labserver/OpenSsl.h"

#include <csignal>
#include <fstream>
#include <gmock/gmock.h>
#include <memory>
#include <openssl/ssl.h>
#include <openssl/x509_vfy.h>

namespace
{

using testing::HasSubstr;
using testing::StartsWith;

std::string Written(const std::string& strFile, const std::string& strText)
{
    std::ofstream(strFile, std::ios::binary) << strText;
    return strFile;
}

/// A client that speaks HTTPS, and trusts the authority in a file only.
class TlsClient
{
public:
    TlsClient(const std::string& strHost, int nPort, const std::string& strAuthorityFile)
        : m_client(strHost, nPort)
    {
        m_client.set_ca_cert_path(strAuthorityFile.c_str());
        m_client.set_keep_alive(true);
    }

    /// @return null without a reply
    httplib::Result Get(const std::string& strTarget) { return m_client.Get(strTarget.c_str()); }
    httplib::Result Post(const std::string& strTarget, const std::string& strBody)
    {
        return m_client.Post(strTarget.c_str(), strBody, "application/json");
    }

    /// What OpenSSL found when it checked the certificate.
    long Found() const { return m_client.get_openssl_verify_result(); }

private:
    httplib::SSLClient m_client;
};

/// A server whose hosts must use HTTPS, if a test does not begin with another one.
class LabTlsTest : public ::testing::Test
{
protected:
    // The client's side of TLS writes in a way that raises this signal.
    LabTlsTest() : m_pfnBefore(std::signal(SIGPIPE, SIG_IGN)) {}
    ~LabTlsTest() override { std::signal(SIGPIPE, m_pfnBefore); }

    void Begin(LabServerOptions options = Required())
    {
        m_pServer = std::make_unique<LabServer>(std::move(options));
        m_pServer->Start();
        Written(AuthorityFile(), Operator().Get("/lab/authority.pem").strBody);
    }

    static LabServerOptions Required()
    {
        LabServerOptions options;
        options.bTls = true;
        return options;
    }

    std::string AuthorityFile() const { return m_folder.File("authority.pem"); }
    LabClient Operator() const { return LabClient(m_pServer->Port()); }
    TlsClient Client(const std::string& strHost = "127.0.0.1") const
    {
        return {strHost, m_pServer->Port(), AuthorityFile()};
    }

    const TemporaryFolder m_folder;
    std::unique_ptr<LabServer> m_pServer;

private:
    void (*const m_pfnBefore)(int);
};

TEST_F(LabTlsTest, ServesHostsOverOneConnection)
{
    Begin();
    TlsClient client = Client();
    for (const char* szPath : {"/posts/1", "/posts/2"}) {
        const httplib::Result reply = client.Get(szPath);
        ASSERT_TRUE(reply) << client.Found();
        EXPECT_EQ(reply->status, 200);
    }
    const Json::Value exchanges = Operator().Exchanges(2);
    EXPECT_EQ(exchanges[0]["port"], exchanges[1]["port"]);
    EXPECT_EQ(exchanges[0]["tls"], true);
}

TEST_F(LabTlsTest, HasACertificateForEachWayToNameThisMachine)
{
    Begin();
    EXPECT_TRUE(Client("localhost").Get("/posts/1"));
    EXPECT_TRUE(Client("127.0.0.1").Get("/posts/1"));
}

TEST_F(LabTlsTest, HasACertificateForTheAddressThatItListensOn)
{
    LabServerOptions options = Required();
    options.strAddress = "127.0.0.2";
    LabServer server(options);
    const int nPort = server.Start();
    const auto authority = httplib::Client("127.0.0.2", nPort).Get("/lab/authority.pem");
    ASSERT_TRUE(authority);
    TlsClient client("127.0.0.2", nPort, Written(AuthorityFile(), authority->body));
    EXPECT_TRUE(client.Get("/posts/1")) << client.Found();
}

TEST_F(LabTlsTest, RefusesHostsWithoutItInWordsAndServesTheOperatorBothWays)
{
    Begin();
    LabClient plain = Operator();
    const LabReply refusal = plain.Get("/posts/1");
    EXPECT_EQ(refusal.nStatus, 400);
    EXPECT_THAT(refusal.json["message"].asString(), HasSubstr("This server speaks HTTPS"));
    EXPECT_EQ(Operator().Get("/lab/faults").nStatus, 200);
    EXPECT_EQ(Operator().Exchanges(1)[0]["tls"], false);
    TlsClient client = Client();
    const httplib::Result faults = client.Get("/lab/faults");
    ASSERT_TRUE(faults);
    EXPECT_EQ(faults->status, 200);
}

TEST_F(LabTlsTest, TakesAChangeFromItsOwnPageOverIt)
{
    Begin();
    httplib::SSLClient client("127.0.0.1", m_pServer->Port());
    client.set_ca_cert_path(AuthorityFile().c_str());
    const std::string strOrigin = "https://127.0.0.1:" + std::to_string(m_pServer->Port());
    const std::string strScenario = R"({"name": "slow"})";
    const auto fnStatus = [&](const std::string& strFrom) {
        const auto reply =
            client.Post("/lab/scenarios", {{"Origin", strFrom}}, strScenario, "application/json");
        return reply ? reply->status : 0;
    };
    EXPECT_EQ(fnStatus(strOrigin), 200);
    EXPECT_EQ(fnStatus("https://elsewhere.invalid"), 403);
}

TEST_F(LabTlsTest, CarriesLargeBodiesBothWays)
{
    Begin();
    TlsClient client = Client();
    const std::string strReport = "[\"" + std::string(8'000'000, 'x') + "\"]";
    const httplib::Result stored = client.Post(CYCLES, strReport);
    ASSERT_TRUE(stored);
    EXPECT_EQ(stored->status, 200) << stored->body;
    const httplib::Result reports = client.Get("/lab/reports/cycle-data");
    ASSERT_TRUE(reports);
    EXPECT_GT(reports->body.size(), strReport.size());
}

TEST_F(LabTlsTest, LeavesFaultsTheirPower)
{
    Begin();
    TlsClient client = Client();
    for (const char* szFault : {"reset", "truncate"}) {
        Operator().Post("/lab/faults", R"({"path": "posts", ")" + std::string(szFault) + R"(": true})");
        EXPECT_FALSE(client.Get("/posts/1")) << szFault;
        EXPECT_TRUE(client.Get("/posts/1")) << szFault;
    }
}

TEST_F(LabTlsTest, OfAnotherProtocolEndsTheConnection)
{
    Begin();
    RawClient socket(m_pServer->Port());
    socket.Send("\x16this is no handshake");
    socket.ReadAll();
    EXPECT_TRUE(socket.IsClosed() || socket.IsReset());
    EXPECT_TRUE(Client().Get("/posts/1"));
}

TEST_F(LabTlsTest, ThatIsNeverFinishedDoesNotHoldUpTheStop)
{
    Begin();
    RawClient socket(m_pServer->Port());
    socket.Send("\x16\x03\x01");           // the beginning of a handshake
    EXPECT_TRUE(Client().Get("/posts/1")); // accepted after the other one
    const auto begin = std::chrono::steady_clock::now();
    m_pServer->Stop();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(30));
    socket.ReadAll();
    EXPECT_TRUE(socket.IsClosed() || socket.IsReset());
}

/// The first message of a client.
std::string ClientHello()
{
    const std::unique_ptr<SSL_CTX, void (*)(SSL_CTX*)> pContext(SSL_CTX_new(TLS_client_method()),
                                                                SSL_CTX_free);
    const std::unique_ptr<SSL, void (*)(SSL*)> pTls(SSL_new(pContext.get()), SSL_free);
    BIO* const pOut = BIO_new(BIO_s_mem());
    SSL_set_bio(pTls.get(), BIO_new(BIO_s_mem()), pOut); // takes them over
    SSL_connect(pTls.get());                             // waits for an answer
    char* pBytes = nullptr;
    const long nBytes = BIO_get_mem_data(pOut, &pBytes);
    return {pBytes, static_cast<std::size_t>(nBytes)};
}

TEST_F(LabTlsTest, IsThereForOthersAfterAResetInTheHandshake)
{
    Begin();
    {
        RawClient socket(m_pServer->Port());
        socket.Send(ClientHello());
        EXPECT_THAT(socket.ReadPast("\x16\x03\x03"), HasSubstr("\x16\x03\x03"))
            << "the server's first message";
        socket.ResetAtItsEnd();
    }
    EXPECT_TRUE(Client().Get("/posts/1"));
}

TEST_F(LabTlsTest, KeepsItsAuthorityOverAStop)
{
    Begin();
    const std::string strBefore = Operator().Get("/lab/authority.pem").strBody;
    EXPECT_THAT(strBefore, StartsWith("-----BEGIN CERTIFICATE-----"));
    m_pServer->Stop();
    m_pServer->Start();
    EXPECT_EQ(Operator().Get("/lab/authority.pem").strBody, strBefore);
    EXPECT_TRUE(Client().Get("/posts/1"));
}

/// A certificate that a scenario shows, and what a client finds.
struct ShownRow {
    const char* szName;
    long nFound;
    bool bAccepted;
};

void PrintTo(const ShownRow& row, std::ostream* pOut)
{
    *pOut << row.szName;
}

class LabScenarioShows : public LabTlsTest, public testing::WithParamInterface<ShownRow>
{
};

TEST_P(LabScenarioShows, ACertificateThatAClientJudges)
{
    Begin(LabServerOptions()); // without HTTPS otherwise
    m_pServer->StartScenario(R"({"name": "own", "steps": [{"tls": ")" + std::string(GetParam().szName) +
                             R"("}]})");
    TlsClient client = Client();
    EXPECT_EQ(static_cast<bool>(client.Get("/posts/1")), GetParam().bAccepted);
    EXPECT_EQ(client.Found(), GetParam().nFound);
    EXPECT_EQ(Operator().Get("/posts/1").nStatus, 200) << "hosts without HTTPS are served as before";
    EXPECT_EQ(Operator().Send("DELETE", "/lab/scenarios/own").nStatus, 200);
    EXPECT_FALSE(Client().Get("/posts/1")) << "no HTTPS is left";
}

INSTANTIATE_TEST_SUITE_P(Each, LabScenarioShows,
                         testing::Values(ShownRow{"valid", X509_V_OK, true},
                                         ShownRow{"expired", X509_V_ERR_CERT_HAS_EXPIRED, false},
                                         ShownRow{"not-yet-valid", X509_V_ERR_CERT_NOT_YET_VALID, false},
                                         ShownRow{"wrong-host", X509_V_OK, false},
                                         ShownRow{"self-signed", X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT,
                                                  false}),
                         [](const auto& parameter) {
                             std::string strName = parameter.param.szName;
                             strName.erase(std::remove(strName.begin(), strName.end(), '-'), strName.end());
                             return strName;
                         });

TEST_F(LabTlsTest, ShowsAnotherCertificateToThoseWhoAreConnectedTooAfterOneMoreReply)
{
    Begin();
    TlsClient client = Client();
    ASSERT_TRUE(client.Get("/posts/1"));
    m_pServer->StartScenario("expired-cert");
    const httplib::Result last = client.Get("/posts/1");
    ASSERT_TRUE(last);
    EXPECT_EQ(last->get_header_value("Connection"), "close");
    EXPECT_FALSE(client.Get("/posts/1"));
    EXPECT_EQ(client.Found(), X509_V_ERR_CERT_HAS_EXPIRED);
    EXPECT_EQ(Operator().Send("DELETE", "/lab/scenarios").nStatus, 200);
    EXPECT_TRUE(Client().Get("/posts/1"));
}

TEST_F(LabTlsTest, OfAScenarioBeginsAndEndsWithItsStep)
{
    Begin();
    m_pServer->StartScenario(
        R"({"name": "own", "steps": [{"tls": "expired", "forMs": 0}, {"tls": "expired", "afterMs": 3600000}]})");
    EXPECT_TRUE(Client().Get("/posts/1"));
}

/// Certificates and keys in files, as operators bring them.
class LabTlsFiles : public LabTlsTest
{
protected:
    LabServerOptions Options(const std::string& strCertificates, const std::string& strKey) const
    {
        LabServerOptions options = Required();
        options.strCertificateFile = Written(m_folder.File("server.pem"), strCertificates);
        options.strKeyFile = Written(m_folder.File("server.key"), strKey);
        return options;
    }

    static std::string WhyNot(const LabServerOptions& options)
    {
        try {
            const LabServer server(options);
        } catch (const std::exception& error) {
            return error.what();
        }
        return "";
    }

    const MadeAuthority m_authority;
    const PemPair m_pair = m_authority.Certificate(LabCertificate::Valid, {"127.0.0.1"});
};

/// One with a key of 512 bits, which OpenSSL refuses at Debian's level of security. Valid until 2126.
const char* const WEAK_CERTIFICATE = R"(-----BEGIN CERTIFICATE-----
MIIBdzCCASGgAwIBAgIURXeDfEEq0toMTWKseHlK5gkxq0UwDQYJKoZIhvcNAQEL
BQAwDzENMAsGA1UEAwwEd2VhazAgFw0yNjExMjMyMzM4MTRaGA8yMTI2MTAzMDIz
MzgxNFowDzENMAsGA1UEAwwEd2VhazBcMA0GCSqGSIb3DQEBAQUAA0sAMEgCQQD0
HhrTs6g+zDIKjyuPXmdJQoYhBFA/SkA/+tV+Ig5lxqYQoUNBHwWIb1frLEqlPMFf
HcWKC/xllMdjVPQSXKnjAgMBAAGjUzBRMB0GA1UdDgQWBBSx5lTHUu1VqObaciEh
NwHkAqnfmDAfBgNVHSMEGDAWgBSx5lTHUu1VqObaciEhNwHkAqnfmDAPBgNVHRMB
Af8EBTADAQH/MA0GCSqGSIb3DQEBCwUAA0EAn0PK3QHN2QDrVMHqYwoakWtvO0Fk
ELsQy3HFkgECmWLqaq32dt3NI1R8L5pQ/SHJIBPpUk4HZwr46HYAt9cStQ==
-----END CERTIFICATE-----
)";

TEST(OpenSslErrors, SayThatThereIsNoReason)
{
    EXPECT_STREQ(OpenSslError("the key").what(), "the key: OpenSSL gives no reason");
}

TEST_F(LabTlsFiles, AreShown)
{
    // The authority's certificate behind the server's, as chains stand in files.
    Begin(Options(m_pair.strCertificates + m_authority.Pem(), m_pair.strKey));
    Written(AuthorityFile(), m_authority.Pem());
    TlsClient client = Client();
    EXPECT_TRUE(client.Get("/posts/1")) << client.Found();
}

TEST_F(LabTlsFiles, ThatCanNotBeUsedAreSaidWithTheReason)
{
    const PemPair other = m_authority.Certificate(LabCertificate::Valid, {"127.0.0.1"});
    LabServerOptions missing = Options(m_pair.strCertificates, m_pair.strKey);
    missing.strCertificateFile = m_folder.File("none.pem");
    EXPECT_EQ(WhyNot(missing), "can't read " + m_folder.File("none.pem"));
    const std::string strCan = "can't use the certificate in " + m_folder.File("server.pem") +
                               " with the key in " + m_folder.File("server.key") + ": ";
    EXPECT_EQ(WhyNot(Options("nothing", m_pair.strKey)), strCan + "the certificate: no start line");
    EXPECT_EQ(WhyNot(Options(WEAK_CERTIFICATE, m_pair.strKey)), strCan + "the certificate: ee key too small");
    EXPECT_EQ(WhyNot(Options(m_pair.strCertificates + WEAK_CERTIFICATE, m_pair.strKey)),
              strCan + "a certificate of an authority: ca key too small");
    EXPECT_EQ(WhyNot(Options(m_pair.strCertificates, "nothing")), strCan + "the key: unsupported");
    EXPECT_EQ(WhyNot(Options(m_pair.strCertificates, other.strKey)), strCan + "the key: key values mismatch");
}

TEST_F(LabTlsFiles, WithAPassphraseAreRefusedWithoutAskingForIt)
{
    const std::string strFile = Written(m_folder.File("plain.key"), m_pair.strKey);
    const std::string strLocked = m_folder.File("locked.key");
    ASSERT_EQ(std::system(
                  ("openssl pkey -aes256 -passout pass:secret -in '" + strFile + "' -out '" + strLocked + "'")
                      .c_str()),
              0);
    LabServerOptions options = Options(m_pair.strCertificates, m_pair.strKey);
    options.strKeyFile = strLocked;
    EXPECT_THAT(WhyNot(options), HasSubstr("the key: "));
}

} // namespace
