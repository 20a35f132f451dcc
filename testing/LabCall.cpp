#include "LabCall.h"

#include <QDeadlineTimer>
#include <QHostAddress>
#include <QNetworkProxy>
#include <QTcpSocket>

#include <limits>

namespace
{

constexpr int SUCCESS = 200;

QByteArray RequestText(int nPort, const char* szMethod, const QString& strPath, const QByteArray& baJson)
{
    QByteArray baText = QByteArray(szMethod) + ' ' + strPath.toUtf8().toPercentEncoding("/") +
                        " HTTP/1.1\r\nHost: 127.0.0.1:" + QByteArray::number(nPort) +
                        "\r\nConnection: close\r\n";
    if (!baJson.isEmpty()) {
        baText +=
            "Content-Type: application/json\r\nContent-Length: " + QByteArray::number(baJson.size()) + "\r\n";
    }
    return baText + "\r\n" + baJson;
}

/// The value of a header line of a reply; empty if there is none.
QByteArray HeaderOf(const QByteArray& baHead, const QByteArray& baName)
{
    for (const QByteArray& baLine : baHead.split('\n')) {
        const int nColon = baLine.indexOf(':');
        if (nColon > 0 && baLine.left(nColon).trimmed().compare(baName, Qt::CaseInsensitive) == 0) {
            return baLine.mid(nColon + 1).trimmed();
        }
    }
    return {};
}

/// Reads a reply as far as it has come.
/// @return whether it is whole
bool ReadReply(const QByteArray& baText, LabCallReply& reply)
{
    const int nHead = baText.indexOf("\r\n\r\n");
    const QByteArray baHead = baText.left(nHead);
    const QByteArray baLength = HeaderOf(baHead, "Content-Length");
    if (nHead < 0 || baLength.isEmpty()) {
        return false;
    }
    reply.nStatus = baHead.split(' ').value(1).toInt();
    reply.baBody = baText.mid(nHead + 4);
    return reply.baBody.size() >= baLength.toInt();
}

} // namespace

LabCallReply CallLab(int nPort, const char* szMethod, const QString& strPath, const QByteArray& baJson,
                     int nMostMilliseconds)
{
    const QDeadlineTimer deadline(nMostMilliseconds);
    QTcpSocket socket;
    socket.setProxy(QNetworkProxy::NoProxy);
    socket.connectToHost(QHostAddress(QHostAddress::LocalHost), static_cast<quint16>(nPort));
    LabCallReply reply;
    const QString strCall = QString::fromLatin1(szMethod) + ' ' + strPath + ": ";
    if (!socket.waitForConnected(nMostMilliseconds)) {
        reply.strError = strCall + "the lab server can't be reached: " + socket.errorString();
        return reply;
    }
    socket.write(RequestText(nPort, szMethod, strPath, baJson));
    QByteArray baText;
    while (!ReadReply(baText, reply)) {
        if (!socket.waitForReadyRead(static_cast<int>(deadline.remainingTime()))) {
            reply.nStatus = 0;
            reply.strError = strCall + "the lab server gives no whole reply: " + socket.errorString();
            return reply;
        }
        baText += socket.readAll();
    }
    if (reply.nStatus != SUCCESS) {
        reply.strError =
            strCall + "the lab server refuses this: " + QString::fromUtf8(reply.baBody).trimmed();
    }
    return reply;
}
