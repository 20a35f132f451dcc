#pragma once

#include <filesystem>
#include <string>

#include <sys/types.h>

/// Creates an authority (ca.pem) and a server certificate signed by it (server.pem, server.key).
/// @param strSubject    the names that the certificate is for, "IP:127.0.0.1"
/// @param strDays       how long it is valid from now on
/// @param strAuthority  the authority's name, by which OpenSSL finds it
/// @return false when openssl failed; openssl.log in the folder says why
bool MakeCertificates(const std::filesystem::path& folder, const std::string& strSubject,
                      const std::string& strDays, const std::string& strAuthority = "Authority");

/// A real server on the loopback interface, in a process of its own.
class Nginx
{
public:
    /// An address on which no other connection of the machine takes a free port.
    static constexpr const char* ADDRESS = "127.0.0.2";

    static bool IsInstalled();

    /// Starts it; `ADDRESS` and `Port` say where it listens.
    /// @param folder     holds its files, including certificates that the configuration names
    /// @param strListen  what follows the address in its `listen` line: " ssl"
    /// @param strServer  the rest of its `server` block
    /// @throws std::runtime_error when it does not start
    Nginx(const std::filesystem::path& folder, const std::string& strListen, const std::string& strServer);
    ~Nginx();
    Nginx(const Nginx&) = delete;
    Nginx& operator=(const Nginx&) = delete;

    int Port() const { return m_nPort; }

private:
    void Spawn(const std::filesystem::path& folder);
    bool Listens(const std::filesystem::path& pathPid) const;
    void Stop() const;

    int m_nPort = 0;
    pid_t m_nProcess = 0;
};
