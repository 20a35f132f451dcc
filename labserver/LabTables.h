#pragma once

#include "labserver/LabTable.h"

/// Every table of the store.
namespace labtables
{

extern const LabTable USERS;
extern const LabTable PROJECTS;
extern const LabTable BATTERY_STATES;
extern const LabTable CELLS; ///< what the automatic export tells about a cell
extern const LabTable FTP_PATHS;

extern const LabTable SUPPORTED_VERSIONS;
extern const LabTable CHANNEL_RULES; ///< "deviceId" and "chl" are patterns, in which "*" stands for any text
extern const LabTable SHARED_BARCODES;

extern const LabTable CHANNEL_STATUS;
extern const LabTable INCUBATOR_STATUS;
extern const LabTable BATTERY_DATA;
// A report of these kinds is a list of elements of any shape; each ...Elements table holds those of the table
// before it.
extern const LabTable CYCLE_DATA;
extern const LabTable CYCLE_ELEMENTS;
extern const LabTable STEP_DATA;
extern const LabTable STEP_ELEMENTS;
extern const LabTable ORN_STEP_DATA;
extern const LabTable ORN_STEP_ELEMENTS;

/// The keys of the reports that came with one: "kind" as in /lab/reports/KIND, "report" the report's id
/// there, "fingerprint" the fingerprint of what was sent, "repeats" how often the report came again.
extern const LabTable REPORT_KEYS;

/// All of the above.
const std::vector<const LabTable*>& All();

} // namespace labtables
