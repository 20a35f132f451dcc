#include "BlockingWay.h"
#include "CurlAsker.h"
#include "CurlHandle.h"
#include "Stages.h"
#include "TlsAdvice.h"

#include <QDateTime>
#include <QSslCertificate>
#include <QSslError>
#include <QSslSocket>

#include <array>
#include <memory>

namespace
{

constexpr qint64 DAYS_TO_WARN = 30;

Finding Result(Interface& interface, const std::string& strError, const std::string& strTrusted)
{
    if (strError.empty()) {
        return {Mark::Ok, std::string("The ") + interface.szName + " accepts the server's certificate" +
                              strTrusted + "."};
    }
    interface.bReachesServer = false;
    return {Mark::Failed,
            std::string("The ") + interface.szName + " makes no TLS connection: " + strError + ".",
            TlsAdvice(strError)};
}

/// @param strCaFile  the file of authorities; empty for the system's
std::string TrustedBy(const std::string& strCaFile)
{
    return strCaFile.empty() ? ", by the system's authorities" : ", by " + strCaFile;
}

Finding CheckTlsOfAsynchronous(Context& context)
{
    const CurlHandle pEasy(curl_easy_init());
    std::array<char, CURL_ERROR_SIZE> arrError{};
    const std::string strCaFile = context.CaFile();
    SetTransportOptions(pEasy.get(), context.strBaseUrl, strCaFile, context.timeout / 2);
    curl_easy_setopt(pEasy.get(), CURLOPT_ERRORBUFFER, arrError.data());
    curl_easy_setopt(pEasy.get(), CURLOPT_CONNECT_ONLY, 1L);
    TraceHandle(pEasy.get());
    const CURLcode eResult = curl_easy_perform(pEasy.get());
    EndTrace(pEasy.get(), eResult);
    std::string strError;
    if (eResult != CURLE_OK) {
        strError = std::string(arrError.front() == '\0' ? curl_easy_strerror(eResult) : arrError.data()) +
                   " (libcurl's error " + std::to_string(eResult) + ")";
    }
    return Result(context.asynchronous, strError, TrustedBy(strCaFile));
}

std::string ErrorOf(const QSslSocket& socket)
{
    std::string strAll;
    for (const QSslError& error : socket.sslHandshakeErrors()) {
        strAll += (strAll.empty() ? "" : "; ") + error.errorString().toStdString();
    }
    if (!strAll.empty()) {
        return strAll;
    }
    const bool bTimedOut = socket.error() == QAbstractSocket::SocketTimeoutError;
    return bTimedOut ? "no answer in time" : socket.errorString().toStdString();
}

std::string NamesOf(const QSslCertificate& certificate)
{
    QStringList lstNames = certificate.subjectAlternativeNames().values();
    if (lstNames.isEmpty()) {
        lstNames = certificate.subjectInfo(QSslCertificate::CommonName);
    }
    return lstNames.join(", ").toStdString();
}

std::string Name(const QSslCertificate& certificate)
{
    return certificate.subjectDisplayName().toStdString();
}

Finding Dates(const QSslCertificate& certificate)
{
    const QDateTime tpEnd = certificate.expiryDate();
    const qint64 nDays = QDateTime::currentDateTimeUtc().daysTo(tpEnd);
    const std::string strEnd = tpEnd.toUTC().toString(Qt::ISODate).toStdString();
    const std::string strWho = "The certificate of \"" + Name(certificate) + "\"";
    if (tpEnd < QDateTime::currentDateTimeUtc()) {
        return {Mark::Failed, strWho + " ended at " + strEnd + ".", "Renew it."};
    }
    if (certificate.effectiveDate() > QDateTime::currentDateTimeUtc()) {
        return {Mark::Failed,
                strWho + " begins only at " +
                    certificate.effectiveDate().toUTC().toString(Qt::ISODate).toStdString() + ".",
                "Check the clock of this machine and the certificate."};
    }
    const std::string strSays =
        strWho + " is valid until " + strEnd + ", for " + std::to_string(nDays) + " days.";
    return nDays < DAYS_TO_WARN ? Finding{Mark::Warning, strSays, "Renew it soon."}
                                : Finding{Mark::Ok, strSays};
}

/// What the server showed, whether it is trusted or not.
Findings Describe(const QList<QSslCertificate>& lstChain)
{
    if (lstChain.isEmpty()) {
        return {};
    }
    std::string strChain;
    for (const QSslCertificate& certificate : lstChain) {
        strChain += (strChain.empty() ? "\"" : ", signed by \"") + Name(certificate) + '"';
    }
    const std::string strIssuer = lstChain.last().issuerDisplayName().toStdString();
    if (!lstChain.last().isSelfSigned()) {
        strChain += ", signed by \"" + strIssuer + "\", which the server does not send";
    }
    Findings vecFindings{{Mark::Ok, "The server shows a certificate for " + NamesOf(lstChain.first()) +
                                        "; the chain is " + strChain + "."}};
    for (const QSslCertificate& certificate : lstChain) {
        vecFindings.push_back(Dates(certificate));
    }
    return vecFindings;
}

Findings CheckTlsOfBlocking(Context& context)
{
    if (!QSslSocket::supportsSsl()) {
        context.blocking.bReachesServer = false;
        return {{Mark::Failed, "Qt finds no TLS library, so the blocking interface can't use https.",
                 "Install the TLS library that this Qt was built for: " +
                     QSslSocket::sslLibraryBuildVersionString().toStdString() + "."}};
    }
    QSslSocket socket;
    socket.setProxy(context.proxyOfBlocking);
    socket.setSslConfiguration(TlsOfBlocking(context));
    socket.connectToHostEncrypted(context.Host(), static_cast<quint16>(context.server.nPort));
    const bool bEncrypted = socket.waitForEncrypted(static_cast<int>(context.timeout.count() / 2));
    const std::string strCaFile = context.HasTransportsSettings() ? context.CaFile() : "";
    Findings vecFindings{Result(context.blocking, bEncrypted ? "" : ErrorOf(socket), TrustedBy(strCaFile))};
    for (Finding& finding : Describe(socket.peerCertificateChain())) {
        vecFindings.push_back(std::move(finding));
    }
    return vecFindings;
}

} // namespace

Findings CheckTls(Context& context)
{
    if (!context.UsesTls()) {
        return {{Mark::Ok, "TLS is off for this server: everything is sent in clear."}};
    }
    Findings vecFindings;
    if (context.asynchronous.bReachesServer) {
        vecFindings.push_back(CheckTlsOfAsynchronous(context));
    }
    if (context.blocking.bReachesServer) {
        for (Finding& finding : CheckTlsOfBlocking(context)) {
            vecFindings.push_back(std::move(finding));
        }
    }
    return vecFindings.empty() ? Findings{{Mark::Skipped, "The server can't be reached."}} : vecFindings;
}
