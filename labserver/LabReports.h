#pragma once

#include "labserver/LabRoutes.h"

/// Stores the reports of one kind: all of a report before it is acknowledged, or none of it.
/// @param pszKind name of the kind, as in /lab/reports/NAME
LabHandler ReportHandler(const char* pszKind);

/// The reports of a kind (tail) as they were stored, oldest first: {"count": all that there are, "reports":
/// [{"id", "receivedAt", "report"}]}. With the parameter "after", only those with a higher id; with "limit",
/// the first so many of them.
Json::Value ListReports(LabContext& context, const LabRequest& request);
