#pragma once

#include <chrono>
#include <functional>
#include <string>

struct LabSeen;

/// Where a lab server listens and what it keeps.
struct LabServerOptions {
    std::string strAddress = "127.0.0.1";
    int nPort = 0;           ///< 0 takes a free port
    std::string strDataFile; ///< SQLite file, see LabStore; empty keeps everything in memory
    /// How long a client may take to send a request once it has begun, and again to take the reply. A client
    /// that takes longer loses its connection, even if it sends or takes a byte now and then.
    std::chrono::milliseconds patience{60'000};
    int nMaxConnections = 1100; ///< at a time, each with a thread; a further client is answered 503
    /// Gets each request of a host when it has ended, on many threads at a time. May be empty.
    std::function<void(const LabSeen&)> fnSeen{};
    /// Whether hosts must use HTTPS. The operator's paths are served without it too.
    bool bTls = false;
    /// The server's certificate for it, with those of authorities behind it, and its key, both in PEM; empty
    /// for a certificate that is made on the spot, see LabTls.
    std::string strCertificateFile{};
    std::string strKeyFile{};
    /// A recording, see LabReplay: hosts get what it has for them, and nothing is stored. Empty for none.
    std::string strReplayFile{};
};
