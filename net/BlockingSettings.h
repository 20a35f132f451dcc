#pragma once

#include <QString>

#include <string>

class QNetworkAccessManager;
class QNetworkRequest;
class QUrl;

// Settings of blocking calls. By default they are Qt's. With KTSHTTPAGENT_SYNC_SETTINGS=transport they are
// those of the asynchronous transport, as far as Qt allows: libcurl's proxy variables and its rules for them,
// the authorities of CHTTPCLIENT_CA_FILE, no redirects, and TLS 1.2 or newer.

inline constexpr const char* SYNC_SETTINGS_VARIABLE = "KTSHTTPAGENT_SYNC_SETTINGS";

/// Reads the variable, once per process; later calls return the same. May be called from any thread.
bool HasTransportsSettings();

/// A sentence about the value that was read if it is neither "transport" nor "qt" nor empty, which counts as
/// "qt"; otherwise empty. May be called from any thread.
const std::string& BlockingSettingsComplaint();

/// Gives a manager and its request the transport's settings, if they are asked for. Call it before the
/// request is sent.
void ApplyBlockingSettings(QNetworkAccessManager& manager, QNetworkRequest& request);

/// The proxy that a blocking call to a URL uses, as "http://HOST:PORT" without user and password; empty for
/// none. Finding it may take Qt some time.
QString ProxyOfBlockingCall(const QUrl& url);
