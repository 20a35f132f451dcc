#pragma once

#include "labserver/LabHandler.h"

/// Stores the reports of one kind. A report is stored whole before it is acknowledged, or not at all. If it
/// comes with a key (LabKey.h), the key is stored together with it, for good: when the same report comes
/// again with the key, it gets the same acknowledgement and is not stored again; another report with the key
/// gets 422, and one that comes while the first is being worked on gets 409. A report that is refused keeps
/// no key.
/// @param szKind name of the kind, as in /lab/reports/NAME
LabHandler ReportHandler(const char* szKind);

/// The reports of a kind (tail) as they were stored, oldest first: {"count": the number of all of them,
/// "reports": [{"id", "receivedAt", "report"}]}; those that came with a key have also "key" and "repeats",
/// how often they came again. With the parameter "after", only those with a higher id; with "limit", at most
/// that many of them; with "search", only those that contain that text in upper or lower case.
Json::Value ListReports(LabContext& context, const LabRequest& request);

/// The member "reports" of that list, with the same parameters.
/// @throws LabError (404) if there is no such kind
Json::Value FindReports(LabContext& context, const LabRequest& request, const std::string& strKind);
