#include <ktshttpagent/KtsConnection.h>

#include "platform/metrics/Servers.h"

#include <QMetaObject>

#include <new>

/// Posts what it is told to the object's thread. The events of an object that is destroyed are dropped by Qt.
class CKtsConnection::Observer : public metrics::ServerObserver
{
public:
    explicit Observer(CKtsConnection& connection) : m_connection(connection) { metrics::AddObserver(*this); }
    ~Observer() override { metrics::RemoveObserver(*this); }
    Observer(const Observer&) = delete;
    Observer& operator=(const Observer&) = delete;

    void OnLost(const std::string& strServer, const std::string& strWhy) noexcept override
    {
        Post([&] {
            return [this, strServer = QString::fromStdString(strServer),
                    strWhy = QString::fromStdString(strWhy)] {
                Q_EMIT m_connection.SigConnectionLost(strServer, strWhy);
            };
        });
    }

    void OnBack(const std::string& strServer) noexcept override
    {
        Post([&] {
            return [this, strServer = QString::fromStdString(strServer)] {
                Q_EMIT m_connection.SigConnectionBack(strServer);
            };
        });
    }

private:
    /// @param fnMake  makes the function that is called on the object's thread
    template <class Make>
    void Post(Make fnMake) noexcept
    {
        try {
            QMetaObject::invokeMethod(&m_connection, fnMake(), Qt::QueuedConnection);
        } catch (const std::bad_alloc&) { // the signal is lost
        }
    }

    CKtsConnection& m_connection;
};

CKtsConnection::CKtsConnection(QObject* parent)
    : QObject(parent), m_pObserver(std::make_unique<Observer>(*this))
{
}

CKtsConnection::~CKtsConnection() = default;

QStringList CKtsConnection::LostServers()
{
    QStringList lstServers;
    for (const std::string& strServer : metrics::LostServers()) {
        lstServers.append(QString::fromStdString(strServer));
    }
    return lstServers;
}
