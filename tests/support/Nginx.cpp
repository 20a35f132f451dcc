#include "Nginx.h"

#include "ScriptedServer.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <system_error>
#include <thread>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace std::chrono_literals;

namespace
{

constexpr const char* NGINX = "/usr/sbin/nginx";

void WriteConfiguration(const std::filesystem::path& path, const std::string& strServer)
{
    std::ofstream(path)
        << "daemon off; master_process off; pid nginx.pid; error_log error.log;\n"
           "events { worker_connections 4096; }\n"
           "http { client_body_temp_path t; proxy_temp_path t; fastcgi_temp_path t;\n"
           "uwsgi_temp_path t; scgi_temp_path t; log_format target '$request_uri'; access_log off;\n"
           "server { "
        << strServer << " } }\n";
}

} // namespace

bool MakeCertificates(const std::filesystem::path& folder, const std::string& strSubject,
                      const std::string& strDays, const std::string& strAuthority)
{
    const std::string strKey =
        "openssl req -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -batch 2>>openssl.log ";
    const std::string strCommands =
        "cd '" + folder.string() + "' && " + strKey +
        "-x509 -days 2 -keyout ca.key -out ca.pem -subj /CN=" + strAuthority + " && " + strKey +
        "-keyout server.key -out server.csr -subj /CN=server -addext subjectAltName=" + strSubject +
        " && openssl x509 -req -in server.csr -CA ca.pem -CAkey ca.key -CAcreateserial"
        " -copy_extensions copy -out server.pem 2>>openssl.log -days " +
        strDays;
    return std::system(strCommands.c_str()) == 0;
}

bool Nginx::IsInstalled()
{
    return std::filesystem::exists(NGINX);
}

Nginx::Nginx(const std::filesystem::path& folder, const std::string& strListen, const std::string& strServer)
{
    constexpr int TRIES = 5; // another process may take a port that was free a moment ago
    for (int nTry = 0; nTry < TRIES; ++nTry) {
        m_nPort = RefusingPort().Port();
        WriteConfiguration(folder / "nginx.conf", std::string("listen ") + ADDRESS + ":" +
                                                      std::to_string(m_nPort) + strListen + ";\n" +
                                                      strServer);
        Spawn(folder);
        if (Listens(folder / "nginx.pid")) {
            return;
        }
    }
    throw std::runtime_error("nginx does not start; see " + (folder / "error.log").string());
}

/// Waits until it listens, which it does before it writes this file, or ends because it can't.
bool Nginx::Listens(const std::filesystem::path& pathPid) const
{
    const auto tpEnd = std::chrono::steady_clock::now() + 30s;
    while (!std::filesystem::exists(pathPid)) {
        if (::waitpid(m_nProcess, nullptr, WNOHANG) != 0) {
            return false;
        }
        if (std::chrono::steady_clock::now() > tpEnd) {
            Stop();
            return false;
        }
        std::this_thread::sleep_for(5ms);
    }
    return true;
}

Nginx::~Nginx()
{
    Stop();
}

void Nginx::Spawn(const std::filesystem::path& folder)
{
    const std::string strFolder = folder.string() + '/';
    const std::string strErrors = strFolder + "error.log";
    const char* const arrArguments[] = {NGINX,        "-p", strFolder.c_str(), "-c",
                                        "nginx.conf", "-e", strErrors.c_str(), nullptr};
    const int nError =
        ::posix_spawn(&m_nProcess, NGINX, nullptr, nullptr, const_cast<char* const*>(arrArguments), environ);
    if (nError != 0) {
        throw std::system_error(nError, std::generic_category(), NGINX);
    }
}

void Nginx::Stop() const
{
    ::kill(m_nProcess, SIGTERM);
    ::waitpid(m_nProcess, nullptr, 0);
}
