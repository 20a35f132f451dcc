// Encrypted exchanges with a real server, nginx, whose certificates are made here.

#include "DelayingRelay.h"
#include "Nginx.h"
#include "TransportTest.h"

#include <gmock/gmock.h>

#include <optional>
#include <ostream>

/// A server's certificate, how the server is reached, and what the callback gets.
struct TlsPeer {
    const char* szName;
    const char* szSubject;   ///< the names that the certificate is for
    const char* szDays;      ///< how long it is valid from now on
    const char* szProtocols; ///< null for none: it does not use TLS
    bool bCaFile;            ///< whether the transport is given the authority that signed it
    int nHttpError;
    const char* szCause = "";             ///< words of the log about a failure
    const char* szCertificate = "server"; ///< the file that the server uses, without suffix

    friend void PrintTo(const TlsPeer& row, std::ostream* pOut) { *pOut << row.szName; }
};

class TransportTls : public TransportTest, public testing::WithParamInterface<TlsPeer>
{
protected:
    void SetUp() override
    {
        if (!Nginx::IsInstalled()) {
            GTEST_SKIP() << "nginx is not installed; ./dev setup does it";
        }
        ASSERT_TRUE(MakeCertificates(m_folder.Path(), GetParam().szSubject, GetParam().szDays));
        const char* const szProtocols = GetParam().szProtocols;
        const std::string strEncryption = szProtocols == nullptr
                                              ? ""
                                              : std::string("ssl_certificate ") + GetParam().szCertificate +
                                                    ".pem; ssl_certificate_key " + GetParam().szCertificate +
                                                    ".key;\nssl_ciphers DEFAULT@SECLEVEL=0; ssl_protocols " +
                                                    szProtocols + ";\n";
        m_nginx.emplace(m_folder.Path(), szProtocols == nullptr ? "" : " ssl",
                        strEncryption +
                            "location / { return 200 'from nginx'; }\n"
                            "location /resumed { keepalive_timeout 0; return 200 '$ssl_session_reused'; }");
    }

    std::string Url(const std::string& strPath = "/vomd/x") const
    {
        return "https://" + std::string(Nginx::ADDRESS) + ":" + std::to_string(m_nginx->Port()) + strPath;
    }

    std::string CaFile() const { return (m_folder.Path() / "ca.pem").string(); }

    const LogFolder m_folder; ///< any temporary folder will do

private:
    std::optional<Nginx> m_nginx;
};

TEST_P(TransportTls, HasOneOutcomeARequest)
{
    if (GetParam().bCaFile) {
        Set("CHTTPCLIENT_CA_FILE", CaFile());
    }
    Start();
    Get(Url());
    ASSERT_TRUE(m_replies.WaitFor(1));
    Get(Url());
    for (const ReceivedReply& reply : RepliesAfterShutdown(2)) {
        EXPECT_EQ(reply.nHttpError, GetParam().nHttpError);
        EXPECT_EQ(reply.strBody, GetParam().nHttpError == 0 ? "from nginx" : "");
    }
}

TEST_P(TransportTls, HasOneCauseInTheLogIfItFails)
{
    if (GetParam().bCaFile) {
        Set("CHTTPCLIENT_CA_FILE", CaFile());
    }
    Set("CLOG_LEVEL", 2);
    Start();
    Get(Url());
    RepliesAfterShutdown(1);
    if (GetParam().nHttpError == 0) {
        EXPECT_THAT(m_folder.Lines(), testing::IsEmpty());
    } else {
        EXPECT_THAT(m_folder.Lines(),
                    testing::ElementsAre(testing::AllOf(testing::HasSubstr("GET " + Url() + ", type 3104"),
                                                        testing::HasSubstr(GetParam().szCause))));
    }
}

class TransportTlsSession : public TransportTls
{
};

TEST_P(TransportTlsSession, IsResumedByTheNextConnection)
{
    Set("CHTTPCLIENT_CA_FILE", CaFile());
    Start();
    Get(Url("/resumed"));
    ASSERT_TRUE(m_replies.WaitFor(1));
    Get(Url("/resumed"));
    const std::vector<ReceivedReply> vecReplies = RepliesAfterShutdown(2);
    EXPECT_EQ(vecReplies.at(0).strBody, ".");
    EXPECT_EQ(vecReplies.at(1).strBody, "r");
}

class TransportTlsFile : public TransportTls
{
};

// The variables that tell OpenSSL where the system's authorities are.
TEST_P(TransportTlsFile, IsNotThatOfOpenSslsVariables)
{
    Set("SSL_CERT_FILE", CaFile());
    Set("SSL_CERT_DIR", m_folder.Path().string());
    Start();
    Get(Url());
    RepliesAfterShutdown(1);
    EXPECT_THAT(m_replies.Errors(), testing::ElementsAre(-60));
}

// Removing an authority from the file takes effect without restarting the host.
TEST_P(TransportTlsFile, IsReadForEachConnection)
{
    Set("CHTTPCLIENT_CA_FILE", CaFile());
    Start();
    Get(Url());
    ASSERT_TRUE(m_replies.WaitFor(1));
    std::filesystem::remove(CaFile());
    CHttpClientSendRequest(TYPE, Url(), "", nullptr, true, false, ""); // always on a new connection
    RepliesAfterShutdown(2);
    EXPECT_THAT(m_replies.Errors(), testing::ElementsAre(0, -77));
}

