// Servers named by address and port, used with TLS through both interfaces: nginx, a real server, with
// certificates that are created here.

#include "AnswerSpy.h"
#include "ConnectingProxy.h"
#include "Enough.h"
#include "LogFolder.h"
#include "Nginx.h"

#include <ktshttpagent/CUIAgentReq.h>
#include <ktshttpagent/CUIAgentRsp.h>
#include <ktshttpagent/KtsTrace.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QSslCertificate>
#include <QSslConfiguration>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace
{

/// A server, and whether the host knows the authority that signed its certificate.
struct TlsServer {
    const char* szName;
    const char* szSubject;   ///< the names that the certificate is for
    const char* szDays;      ///< how long it is valid from now on
    const char* szProtocols; ///< null for none: it does not use TLS
    bool bKnown;
    const char* szWhy = "";      ///< what a blocking call tells about it
    const char* szAsyncWhy = ""; ///< what the log tells about an asynchronous request to it
    const char* szCertificate = "server";
};

void PrintTo(const TlsServer& peer, std::ostream* pStream)
{
    *pStream << peer.szName;
}

class TlsOfBothInterfaces : public ::testing::Test
{
protected:
    TlsOfBothInterfaces()
    {
        qputenv("KTSHTTPAGENT_SETTINGS_ROOT", "/nonexistent");
        qputenv("KTSHTTPAGENT_TLS", "on");
    }

    void Start(const TlsServer& peer)
    {
        ASSERT_TRUE(MakeCertificates(m_folder.Path(), peer.szSubject, peer.szDays));
        const std::string strTls = peer.szProtocols == nullptr
                                       ? ""
                                       : std::string("ssl_certificate ") + peer.szCertificate +
                                             ".pem; ssl_certificate_key " + peer.szCertificate +
                                             ".key; ssl_ciphers DEFAULT@SECLEVEL=0; ssl_protocols " +
                                             peer.szProtocols + ";\n";
        m_nginx.emplace(m_folder.Path(), peer.szProtocols == nullptr ? "" : " ssl",
                        strTls + "access_log access.log target; default_type application/json;\n"
                                 R"(location / { return 200 '{"success":true,"common":true}'; })");
        if (peer.bKnown) {
            Trust(m_folder.Path() / "ca.pem");
        }
    }

    QString Url(const QString& strPath) const
    {
        return QString("https://%1:%2/%3").arg(m_strHost).arg(m_nginx->Port()).arg(strPath);
    }

    int Port() const { return m_nginx->Port(); }

    /// Names the authority to the transport alone.
    void TrustInTransport() const
    {
        qputenv("CHTTPCLIENT_CA_FILE", QByteArray::fromStdString((m_folder.Path() / "ca.pem").string()));
    }

    /// The targets of the requests that the server read.
    std::string RequestsRead() const
    {
        std::ifstream file(m_folder.Path() / "access.log");
        return {std::istreambuf_iterator<char>(file), {}};
    }

    /// The lines of the log about the causes of failures.
    std::vector<std::string> Causes() const
    {
        std::vector<std::string> vecCauses;
        for (const std::string& strLine : m_folder.Lines()) {
            if (strLine.find(" warning ") != std::string::npos) {
                vecCauses.push_back(strLine);
            }
        }
        return vecCauses;
    }

    const std::filesystem::path& Folder() const { return m_folder.Path(); }

    /// Makes both interfaces trust an authority.
    static void Trust(const std::filesystem::path& pathAuthority)
    {
        qputenv("CHTTPCLIENT_CA_FILE", QByteArray::fromStdString(pathAuthority.string()));
        QSslConfiguration configuration = QSslConfiguration::defaultConfiguration();
        configuration.setCaCertificates(
            QSslCertificate::fromPath(QString::fromStdString(pathAuthority.string())));
        QSslConfiguration::setDefaultConfiguration(configuration);
    }

    const QString m_strHost = Nginx::ADDRESS;

private:
    const LogFolder m_folder; ///< of the server's files too
    std::optional<Nginx> m_nginx;
};

constexpr const char* GOOD_NAME = "IP:127.0.0.2";
constexpr const char* GOOD_PROTOCOLS = "TLSv1.2 TLSv1.3";
constexpr const char* PATH_IN_COMMON = "vomd/system/whetherInCommon.action?dxtm=X";
constexpr const char* PATH_UPLOAD = "dev-api/connector/DataCollectionController_KR_KR/saveData";

class TlsTo : public TlsOfBothInterfaces, public ::testing::WithParamInterface<TlsServer>
{
    void SetUp() override
    {
        if (!Nginx::IsInstalled()) {
            GTEST_SKIP() << "nginx is not installed; ./dev setup does it";
        }
        Start(GetParam());
    }
};

class TlsToAGoodServer : public TlsTo
{
};

TEST_P(TlsToAGoodServer, IsTakenByBothInterfaces)
{
    CUIAgentReq& request = *CUIAgentReq::Instance();
    const AnswerSpy spy(&CUIAgentRsp::SigGetWhetherInCommonRet);
    request.SendGetWhetherInCommon(m_strHost, Port(), "X");
    ASSERT_TRUE(spy.Wait(1));
    EXPECT_EQ(spy[0][0], true);
    EXPECT_EQ(spy[0][1], true);

    std::string strTold;
    KtsSetTrace([&strTold](const SKtsTrace& part) { strTold += part.strBytes + '\n'; });
    bool bCommon = false;
    EXPECT_TRUE(request.SendGetWhetherInCommonEx(m_strHost, Port(), ENOUGH_MS, "X", bCommon));
    KtsSetTrace({});
    EXPECT_THAT(strTold, ::testing::ContainsRegex("\nTLS: TLSv1.[23], .*certificate of \"server\""));
    EXPECT_TRUE(bCommon);
    EXPECT_EQ(request.LastOutcome().eEnd, EBlockingEnd::Answered);
    EXPECT_EQ(request.LastOutcome().strUrl, Url(PATH_IN_COMMON));

    tagBatteryTestData data;
    request.SendPostUploadDataEx(m_strHost, Port(), ENOUGH_MS, data);
    EXPECT_EQ(request.LastOutcome().eEnd, EBlockingEnd::Answered);
    EXPECT_EQ(request.LastOutcome().strUrl, Url(PATH_UPLOAD));
    EXPECT_THAT(RequestsRead(), ::testing::HasSubstr(PATH_IN_COMMON)); // so requests are read at all
}

INSTANTIATE_TEST_SUITE_P(Each, TlsToAGoodServer,
                         ::testing::Values(TlsServer{"WithTls13", GOOD_NAME, "2", GOOD_PROTOCOLS, true},
                                           TlsServer{"WithTls12", GOOD_NAME, "2", "TLSv1.2", true}),
                         ::testing::PrintToStringParamName());

/// A server with a certificate of an authority that only CHTTPCLIENT_CA_FILE names.
class TlsWithTheTransportsSettings : public TlsOfBothInterfaces, public ::testing::WithParamInterface<bool>
{
};

TEST_P(TlsWithTheTransportsSettings, TrustsItsAuthorities)
{
    if (!Nginx::IsInstalled()) {
        GTEST_SKIP() << "nginx is not installed; ./dev setup does it";
    }
    qputenv("KTSHTTPAGENT_SYNC_SETTINGS", GetParam() ? "transport" : "qt");
    Start({"", GOOD_NAME, "2", GOOD_PROTOCOLS, false});
    TrustInTransport();
    bool bCommon = false;
    EXPECT_EQ(CUIAgentReq::Instance()->SendGetWhetherInCommonEx(m_strHost, Port(), ENOUGH_MS, "X", bCommon),
              GetParam());
}

INSTANTIATE_TEST_SUITE_P(Both, TlsWithTheTransportsSettings, ::testing::Bool(),
                         [](const auto& param) { return param.param ? "On" : "Off"; });

/// OpenSSL is told to offer old versions of TLS too, which Debian's own settings exclude.
class OutdatedTlsWithTheTransportsSettings : public TlsWithTheTransportsSettings
{
};

TEST_P(OutdatedTlsWithTheTransportsSettings, IsRefused)
{
    if (!Nginx::IsInstalled()) {
        GTEST_SKIP() << "nginx is not installed; ./dev setup does it";
    }
    const std::filesystem::path pathSettings = Folder() / "openssl.cnf";
    std::ofstream(pathSettings)
        << "openssl_conf = all\n[all]\nssl_conf = tls\n[tls]\nsystem_default = every\n"
           "[every]\nMinProtocol = TLSv1\nCipherString = DEFAULT@SECLEVEL=0\n";
    qputenv("KTSHTTPAGENT_SYNC_SETTINGS", GetParam() ? "transport" : "qt");
    Start({"", GOOD_NAME, "2", "TLSv1.1", false});
    qputenv("OPENSSL_CONF", QByteArray::fromStdString(pathSettings.string()));
    Trust(Folder() / "ca.pem"); // the first use of OpenSSL in this process, which reads its settings now
    bool bCommon = false;
    EXPECT_EQ(CUIAgentReq::Instance()->SendGetWhetherInCommonEx(m_strHost, Port(), ENOUGH_MS, "X", bCommon),
              !GetParam());
    if (GetParam()) {
        EXPECT_THAT(Causes(), ::testing::ElementsAre(::testing::HasSubstr("SSL handshake failed")));
    }
}

INSTANTIATE_TEST_SUITE_P(Both, OutdatedTlsWithTheTransportsSettings, ::testing::Bool(),
                         [](const auto& param) { return param.param ? "On" : "Off"; });

/// A proxy that every call must go through.
class TlsThroughAProxyWithTheTransportsSettings : public TlsWithTheTransportsSettings
{
};

// Such a proxy answers in the server's place, with a certificate of its own authority.
TEST_P(TlsThroughAProxyWithTheTransportsSettings, TrustsTheAuthorityOfAProxyThatReadsTheTraffic)
{
    if (!Nginx::IsInstalled()) {
        GTEST_SKIP() << "nginx is not installed; ./dev setup does it";
    }
    qputenv("KTSHTTPAGENT_SYNC_SETTINGS", "transport");
    Start({"", "DNS:laboratory.invalid", "2", GOOD_PROTOCOLS, false});
    const ConnectingProxy proxy(Nginx::ADDRESS, Port());
    qputenv("https_proxy", "http://127.0.0.1:" + QByteArray::number(proxy.Port()));
    if (GetParam()) {
        TrustInTransport();
    }
    bool bCommon = false;
    EXPECT_EQ(
        CUIAgentReq::Instance()->SendGetWhetherInCommonEx("laboratory.invalid", 443, ENOUGH_MS, "X", bCommon),
        GetParam());
    EXPECT_THAT(proxy.Request(), ::testing::StartsWith("CONNECT laboratory.invalid:443 "));
    if (!GetParam()) {
        EXPECT_THAT(Causes(),
                    ::testing::ElementsAre(::testing::AllOf(
                        ::testing::HasSubstr("issuer"), ::testing::HasSubstr("proxy http://127.0.0.1:"))));
    }
}

INSTANTIATE_TEST_SUITE_P(Known, TlsThroughAProxyWithTheTransportsSettings, ::testing::Bool(),
                         [](const auto& param) { return param.param ? "Known" : "Unknown"; });

class TlsToABadServer : public TlsTo
{
};

TEST_P(TlsToABadServer, FailsOnBothInterfacesAndNothingIsSentInClear)
{
    CUIAgentReq& request = *CUIAgentReq::Instance();
    const AnswerSpy spy(&CUIAgentRsp::SigGetWhetherInCommonRet);
    request.SendGetWhetherInCommon(m_strHost, Port(), "SECRET");
    ASSERT_TRUE(spy.Wait(1));
    EXPECT_EQ(spy[0][0], false);

    bool bCommon = false;
    EXPECT_FALSE(request.SendGetWhetherInCommonEx(m_strHost, Port(), ENOUGH_MS, "SECRET", bCommon));
    const SBlockingOutcome outcome = request.LastOutcome();
    EXPECT_EQ(outcome.eEnd, EBlockingEnd::Failed) << outcome.strError.toStdString();
    EXPECT_EQ(outcome.nHttpStatus, 0);
    EXPECT_THAT(outcome.strUrl.toStdString(), ::testing::StartsWith("https://"));
    EXPECT_THAT(outcome.strError.toStdString(), ::testing::HasSubstr(GetParam().szWhy));

    EXPECT_THAT(RequestsRead(), ::testing::Not(::testing::HasSubstr("SECRET")));

    const std::string strServer = "https://127.0.0.2:" + std::to_string(Port()) + "/";
    EXPECT_THAT(Causes(),
                ::testing::ElementsAre(
                    ::testing::AllOf(::testing::HasSubstr("chttpclient"), ::testing::HasSubstr(strServer),
                                     ::testing::HasSubstr(GetParam().szAsyncWhy)),
                    ::testing::AllOf(::testing::HasSubstr("CUIAgentReq::Exchange:2 failed: GET " + strServer),
                                     ::testing::HasSubstr(GetParam().szWhy))));
}

INSTANTIATE_TEST_SUITE_P(
    Each, TlsToABadServer,
    ::testing::Values(TlsServer{"OfAnUnknownAuthority", GOOD_NAME, "2", GOOD_PROTOCOLS, false, "issuer",
                                "unable to get local issuer certificate"},
                      TlsServer{"ThatSignedItsOwnCertificate", GOOD_NAME, "2", GOOD_PROTOCOLS, false,
                                "self-signed", "self-signed certificate", "ca"},
                      TlsServer{"ThatExpired", GOOD_NAME, "-1", GOOD_PROTOCOLS, true, "has expired",
                                "has expired"},
                      TlsServer{"OfAnotherName", "DNS:elsewhere.invalid", "2", GOOD_PROTOCOLS, true,
                                "host name did not match", "no alternative certificate subject name"},
                      TlsServer{"OfAnotherAddress", "IP:127.0.0.1", "2", GOOD_PROTOCOLS, true,
                                "host name did not match", "no alternative certificate subject name"},
                      TlsServer{"WithAnOutdatedProtocol", GOOD_NAME, "2", "TLSv1", true,
                                "SSL handshake failed", "protocol"},
                      TlsServer{"ThatSpeaksPlainly", GOOD_NAME, "2", nullptr, true, "SSL handshake failed",
                                "wrong version number"}),
    ::testing::PrintToStringParamName());

} // namespace
