// Encrypted exchanges with a real server, nginx, whose certificates are made here.

#include "TransportTest.h"

#include <gmock/gmock.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <ostream>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace std::chrono_literals;

namespace
{

constexpr const char* NGINX = "/usr/sbin/nginx";
constexpr const char* ADDRESS = "127.0.0.2"; // where nobody else's connections take a port that is free

bool Connects(int nPort)
{
    const int nSocket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = ::inet_addr(ADDRESS);
    address.sin_port = htons(static_cast<std::uint16_t>(nPort));
    const bool bConnects =
        ::connect(nSocket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    ::close(nSocket);
    return bConnects;
}

void Write(const std::filesystem::path& path, const std::string& strText)
{
    std::ofstream(path) << strText;
}

} // namespace

/// A certificate of the server and how it is reached, and what the callback hears.
struct TlsPeer {
    const char* szName;
    const char* szSubject;   ///< the names that the certificate is for
    const char* szDays;      ///< how long it is valid from now on
    const char* szProtocols; ///< null for none: it speaks plainly
    bool bCaFile;            ///< whether the transport is told the authority that signed it
    int nHttpError;

    friend void PrintTo(const TlsPeer& row, std::ostream* pOut) { *pOut << row.szName; }
};

class TransportTls : public TransportTest, public testing::WithParamInterface<TlsPeer>
{
protected:
    void SetUp() override
    {
        if (!std::filesystem::exists(NGINX)) {
            GTEST_SKIP() << NGINX << " is not installed; ./dev setup does it";
        }
        MakeCertificates();
        StartNginx();
    }

    ~TransportTls() override
    {
        if (m_nNginx > 0) {
            ::kill(m_nNginx, SIGTERM);
            ::waitpid(m_nNginx, nullptr, 0);
        }
    }

    std::string Url(const std::string& strPath = "/vomd/x") const
    {
        return "https://" + std::string(ADDRESS) + ":" + std::to_string(m_nPort) + strPath;
    }

    std::string CaFile() const { return (m_folder.Path() / "ca.pem").string(); }

private:
    /// An authority, and a certificate for the server that it signed.
    void MakeCertificates()
    {
        const std::string strKey =
            "openssl req -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -batch 2>>openssl.log ";
        const std::string strCommands =
            "cd '" + m_folder.Path().string() + "' && " + strKey +
            "-x509 -days 2 -keyout ca.key -out ca.pem -subj /CN=Authority && " + strKey +
            "-keyout server.key -out server.csr -subj /CN=server -addext subjectAltName=" +
            GetParam().szSubject +
            " && openssl x509 -req -in server.csr -CA ca.pem -CAkey ca.key -CAcreateserial"
            " -copy_extensions copy -out server.pem 2>>openssl.log -days " +
            GetParam().szDays;
        ASSERT_EQ(std::system(strCommands.c_str()), 0);
    }

    static std::string Encryption()
    {
        const char* const szProtocols = GetParam().szProtocols;
        return szProtocols == nullptr
                   ? ""
                   : std::string(" ssl; ssl_certificate server.pem; ssl_certificate_key server.key;\n"
                                 "ssl_ciphers DEFAULT@SECLEVEL=0; ssl_protocols ") +
                         szProtocols;
    }

    void StartNginx()
    {
        m_nPort = RefusingPort().Port();
        Write(m_folder.Path() / "nginx.conf",
              "daemon off; master_process off; pid nginx.pid; error_log error.log; events {}\n"
              "http { access_log off; client_body_temp_path t; proxy_temp_path t; fastcgi_temp_path t;\n"
              "uwsgi_temp_path t; scgi_temp_path t;\n"
              "server { listen " +
                  std::string(ADDRESS) + ":" + std::to_string(m_nPort) + Encryption() +
                  "; location / { return 200 'from nginx'; }\n"
                  "location /resumed { keepalive_timeout 0; return 200 '$ssl_session_reused'; } } }\n");
        const std::string strFolder = m_folder.Path().string() + '/';
        const std::string strErrors = strFolder + "error.log";
        const char* const apszArguments[] = {NGINX,        "-p", strFolder.c_str(), "-c",
                                             "nginx.conf", "-e", strErrors.c_str(), nullptr};
        ASSERT_EQ(::posix_spawn(&m_nNginx, NGINX, nullptr, nullptr, const_cast<char* const*>(apszArguments),
                                environ),
                  0);
        const auto tpEnd = std::chrono::steady_clock::now() + 30s;
        while (!Connects(m_nPort)) {
            ASSERT_LT(std::chrono::steady_clock::now(), tpEnd) << "nginx does not listen";
            std::this_thread::sleep_for(5ms);
        }
    }

    const LogFolder m_folder; ///< any temporary folder will do
    int m_nPort = 0;
    pid_t m_nNginx = 0;
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

constexpr const char* GOOD_NAME = "IP:127.0.0.2";
constexpr const char* GOOD_PROTOCOLS = "TLSv1.2 TLSv1.3";

INSTANTIATE_TEST_SUITE_P(
    Peers, TransportTls,
    testing::Values(TlsPeer{"Proper", GOOD_NAME, "2", GOOD_PROTOCOLS, true, 0},
                    TlsPeer{"ProperWithAnOlderProtocol", GOOD_NAME, "2", "TLSv1.2", true, 0},
                    TlsPeer{"OfAnUnknownAuthority", GOOD_NAME, "2", GOOD_PROTOCOLS, false, -60},
                    TlsPeer{"Expired", GOOD_NAME, "-1", GOOD_PROTOCOLS, true, -60},
                    TlsPeer{"OfAnotherName", "DNS:elsewhere.invalid", "2", GOOD_PROTOCOLS, true, -60},
                    TlsPeer{"OfAnotherAddress", "IP:127.0.0.1", "2", GOOD_PROTOCOLS, true, -60},
                    TlsPeer{"WithAnOutdatedProtocol", GOOD_NAME, "2", "TLSv1", true, -35},
                    TlsPeer{"ThatSpeaksPlainly", GOOD_NAME, "2", nullptr, true, -35}),
    testing::PrintToStringParamName());

INSTANTIATE_TEST_SUITE_P(Peers, TransportTlsSession,
                         testing::Values(TlsPeer{"Proper", GOOD_NAME, "2", GOOD_PROTOCOLS, true, 0}),
                         testing::PrintToStringParamName());
