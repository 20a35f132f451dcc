#pragma once

#include <QString>

class QNetworkAccessManager;
class QNetworkReply;

/// Records what is wrong with the certificates of the manager's servers, for `ErrorText`. The exchanges fail
/// all the same. Call it once, on the manager's thread, before its first request.
void NoteTlsErrors(QNetworkAccessManager& manager);

/// Why an exchange of such a manager failed. When a certificate is bad, Qt's own text says only that the
/// handshake failed; this text adds what is wrong with the certificate.
QString ErrorText(const QNetworkReply& reply);
