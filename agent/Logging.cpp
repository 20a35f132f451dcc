#include "Logging.h"

#include "platform/system/NeverDestroyed.h"

const QLoggingCategory& logReply()
{
    static const NeverDestroyed<QLoggingCategory> category("ktshttpagent.reply");
    return *category;
}

const QLoggingCategory& logResponse()
{
    static const NeverDestroyed<QLoggingCategory> category("ktshttpagent.response", QtWarningMsg);
    return *category;
}

void PrepareLogging()
{
    logReply();
    logResponse();
    qFormatLogMessage(QtDebugMsg, QMessageLogContext(), QString());
}
