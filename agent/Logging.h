#pragma once

#include <QLoggingCategory>

// The agent's categories of Qt's logging. They are never destroyed: an answer may come while the process
// ends.

/// Turned off with QT_LOGGING_RULES="ktshttpagent.reply=false" or QLoggingCategory::setFilterRules.
const QLoggingCategory& LogReply();
const QLoggingCategory& LogResponse();

/// Makes the categories, and what Qt makes with the first line that is logged.
void PrepareLogging();
