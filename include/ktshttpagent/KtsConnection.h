#pragma once

/// @file
/// Tells a host when a server can't be reached any more and when it answers again, for example to show a
/// lamp: `CKtsConnection`.

#include "KtsExport.h"

#include <QObject>
#include <QString>
#include <QStringList>

#include <memory>

/// Emits a signal when the connection to a server is lost or back. Both interfaces count: a server is lost
/// after an exchange for which it gave no answer (its name was not found, no connection, no TLS, no reply in
/// time, the connection died), and back after one that it answered, whatever it said. Nothing is sent to find
/// this out.
///
/// A host makes as many of these objects as it likes. Threads: an object emits its signals on the thread to
/// which it belongs, whose event loop must run; it may be destroyed there at any time. Ownership: as with
/// every QObject, the parent's, if there is one.
class KTSHTTPAGENT_API CKtsConnection : public QObject
{
    Q_OBJECT

public:
    /// Tells from now on; `LostServers` names those that are lost already.
    explicit CKtsConnection(QObject* parent = nullptr);
    ~CKtsConnection() override;

    /// The servers that are lost at the moment, as "http://HOST:PORT" or "https://HOST:PORT". May be called
    /// from any thread.
    static QStringList LostServers();

Q_SIGNALS:
    /// An exchange failed for which the server gave no answer.
    /// @param strServer  "http://HOST:PORT" or "https://HOST:PORT"
    /// @param strWhy     why the exchange failed, in words, as the log says it
    void SigConnectionLost(QString strServer, QString strWhy);
    /// The server answered again.
    /// @param strServer  as in `SigConnectionLost`
    void SigConnectionBack(QString strServer);

private:
    class Observer;
    std::unique_ptr<Observer> m_pObserver;
};
