#pragma once

#include "Finding.h"
#include "QueryPath.h"
#include "ServerAddress.h"

#include <ktshttpagent/KtsSettings.h>

#include <QDateTime>
#include <QHostAddress>
#include <QList>
#include <QNetworkProxy>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

/// What is known about one of the two interfaces.
struct Interface {
    const char* szName;         ///< as it is printed
    bool bUsesProxy = false;    ///< for this server
    bool bReachesServer = true; ///< false as soon as a stage found out that it can't
};

/// What the stages know: what they were asked, and what earlier stages found out.
struct Context {
    ServerAddress server;
    std::string strBaseUrl; ///< "http://HOST:PORT/", perhaps with a path, always with a "/" at its end
    std::chrono::milliseconds timeout{5000}; ///< how long a stage may wait
    std::vector<QueryPath> vecPaths;         ///< what to ask the server
    std::vector<SKtsSetting> vecSettings;
    std::vector<SKtsProfile> vecProfiles;

    Interface asynchronous{"asynchronous interface (libcurl)"};
    Interface blocking{"blocking interface (Qt)"};
    QNetworkProxy proxyOfBlocking{QNetworkProxy::NoProxy}; ///< found by the proxy stage
    QList<QHostAddress> lstAddresses;                      ///< of the server
    std::optional<QDateTime> optServerTime;
    QDateTime tpServerTime; ///< when that time arrived here

    bool UsesTls() const { return strBaseUrl.rfind("https:", 0) == 0; }
    /// The server's name or address, without brackets.
    QString Host() const;
    /// The value in force of a setting, with everything known about it; null for an unknown name.
    const SKtsSetting* FindSetting(const std::string& strName) const;
    /// The endpoint path in force for a request type id.
    std::string PathOf(int nType) const;
    /// Whether blocking calls have the transport's settings instead of Qt's.
    bool HasTransportsSettings() const;
    /// The file of authorities of the asynchronous interface; empty for the system's.
    std::string CaFile() const;
    /// The interfaces that have not been found unable to reach the server.
    std::vector<const Interface*> Usable() const;
};
