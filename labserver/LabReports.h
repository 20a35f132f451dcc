#pragma once

#include "labserver/LabHandler.h"

/// Stores the reports of one kind. A report is stored whole before it is acknowledged, or not at all.
/// @param szKind name of the kind, as in /lab/reports/NAME
LabHandler ReportHandler(const char* szKind);

/// The reports of a kind (tail) as they were stored, oldest first: {"count": the number of all of them,
/// "reports": [{"id", "receivedAt", "report"}]}. With the parameter "after", only those with a higher id;
/// with "limit", at most that many of them.
Json::Value ListReports(LabContext& context, const LabRequest& request);
