#pragma once

#include "KtsagentProcess.h"

#include <gmock/gmock.h>

/// How long a stage may take on a busy machine if nothing is silent on purpose, in milliseconds.
constexpr const char* ENOUGH_MS = "60000";

/// Runs `ktsagent doctor`.
class DoctorProcess : public KtsagentProcess
{
protected:
    /// Runs it with `--json` for a server, and with ENOUGH_MS if there is no other time-out.
    KtsagentRun Examine(const QString& strServer, const QStringList& lstMore = {}) const;

    /// Expects that a stage is the first that failed, with its exit status, that a sentence of it holds the
    /// words, and that each failure says what to do.
    static void ExpectFailure(const KtsagentRun& run, const QString& strStage, const std::string& strWords);

    /// The findings of a stage.
    static QJsonArray FindingsOf(const QJsonObject& report, const QString& strStage);

    /// The sentences of a stage with a mark.
    static std::string Sentences(const QJsonObject& report, const QString& strStage, const QString& strMark);
};

/// The stages in their order, each with its exit status.
const std::vector<std::pair<QString, int>>& StagesOfDoctor();
