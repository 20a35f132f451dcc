#pragma once

#include <QLoggingCategory>

// The agent's categories of Qt's logging. They are never destroyed, because an answer may come while the
// process ends.

/// Can be turned off with QT_LOGGING_RULES="ktshttpagent.reply=false" or QLoggingCategory::setFilterRules.
const QLoggingCategory& LogReply();
const QLoggingCategory& LogResponse();

/// Creates the categories, and everything that Qt creates when the first line is logged.
void PrepareLogging();
