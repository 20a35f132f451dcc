#pragma once

#include <QHostAddress>
#include <QList>
#include <QString>

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

/// The addresses of a name, or why there are none.
struct LookUpResult {
    QList<QHostAddress> lstAddresses;
    std::string strError; ///< empty if there are addresses
    std::int64_t nMilliseconds = 0;
};

/// Looks up a name as Qt and libcurl do. If the time is over first, the system's look-up goes on in a thread
/// of its own, for which nobody waits.
LookUpResult LookUp(const QString& strName, std::chrono::milliseconds timeout);

/// How an attempt to connect ended.
struct ConnectResult {
    QHostAddress address;
    std::string strError;           ///< empty if the connection was made
    bool bSilent = false;           ///< whether nothing came back at all
    std::int64_t nMilliseconds = 0; ///< until the connection was made, or the attempt failed
};

/// Connects to all addresses at the same time, without a proxy, and closes the connections.
std::vector<ConnectResult> Connect(const QList<QHostAddress>& lstAddresses, int nPort,
                                   std::chrono::milliseconds timeout);
