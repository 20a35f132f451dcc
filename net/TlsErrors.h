#pragma once

#include <QString>

class QNetworkAccessManager;
class QNetworkReply;

/// Notes what is wrong with the certificates that the manager's servers show, for `ErrorText`. They fail all
/// the same. To be called on the manager's thread, once, before its first request.
void NoteTlsErrors(QNetworkAccessManager& manager);

/// Why an exchange of such a manager failed. Of a certificate Qt's own text says no more than that the
/// handshake failed; here what is wrong with it follows.
QString ErrorText(const QNetworkReply& reply);
