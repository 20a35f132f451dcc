#include "TlsAdvice.h"

#include <QString>
#include <QStringList>

namespace
{

struct Advice {
    const char* szWords; ///< in the message, in small letters
    const char* szToDo;
};

constexpr const char* RENEW = "Renew the server's certificate, and check the clock of this machine.";
constexpr const char* TRUST =
    "Add the authority's certificate to the system's, which both interfaces read; CHTTPCLIENT_CA_FILE names "
    "another file for the asynchronous interface, and with KTSHTTPAGENT_SYNC_SETTINGS=transport for the "
    "blocking one too.";
constexpr const char* WRONG_NAME =
    "Name the server as its certificate does, or give it a certificate for this name.";
constexpr const char* PLAIN = "This port may speak HTTP without TLS: try http instead of https.";

// A message may have several of these words, and then gets several advices.
constexpr Advice ADVICES[] = {
    {"expired", RENEW},
    {"not yet valid", RENEW},
    {"host name did not match", WRONG_NAME},
    {"does not match", WRONG_NAME},
    {"no alternative certificate subject name", WRONG_NAME},
    {"self-signed", TRUST},
    {"self signed", TRUST},
    {"issuer", TRUST},
    {"authority", TRUST},
    {"untrusted", TRUST},
    {"no certificates could be verified", TRUST},
    {"wrong version number", PLAIN},
    {"error setting certificate", "Correct the value of CHTTPCLIENT_CA_FILE."},
};

} // namespace

std::string TlsAdvice(const std::string& strMessage)
{
    const QString strSmall = QString::fromStdString(strMessage).toLower();
    QStringList lstToDo;
    for (const Advice& advice : ADVICES) {
        if (strSmall.contains(QLatin1String(advice.szWords)) && !lstToDo.contains(advice.szToDo)) {
            lstToDo += advice.szToDo;
        }
    }
    if (!lstToDo.isEmpty()) {
        return lstToDo.join(' ').toStdString();
    }
    return "Look into the server's log: both sides must share a protocol (TLS 1.2 or newer) and a cipher.";
}
