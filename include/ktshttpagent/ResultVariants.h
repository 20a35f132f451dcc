#pragma once

/// @file
/// Declares as Qt meta-types the records that a `CUIAgentRsp` signal carries inside a QVariant. Include this
/// header to take a record out. CUIAgentRsp.h says which signal carries which record; RequestRecords.h and
/// ResultRecords.h describe the records.
///
/// A host takes a record out with `variant.value<SResponseGetProject>()`, or looks the type up by one of
/// these names: `SRequestGetChannelCheckData`, `SResponseGetAutoExport`, `SResponseGetBatteryStatus`,
/// `SResponseGetChannelCheckData`, `SResponseGetFtpFilePath`, `SResponseGetProject`,
/// `SResponseGetWhetherInCommon`, `USER_INFO`. A type is registered when the first variant of it is made.
///
/// Ownership and threads: variants are deep copies. Each owns its texts and lists, and may be passed to any
/// thread.

#include "RequestRecords.h"
#include "ResultRecords.h"

#include <QMetaType>

/// The name of the meta-type for the request record of a channel check.
using SRequestGetChannelCheckData = tagSRequestGetChannelCheckData;

Q_DECLARE_METATYPE(SRequestGetChannelCheckData)
Q_DECLARE_METATYPE(SResponseGetAutoExport)
Q_DECLARE_METATYPE(SResponseGetBatteryStatus)
Q_DECLARE_METATYPE(SResponseGetChannelCheckData)
Q_DECLARE_METATYPE(SResponseGetFtpFilePath)
Q_DECLARE_METATYPE(SResponseGetProject)
Q_DECLARE_METATYPE(SResponseGetWhetherInCommon)
Q_DECLARE_METATYPE(USER_INFO)
