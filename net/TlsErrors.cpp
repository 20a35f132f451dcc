#include "TlsErrors.h"

#include <QList>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSslError>
#include <QStringList>
#include <QVariant>

#include <new>

namespace
{

constexpr const char* NOTE = "ktsTlsErrors"; ///< a property of the reply

} // namespace

void NoteTlsErrors(QNetworkAccessManager& manager)
{
    QObject::connect(&manager, &QNetworkAccessManager::sslErrors, &manager,
                     [](QNetworkReply* pReply, const QList<QSslError>& lstErrors) {
                         try {
                             QStringList lstTexts;
                             for (const QSslError& error : lstErrors) {
                                 lstTexts += error.errorString();
                             }
                             pReply->setProperty(NOTE, lstTexts);
                         } catch (const std::bad_alloc&) { // then the text says less
                         }
                     });
}

QString ErrorText(const QNetworkReply& reply)
{
    return (QStringList(reply.errorString()) + reply.property(NOTE).toStringList()).join("; ");
}
