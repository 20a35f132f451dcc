#pragma once

#include "RequestRecords.h"
#include "ResultRecords.h"

#include <QMetaType>

// The records that reach a host inside a QVariant, as Qt meta-types. A host takes one out with
// `variant.value<SResponseGetProject>()`, or finds the type by the name written here. A type is registered
// when a variant of it is first made. Variants copy deeply: each owns its texts and lists.

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
