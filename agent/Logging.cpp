#include "Logging.h"

#include "platform/system/NeverDestroyed.h"

const QLoggingCategory& LogReply()
{
    static const NeverDestroyed<QLoggingCategory> category("ktshttpagent.reply");
    return *category;
}

const QLoggingCategory& LogResponse()
{
    static const NeverDestroyed<QLoggingCategory> category("ktshttpagent.response", QtWarningMsg);
    return *category;
}

void PrepareLogging()
{
    LogReply();
    LogResponse();
    qFormatLogMessage(QtDebugMsg, QMessageLogContext(), QString());
}