TEST_P(TransportTlsFile, VouchesForAProxyToo)
{
    Set("CHTTPCLIENT_CA_FILE", CaFile());
    Set("http_proxy", Url(""));
    Start();
    Get("http://laboratory.invalid/");
    const std::vector<ReceivedReply> vecReplies = RepliesAfterShutdown(1);
    EXPECT_EQ(vecReplies.at(0).nHttpError, 0);
    EXPECT_EQ(vecReplies.at(0).strBody, "from nginx");
}

constexpr const char* GOOD_NAME = "IP:127.0.0.2";
constexpr const char* GOOD_PROTOCOLS = "TLSv1.2 TLSv1.3";

INSTANTIATE_TEST_SUITE_P(
    Peers, TransportTls,
    testing::Values(TlsPeer{"Proper", GOOD_NAME, "2", GOOD_PROTOCOLS, true, 0},
                    TlsPeer{"ProperWithAnOlderProtocol", GOOD_NAME, "2", "TLSv1.2", true, 0},
                    TlsPeer{"OfAnUnknownAuthority", GOOD_NAME, "2", GOOD_PROTOCOLS, false, -60,
                            "unable to get local issuer certificate"},
                    TlsPeer{"SelfSigned", GOOD_NAME, "2", GOOD_PROTOCOLS, false, -60,
                            "self-signed certificate", "ca"},
                    TlsPeer{"Expired", GOOD_NAME, "-1", GOOD_PROTOCOLS, true, -60, "certificate has expired"},
                    TlsPeer{"OfAnotherName", "DNS:elsewhere.invalid", "2", GOOD_PROTOCOLS, true, -60,
                            "alternative certificate subject name"},
                    TlsPeer{"OfAnotherAddress", "IP:127.0.0.1", "2", GOOD_PROTOCOLS, true, -60,
                            "alternative certificate subject name"},
                    TlsPeer{"WithAnOutdatedProtocol", GOOD_NAME, "2", "TLSv1", true, -35, "protocol version"},
                    TlsPeer{"ThatSpeaksPlainly", GOOD_NAME, "2", nullptr, true, -35, "wrong version number"}),
    testing::PrintToStringParamName());

INSTANTIATE_TEST_SUITE_P(Peers, TransportTlsSession,
                         testing::Values(TlsPeer{"Proper", GOOD_NAME, "2", GOOD_PROTOCOLS, true, 0}),
                         testing::PrintToStringParamName());

INSTANTIATE_TEST_SUITE_P(Peers, TransportTlsFile,
                         testing::Values(TlsPeer{"Proper", GOOD_NAME, "2", GOOD_PROTOCOLS, true, 0}),
                         testing::PrintToStringParamName());

class TransportTlsClosed : public TransportTest, public testing::WithParamInterface<bool>
{
};

// A server announces the end of an encrypted connection before it closes it. libcurl takes the announcement
// for data, and so takes each such connection for a usable one, and gives up at the sixth.
TEST_P(TransportTlsClosed, ConnectionsCostNoRequest)
{
    if (!Nginx::IsInstalled()) {
        GTEST_SKIP() << "nginx is not installed; ./dev setup does it";
    }
    constexpr std::size_t AT_ONCE = 24; // over about as many connections
    const LogFolder folder;
    ASSERT_TRUE(MakeCertificates(folder.Path(), "IP:127.0.0.1", "2")); // the relay's
    const Nginx nginx(folder.Path(), " ssl",
                      "ssl_certificate server.pem; ssl_certificate_key server.key; keepalive_timeout 100ms;\n"
                      "location / { return 200 'from nginx'; }");
    const DelayingRelay relay(Nginx::ADDRESS, nginx.Port(), std::chrono::milliseconds(0), 1);
    Set("CHTTPCLIENT_CA_FILE", (folder.Path() / "ca.pem").string());
    Set("CHTTPCLIENT_HOST_CONNECTIONS", AT_ONCE);
    Set("CHTTPCLIENT_POST_IDLE_MS", 60'000); // so that age alone rules out no connection
    Start();
    const std::string strUrl = "https://127.0.0.1:" + std::to_string(relay.Port(0)) + "/vomd/x";
    for (std::size_t nRequest = 0; nRequest < AT_ONCE; ++nRequest) {
        Get(strUrl);
    }
    ASSERT_TRUE(m_replies.WaitFor(AT_ONCE));
    ASSERT_TRUE(relay.WaitForServerEnds(relay.Accepted()));
    CHttpClientSendRequest(TYPE, strUrl, "{}", nullptr, GetParam(), false, "");
    RepliesAfterShutdown(AT_ONCE + 1);
    EXPECT_THAT(m_replies.Errors(), testing::Each(0));
}

INSTANTIATE_TEST_SUITE_P(ByTheServer, TransportTlsClosed, testing::Bool(),
                         [](const auto& post) { return post.param ? "BeforeAReport" : "BeforeAQuery"; });
