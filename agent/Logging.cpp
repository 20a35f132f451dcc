#include "Logging.h"

const QLoggingCategory& logReply()
{
    static const QLoggingCategory& category = *new QLoggingCategory("ktshttpagent.reply");
    return category;
}

const QLoggingCategory& logResponse()
{
    static const QLoggingCategory& category = *new QLoggingCategory("ktshttpagent.response", QtWarningMsg);
    return category;
}

void PrepareLogging()
{
    logReply();
    logResponse();
    qFormatLogMessage(QtDebugMsg, QMessageLogContext(), QString());
}
