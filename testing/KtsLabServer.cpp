#include "LabCall.h"
#include "LabProgram.h"

#include <ktshttpagent/testing/KtsLabServer.h>

#include <QDeadlineTimer>
#include <QFile>
#include <QJsonDocument>
#include <QProcess>
#include <QTemporaryDir>

#include <optional>
#include <utility>

namespace
{

/// The port in the line that the server prints when it listens; 0 if that is another line.
int PortIn(const QByteArray& baLine)
{
    const QByteArray baBefore = "ktslabserver: listening on http://127.0.0.1:";
    const QByteArray baRest = baLine.startsWith(baBefore) ? baLine.mid(baBefore.size()) : QByteArray();
    return baRest.left(baRest.indexOf('/')).toInt();
}

} // namespace

class KtsLabServer::Server
{
public:
    explicit Server(SKtsLabServerOptions options) : m_options(std::move(options)) {}
    ~Server() { Stop(); }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    bool Start();
    void Stop();
    LabCallReply Call(const char* szMethod, const QString& strPath, const QByteArray& baJson = {});
    QJsonArray List(const QString& strPath, const char* szMember);
    bool Succeeds(const char* szMethod, const QString& strPath, const QByteArray& baJson = {});

    int Port() const { return m_nPort; }
    const QString& Error() const { return m_strError; }

private:
    bool PrepareData();
    bool AwaitListening();
    bool Fail(const QString& strError);

    const SKtsLabServerOptions m_options;
    std::optional<QTemporaryDir> m_folder; ///< of the data, from the first start on
    std::optional<QProcess> m_process;     ///< while the server runs
    int m_nPort = 0;
    QString m_strError;
};

bool KtsLabServer::Server::Fail(const QString& strError)
{
    m_strError = "KtsLabServer: " + strError;
    return false;
}

/// Makes the folder of the data, with the given file if there is one.
bool KtsLabServer::Server::PrepareData()
{
    if (m_folder) {
        return true;
    }
    m_folder.emplace();
    if (!m_folder->isValid()) {
        const QString strError = m_folder->errorString();
        m_folder.reset();
        return Fail("no temporary folder can be made: " + strError);
    }
    QFile given(m_options.strDataFile);
    if (!m_options.strDataFile.isEmpty() && !given.copy(m_folder->filePath("lab.db"))) {
        m_folder.reset();
        return Fail(m_options.strDataFile + " can't be copied: " + given.errorString());
    }
    return true;
}

bool KtsLabServer::Server::Start()
{
    if (m_process) {
        return true;
    }
    QString strError;
    const QString strProgram = FindLabProgram(m_options.strProgram, strError);
    if (strProgram.isEmpty()) {
        return Fail(strError);
    }
    if (!PrepareData()) {
        return false;
    }
    m_process.emplace();
    // The server ends with its input, which is a pipe that closes with this process, whatever ends that.
    m_process->start(strProgram, {"--end-with-input", "--port", QString::number(m_nPort), "--data",
                                  m_folder->filePath("lab.db")});
    if (!AwaitListening()) {
        const QString strSaid = QString::fromLocal8Bit(m_process->readAllStandardError()).trimmed();
        const QString strWhy = strSaid.isEmpty() ? m_process->errorString() : strSaid;
        Stop();
        return Fail(strProgram + " does not start: " + strWhy);
    }
    return true;
}

bool KtsLabServer::Server::AwaitListening()
{
    const QDeadlineTimer deadline(m_options.nMostMilliseconds);
    while (!m_process->canReadLine()) {
        if (!m_process->waitForReadyRead(static_cast<int>(deadline.remainingTime()))) {
            return false;
        }
    }
    const int nPort = PortIn(m_process->readLine());
    m_nPort = nPort != 0 ? nPort : m_nPort;
    return nPort != 0;
}

void KtsLabServer::Server::Stop()
{
    if (!m_process) {
        return;
    }
    m_process->closeWriteChannel();
    if (m_process->state() != QProcess::NotRunning &&
        !m_process->waitForFinished(m_options.nMostMilliseconds)) {
        m_process->kill();
        m_process->waitForFinished(-1);
    }
    m_process.reset();
}

LabCallReply KtsLabServer::Server::Call(const char* szMethod, const QString& strPath,
                                        const QByteArray& baJson)
{
    LabCallReply reply;
    if (m_process) {
        reply = CallLab(m_nPort, szMethod, strPath, baJson, m_options.nMostMilliseconds);
    } else {
        reply.strError = QStringLiteral("the lab server is not started");
    }
    if (!reply.strError.isEmpty()) {
        Fail(reply.strError);
    }
    return reply;
}

bool KtsLabServer::Server::Succeeds(const char* szMethod, const QString& strPath, const QByteArray& baJson)
{
    return Call(szMethod, strPath, baJson).strError.isEmpty();
}

/// The list that a reply has as a member.
QJsonArray KtsLabServer::Server::List(const QString& strPath, const char* szMember)
{
    return QJsonDocument::fromJson(Call("GET", strPath).baBody)
        .object()
        .value(QLatin1String(szMember))
        .toArray();
}

KtsLabServer::KtsLabServer(SKtsLabServerOptions options)
    : m_pServer(std::make_unique<Server>(std::move(options)))
{
}

KtsLabServer::~KtsLabServer() = default;

bool KtsLabServer::Start()
{
    return m_pServer->Start();
}

void KtsLabServer::Stop()
{
    m_pServer->Stop();
}

QString KtsLabServer::Error() const
{
    return m_pServer->Error();
}

QString KtsLabServer::Host() const
{
    return QStringLiteral("127.0.0.1");
}

int KtsLabServer::Port() const
{
    return m_pServer->Port();
}

QString KtsLabServer::Url() const
{
    return "http://" + Host() + ':' + QString::number(Port()) + '/';
}

bool KtsLabServer::AddRows(const QString& strList, const QJsonArray& rows)
{
    return m_pServer->Succeeds("POST", "/lab/" + strList, QJsonDocument(rows).toJson());
}

QJsonArray KtsLabServer::Rows(const QString& strList)
{
    return m_pServer->List("/lab/" + strList, "items");
}

QJsonArray KtsLabServer::Reports(const QString& strKind)
{
    return m_pServer->List("/lab/reports/" + strKind, "reports");
}

bool KtsLabServer::AddFault(const QJsonObject& fault)
{
    return m_pServer->Succeeds("POST", "/lab/faults", QJsonDocument(fault).toJson());
}

bool KtsLabServer::AddFault(const QString& strPath, int nStatus, int nCount)
{
    return AddFault({{"path", strPath}, {"status", nStatus}, {"count", nCount}});
}

bool KtsLabServer::ClearFaults()
{
    return m_pServer->Succeeds("DELETE", "/lab/faults");
}
