#pragma once

#include <QHostAddress>
#include <QNetworkProxy>
#include <QString>
#include <QTcpServer>
#include <QTcpSocket>

#include <string>

/// A proxy on the loopback interface that connects every client that asks for a tunnel to one server,
/// whichever it asked for. It works while the event loop of its thread runs.
class ConnectingProxy
{
public:
    ConnectingProxy(const QString& strServer, int nServerPort)
    {
        m_server.listen(QHostAddress::LocalHost);
        QObject::connect(&m_server, &QTcpServer::newConnection, &m_server, [this, strServer, nServerPort] {
            QTcpSocket* const pClient = m_server.nextPendingConnection();
            auto* const pServer = new QTcpSocket(pClient);
            pServer->setProxy(QNetworkProxy::NoProxy);
            QObject::connect(
                pClient, &QTcpSocket::readyRead, pServer, [this, strServer, nServerPort, pClient, pServer] {
                    if (pServer->state() == QTcpSocket::UnconnectedState && pClient->bytesAvailable() > 0) {
                        m_strRequest += pClient->readAll().toStdString();
                        if (m_strRequest.find("\r\n\r\n") != std::string::npos) {
                            pServer->connectToHost(strServer, static_cast<quint16>(nServerPort));
                        }
                    } else if (pServer->state() == QTcpSocket::ConnectedState) {
                        pServer->write(pClient->readAll());
                    }
                });
            QObject::connect(pServer, &QTcpSocket::connected, pClient,
                             [pClient] { pClient->write("HTTP/1.1 200 Connected\r\n\r\n"); });
            QObject::connect(pServer, &QTcpSocket::readyRead, pClient,
                             [pClient, pServer] { pClient->write(pServer->readAll()); });
            QObject::connect(pServer, &QTcpSocket::disconnected, pClient, &QTcpSocket::disconnectFromHost);
        });
    }

    int Port() const { return m_server.serverPort(); }

    /// The header of the request for a tunnel.
    const std::string& Request() const { return m_strRequest; }

private:
    QTcpServer m_server;
    std::string m_strRequest;
};
