#pragma once

#include "Context.h"

#include <QNetworkAccessManager>
#include <QNetworkRequest>
#include <QSslConfiguration>

// What the blocking interface would use: Qt's settings, or with KTSHTTPAGENT_SYNC_SETTINGS=transport those of
// the transport.

/// The authorities and versions of TLS.
QSslConfiguration TlsOfBlocking(const Context& context);

/// Gives a manager and its request the settings. Call it before the request is sent.
void ApplyBlockingWay(const Context& context, QNetworkAccessManager& manager, QNetworkRequest& request);
