// What "ktsagent doctor" says about certificates: nginx, a real server, with certificates that are made here;
// and ktslabserver with those of its scenarios.

#include "DoctorProcess.h"
#include "Nginx.h"
#include "OwnMounts.h"
#include "RunningProcess.h"

#include <QUrl>

#include <fstream>
#include <httplib.h>
#include <optional>
#include <ostream>

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;

namespace
{

constexpr const char* GOOD_NAME = "IP:127.0.0.2"; // where nginx listens

/// A server's certificate, and what is wrong with it.
struct BadCertificate {
    const char* szName;
    const char* szSubject; ///< the names that the certificate is for
    const char* szDays;    ///< how long it is valid from now on
    bool bSelfSigned;      ///< whether the authority's own certificate is the server's
    bool bKnown;           ///< whether CHTTPCLIENT_CA_FILE names the authority
    const char* szAsynchronous;
    const char* szBlocking;
};

void PrintTo(const BadCertificate& row, std::ostream* pOut)
{
    *pOut << row.szName;
}

class DoctorOfTls : public DoctorProcess
{
protected:
    void SetUp() override
    {
        if (!Nginx::IsInstalled()) {
            GTEST_SKIP() << "nginx is not installed; ./dev setup does it";
        }
    }

    void Start(const char* szSubject, const char* szDays, const char* szCertificate = "server",
               const std::string& strMore = "")
    {
        ASSERT_TRUE(MakeCertificates(Folder(), szSubject, szDays));
        ASSERT_EQ(std::system(("cd '" + Folder().string() +
                               "' && cat server.pem ca.pem >chain.pem && cp server.key chain.key")
                                  .c_str()),
                  0);
        const std::string strName = szCertificate;
        m_nginx.emplace(Folder(), " ssl",
                        "ssl_certificate " + strName + ".pem; ssl_certificate_key " + strName + ".key; " +
                            strMore +
                            "default_type application/json;\n"
                            R"(location / { return 200 '{"success":true,"code":0}'; })");
    }

    void KnowTheAuthority() const
    {
        qputenv("CHTTPCLIENT_CA_FILE", QByteArray::fromStdString((Folder() / "ca.pem").string()));
    }

    QString Url() const { return QString("https://%1:%2/").arg(Nginx::ADDRESS).arg(m_nginx->Port()); }

    fs::path Folder() const { return m_folder.path().toStdString(); }

private:
    std::optional<Nginx> m_nginx;
};

class DoctorFindsACertificate : public DoctorOfTls, public testing::WithParamInterface<BadCertificate>
{
};

} // namespace

TEST_P(DoctorFindsACertificate, ThatIsBad)
{
    Start(GetParam().szSubject, GetParam().szDays, GetParam().bSelfSigned ? "ca" : "server");
    if (GetParam().bKnown) {
        KnowTheAuthority();
    }

    const KtsagentRun run = Examine(Url());

    ExpectFailure(run, "tls", GetParam().szAsynchronous);
    ExpectFailure(run, "tls", GetParam().szBlocking);
}

INSTANTIATE_TEST_SUITE_P(
    Each, DoctorFindsACertificate,
    testing::Values(
        BadCertificate{"SelfSigned", GOOD_NAME, "90", true, false,
                       "(libcurl) makes no TLS connection: SSL certificate problem: self-signed certificate",
                       "The certificate is self-signed, and untrusted"},
        BadCertificate{"Expired", GOOD_NAME, "-1", false, true,
                       "(libcurl) makes no TLS connection: SSL certificate problem: certificate has expired",
                       "The certificate has expired"},
        BadCertificate{"OfAnUnknownAuthority", GOOD_NAME, "90", false, false,
                       "unable to get local issuer certificate",
                       "The issuer certificate of a locally looked up certificate could not be found"},
        BadCertificate{"OfAnotherName", "DNS:elsewhere.invalid", "90", false, true,
                       "(libcurl) makes no TLS connection: SSL: no alternative certificate subject name",
                       "The host name did not match"}),
    testing::PrintToStringParamName());

TEST_F(DoctorOfTls, FindsThatOnlyTheAsynchronousInterfaceKnowsTheAuthority)
{
    Start(GOOD_NAME, "90");
    KnowTheAuthority();

    const KtsagentRun run = Examine(Url());

    ExpectFailure(run, "tls", "The blocking interface (Qt) makes no TLS connection: ");
    EXPECT_THAT(Sentences(run.Object(), "tls", "ok"),
                HasSubstr("The asynchronous interface (libcurl) accepts the server's certificate"));
    EXPECT_THAT(Sentences(run.Object(), "paths", "ok"), HasSubstr("on the asynchronous interface"));
}

TEST_F(DoctorOfTls, FindsAServerThatOffersOnlyAnOutdatedVersion)
{
    Start(GOOD_NAME, "90", "server", "ssl_protocols TLSv1; ssl_ciphers DEFAULT@SECLEVEL=0; ");
    KnowTheAuthority();

    const KtsagentRun run = Examine(Url());

    ExpectFailure(run, "tls", "The asynchronous interface (libcurl) makes no TLS connection: ");
    ExpectFailure(run, "tls", "The blocking interface (Qt) makes no TLS connection: ");
    EXPECT_THAT(Sentences(run.Object(), "tls", "FAILED"), HasSubstr("protocol"));
}

