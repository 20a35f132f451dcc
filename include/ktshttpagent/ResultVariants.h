#pragma once

/// @file
/// The records that reach a host inside a QVariant of a `CUIAgentRsp` signal, as Qt meta-types; include this
/// header wherever one is taken out. CUIAgentRsp.h says which signal carries which record, RequestRecords.h
/// and ResultRecords.h what is in it.
///
/// A host takes a record out with `variant.value<SResponseGetProject>()`, or finds the type by the name
/// written here: `SRequestGetChannelCheckData`, `SResponseGetAutoExport`, `SResponseGetBatteryStatus`,
/// `SResponseGetChannelCheckData`, `SResponseGetFtpFilePath`, `SResponseGetProject`,
/// `SResponseGetWhetherInCommon`, `USER_INFO`. A type is registered when a variant of it is first made.
///
/// Ownership and threads: variants copy deeply. Each owns its texts and lists, and may go to any thread.

#include "RequestRecords.h"
#include "ResultRecords.h"

#include <QMetaType>

/// The name under which the request record of a channel check travels.
using SRequestGetChannelCheckData = tagSRequestGetChannelCheckData;

Q_DECLARE_METATYPE(SRequestGetChannelCheckData)
Q_DECLARE_METATYPE(SResponseGetAutoExport)
Q_DECLARE_METATYPE(SResponseGetBatteryStatus)
Q_DECLARE_METATYPE(SResponseGetChannelCheckData)
Q_DECLARE_METATYPE(SResponseGetFtpFilePath)
Q_DECLARE_METATYPE(SResponseGetProject)
Q_DECLARE_METATYPE(SResponseGetWhetherInCommon)
Q_DECLARE_METATYPE(USER_INFO)
