#pragma once

#include <QNetworkProxy>

class QUrl;

/// The proxy that libcurl would use for a URL, by the environment (CurlProxy.h); `NoProxy` for none. Qt knows
/// neither proxies that are reached over TLS nor SOCKS 4; for them this names a proxy that can't be connected
/// to, so that no request goes another way than it should.
QNetworkProxy TransportsProxyFor(const QUrl& url);
