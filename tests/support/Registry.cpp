#include "Registry.h"

#include <QProcess>

bool RunReg(const QStringList& lstArguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start("reg", lstArguments, QIODevice::ReadOnly);
    return process.waitForFinished() && process.exitStatus() == QProcess::NormalExit &&
           process.exitCode() == 0;
}
