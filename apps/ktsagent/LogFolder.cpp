#include "LogFolder.h"

#include <QDir>
#include <QtGlobal>

QString LogFolder()
{
    if (!qEnvironmentVariableIsEmpty("CLOG_DIR")) {
        return qEnvironmentVariable("CLOG_DIR");
    }
#if defined(Q_OS_WIN)
    const QString strState = qEnvironmentVariable("LOCALAPPDATA");
#else
    const QString strState = qEnvironmentVariableIsEmpty("XDG_STATE_HOME")
                                 ? QDir::homePath() + "/.local/state"
                                 : qEnvironmentVariable("XDG_STATE_HOME");
#endif
    return strState + "/ktshttpagent";
}