TEST_F(DoctorOfTls, LetsBothInterfacesKnowTheAuthorityIfTheyHaveTheSameSettings)
{
    qputenv("KTSHTTPAGENT_SYNC_SETTINGS", "transport");
    Start(GOOD_NAME, "90");
    KnowTheAuthority();

    const KtsagentRun run = Examine(Url());

    EXPECT_EQ(run.nExit, 0) << run.strOut;
    const std::string strBy = "accepts the server's certificate, by " + (Folder() / "ca.pem").string();
    EXPECT_THAT(Sentences(run.Object(), "tls", "ok"),
                AllOf(HasSubstr("The asynchronous interface (libcurl) " + strBy),
                      HasSubstr("The blocking interface (Qt) " + strBy)));
    EXPECT_THAT(Sentences(run.Object(), "paths", "ok"), HasSubstr("on both interfaces"));
}

TEST_F(DoctorOfTls, SaysWhatTheServerShows)
{
    Start(GOOD_NAME, "90");
    const std::string strSaid = Sentences(Examine(Url()).Object(), "tls", "ok");
    EXPECT_THAT(strSaid, AllOf(HasSubstr("a certificate for 127.0.0.2; the chain is \"server\", signed by "
                                         "\"Authority\", which the server does not send"),
                               HasSubstr("for 90 days.")));
}

TEST_F(DoctorOfTls, SaysWhatTheServerShowsOfItsAuthority)
{
    Start(GOOD_NAME, "90", "chain");
    EXPECT_THAT(Sentences(Examine(Url()).Object(), "tls", "ok"),
                HasSubstr("the chain is \"server\", signed by \"Authority\"."));
}

// The only way to let Qt trust an authority is to make it one of the system's.
TEST_F(DoctorOfTls, PassesAServerThatTheSystemTrustsAndWarnsThatItsCertificateEndsSoon)
{
    constexpr const char* SYSTEM = "/etc/ssl/certs";
    if (const std::string strWhyNot = OwnMounts(); !strWhyNot.empty() || !fs::exists(SYSTEM)) {
        GTEST_SKIP() << strWhyNot;
    }
    Start(GOOD_NAME, "20");
    const fs::path pathTrusted = Folder() / "trusted";
    fs::create_directory(pathTrusted);
    fs::copy(Folder() / "ca.pem", pathTrusted / "ca.pem");
    fs::copy(Folder() / "ca.pem", pathTrusted / "ca-certificates.crt");
    ASSERT_EQ(std::system(("openssl rehash '" + pathTrusted.string() + "' 2>/dev/null").c_str()), 0);
    ASSERT_EQ(PutInPlaceOf(SYSTEM, pathTrusted), "");

    const KtsagentRun run = Examine(Url());

    EXPECT_EQ(run.nExit, 0) << run.strOut;
    EXPECT_THAT(Sentences(run.Object(), "tls", "ok"),
                AllOf(HasSubstr("The asynchronous interface (libcurl) accepts the server's certificate"),
                      HasSubstr("The blocking interface (Qt) accepts the server's certificate")));
    EXPECT_THAT(Sentences(run.Object(), "tls", "warning"),
                HasSubstr("The certificate of \"server\" is valid until"));
    EXPECT_THAT(Sentences(run.Object(), "http", "ok"), HasSubstr("nginx/"));
    EXPECT_THAT(Sentences(run.Object(), "clock", "ok"), HasSubstr("agree"));
}

namespace
{

/// A scenario of the lab server, and what is wrong with its certificate.
struct BadScenario {
    const char* szName;
    const char* szScenario; ///< its name, or the content of its file
    const char* szAsynchronous;
    const char* szBlocking;
    const char* szWhen;
};

void PrintTo(const BadScenario& row, std::ostream* pOut)
{
    *pOut << row.szName;
}

class DoctorFindsAScenario : public DoctorProcess, public testing::WithParamInterface<BadScenario>
{
};

} // namespace

TEST_P(DoctorFindsAScenario, OfTheLabServerWithItsReason)
{
    const std::string strScenario = m_folder.filePath("scenario.json").toStdString();
    const bool bFile = *GetParam().szScenario == '{';
    std::ofstream(strScenario) << GetParam().szScenario;
    RunningProcess server(
        {KTSLABSERVER, "--port", "0", "--scenario", bFile ? strScenario.c_str() : GetParam().szScenario});
    ASSERT_TRUE(server.ReadUntil("/\n"));
    const QUrl url(QString::fromStdString(server.Lines().front()).section(' ', -1));
    ASSERT_EQ(url.scheme(), "https");
    const auto authority =
        httplib::Client("127.0.0.1", url.port()).Get("/lab/authority.pem"); // without HTTPS
    ASSERT_TRUE(authority);
    const QString strFile = m_folder.filePath("authority.pem");
    std::ofstream(strFile.toStdString()) << authority->body;
    qputenv("CHTTPCLIENT_CA_FILE", strFile.toLocal8Bit());

    const KtsagentRun run = Examine(url.toString());

    ExpectFailure(run, "tls", GetParam().szAsynchronous);
    ExpectFailure(run, "tls", GetParam().szBlocking);
    ExpectFailure(run, "tls", GetParam().szWhen);
}

INSTANTIATE_TEST_SUITE_P(
    Each, DoctorFindsAScenario,
    testing::Values(
        BadScenario{"Expired", "expired-cert",
                    "(libcurl) makes no TLS connection: SSL certificate problem: certificate has expired",
                    "The certificate has expired", "The certificate of \"Lab server\" ended at 20"},
        BadScenario{
            "NotYetValid", R"({"name": "own", "steps": [{"tls": "not-yet-valid"}]})",
            "(libcurl) makes no TLS connection: SSL certificate problem: certificate is not yet valid",
            "The certificate is not yet valid", "The certificate of \"Lab server\" begins only at 20"}),
    testing::PrintToStringParamName());
