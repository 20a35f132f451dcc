#include "KtsagentProcess.h"

#include "Wine.h"

#if defined(Q_OS_WIN)
#include "Registry.h"
#endif

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QProcess>

namespace
{

constexpr int PATIENCE_MS = 60000;

/// The program's output without the CR that the C library of Windows puts before each LF.
std::string Lines(QByteArray text)
{
#if defined(Q_OS_WIN)
    text.replace("\r\n", "\n");
#endif
    return text.toStdString();
}

QJsonDocument Parsed(const std::string& strText)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(QByteArray::fromStdString(strText), &error);
    EXPECT_EQ(error.error, QJsonParseError::NoError) << strText;
    return document;
}

/// Starts the program; once more if Wine refuses to, which it seldom does, and without a reason.
void Start(QProcess& process, const QStringList& lstArguments)
{
    process.start(KTSAGENT_PROGRAM, lstArguments, QIODevice::ReadOnly);
    if (RunsUnderWine() && !process.waitForStarted(PATIENCE_MS)) {
        process.start(KTSAGENT_PROGRAM, lstArguments, QIODevice::ReadOnly);
    }
}

} // namespace

QJsonObject KtsagentRun::Object() const
{
    const QJsonDocument document = Parsed(strOut);
    EXPECT_TRUE(document.isObject()) << strOut;
    return document.object();
}

QJsonArray KtsagentRun::List() const
{
    const QJsonDocument document = Parsed(strOut);
    EXPECT_TRUE(document.isArray()) << strOut;
    return document.array();
}

KtsagentProcess::KtsagentProcess()
{
    EXPECT_TRUE(m_folder.isValid());
    qputenv("KTSHTTPAGENT_SETTINGS_ROOT", m_folder.path().toLocal8Bit());
    qputenv("no_proxy", "*");
}

KtsagentRun KtsagentProcess::Run(const QStringList& lstArguments) const
{
    QProcess process;
    Start(process, lstArguments);
    const bool bEnded = process.waitForFinished(PATIENCE_MS);
    EXPECT_TRUE(bEnded) << process.errorString().toStdString();
    if (!bEnded) {
        process.kill();
        process.waitForFinished(PATIENCE_MS);
    }
    const bool bExited = bEnded && process.exitStatus() == QProcess::NormalExit;
    return {bExited ? process.exitCode() : -1, Lines(process.readAllStandardOutput()),
            Lines(process.readAllStandardError())};
}

QString KtsagentProcess::WriteFile(const QString& strName, const std::string& strText) const
{
    const QString strPath = m_folder.filePath(strName);
    QDir().mkpath(QFileInfo(strPath).path());
    QFile file(strPath);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly)) << strPath.toStdString();
    file.write(QByteArray::fromStdString(strText));
    return strPath;
}

void KtsagentProcess::SetEndpoint(const QString& strProfile, const QString& strValue,
                                  const QString& strPath) const
{
#if defined(Q_OS_WIN)
    ASSERT_TRUE(WriteRegistry(strProfile, strValue, strPath));
#else
    WriteFile(strProfile + ".ini", ("[General]\n" + strValue + "=" + strPath + "\n").toStdString());
#endif
}

QString Loopback(int nPort)
{
    return QString("127.0.0.1:%1").arg(nPort);
}
