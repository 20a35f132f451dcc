#pragma once

#include "labserver/LabTable.h"

/// Every table of the store.
namespace labtables
{

extern const LabTable Users;
extern const LabTable Projects;
extern const LabTable BatteryStates;
extern const LabTable Cells; ///< what the automatic export tells about a cell
extern const LabTable FtpPaths;

extern const LabTable SupportedVersions;
extern const LabTable ChannelRules; ///< "deviceId" and "chl" are patterns, in which "*" stands for any text
extern const LabTable SharedBarcodes;

extern const LabTable ChannelStatus;
extern const LabTable IncubatorStatus;
extern const LabTable BatteryData;
// A report of these kinds is a list of elements of any shape; each ...Elements table holds those of the table
// before it.
extern const LabTable CycleData;
extern const LabTable CycleElements;
extern const LabTable StepData;
extern const LabTable StepElements;
extern const LabTable OrnStepData;
extern const LabTable OrnStepElements;

/// All of the above.
const std::vector<const LabTable*>& All();

} // namespace labtables
