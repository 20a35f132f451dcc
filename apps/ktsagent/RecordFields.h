#pragma once

#include <ktshttpagent/RequestRecords.h>
#include <ktshttpagent/ResultRecords.h>

#include <tuple>

// The fields of every record that is printed or read, in the order of printing. The names of the fields are
// used for both.

template <class Record, class Value>
struct Field {
    constexpr Field(const char* szFieldName, Value Record::*pFieldMember)
        : szName(szFieldName), pMember(pFieldMember)
    {
    }

    const char* szName;
    Value Record::*pMember;
};

/// A bool that is printed and read as one of two words.
template <class Record>
struct WordField {
    const char* szName;
    bool Record::*pMember;
    const char* szTrue;
    const char* szFalse;
};

/// A tuple of `Field` and `WordField`; there is one for each record type.
template <class Record>
inline constexpr auto FIELDS_OF = nullptr;

template <>
inline constexpr auto FIELDS_OF<tagSRequestGetChannelCheckData> = std::tuple{
    Field("wtNumId", &tagSRequestGetChannelCheckData::wtNumId),
    Field("xmNameId", &tagSRequestGetChannelCheckData::xmNameId),
    Field("dxtm", &tagSRequestGetChannelCheckData::dxtm),
    Field("deviceId", &tagSRequestGetChannelCheckData::deviceId),
    Field("chl", &tagSRequestGetChannelCheckData::chl),
    Field("purpose", &tagSRequestGetChannelCheckData::purpose),
};

template <>
inline constexpr auto FIELDS_OF<KTSStartPlugin::tagRepoChlStatusInfo> = std::tuple{
    Field("PEXAVer", &KTSStartPlugin::tagRepoChlStatusInfo::PEXAVer),
    Field("action", &KTSStartPlugin::tagRepoChlStatusInfo::action),
    Field("action_desc", &KTSStartPlugin::tagRepoChlStatusInfo::action_desc),
    Field("backup_dir", &KTSStartPlugin::tagRepoChlStatusInfo::backup_dir),
    Field("box", &KTSStartPlugin::tagRepoChlStatusInfo::box),
    Field("cMax", &KTSStartPlugin::tagRepoChlStatusInfo::cMax),
    Field("chl", &KTSStartPlugin::tagRepoChlStatusInfo::chl),
    Field("chlType", &KTSStartPlugin::tagRepoChlStatusInfo::chlType),
    Field("com", &KTSStartPlugin::tagRepoChlStatusInfo::com),
    Field("current", &KTSStartPlugin::tagRepoChlStatusInfo::current),
    Field("cycle", &KTSStartPlugin::tagRepoChlStatusInfo::cycle),
    Field("deviceId", &KTSStartPlugin::tagRepoChlStatusInfo::deviceId),
    Field("disch_capacity", &KTSStartPlugin::tagRepoChlStatusInfo::disch_capacity),
    Field("disch_retention", &KTSStartPlugin::tagRepoChlStatusInfo::disch_retention),
    Field("dxtm", &KTSStartPlugin::tagRepoChlStatusInfo::dxtm),
    Field("errorParam", &KTSStartPlugin::tagRepoChlStatusInfo::errorParam),
    Field("errorTime", &KTSStartPlugin::tagRepoChlStatusInfo::errorTime),
    Field("spare", &KTSStartPlugin::tagRepoChlStatusInfo::spare),
    Field("reason", &KTSStartPlugin::tagRepoChlStatusInfo::reason),
    Field("reason_desc", &KTSStartPlugin::tagRepoChlStatusInfo::reason_desc),
    Field("retentionUnder", &KTSStartPlugin::tagRepoChlStatusInfo::retentionUnder),
    Field("stepStatus", &KTSStartPlugin::tagRepoChlStatusInfo::stepStatus),
    Field("step_state", &KTSStartPlugin::tagRepoChlStatusInfo::step_state),
    Field("stopTime", &KTSStartPlugin::tagRepoChlStatusInfo::stopTime),
    Field("ver", &KTSStartPlugin::tagRepoChlStatusInfo::ver),
    Field("voltage", &KTSStartPlugin::tagRepoChlStatusInfo::voltage),
    Field("wtNumId", &KTSStartPlugin::tagRepoChlStatusInfo::wtNumId),
    Field("xmNameId", &KTSStartPlugin::tagRepoChlStatusInfo::xmNameId),
    Field("dczt", &KTSStartPlugin::tagRepoChlStatusInfo::dczt),
    Field("deviceModelType", &KTSStartPlugin::tagRepoChlStatusInfo::deviceModelType),
    Field("deviceRange", &KTSStartPlugin::tagRepoChlStatusInfo::deviceRange),
};

template <>
inline constexpr auto FIELDS_OF<KTSStartPlugin::tagRepoIncubatorStatus> = std::tuple{
    Field("name", &KTSStartPlugin::tagRepoIncubatorStatus::name),
    WordField<KTSStartPlugin::tagRepoIncubatorStatus>{
        "status", &KTSStartPlugin::tagRepoIncubatorStatus::status, "idle", "busy"},
    Field("temperature", &KTSStartPlugin::tagRepoIncubatorStatus::temperature),
};

template <>
inline constexpr auto FIELDS_OF<tagBatteryTestData> = std::tuple{
    Field("siteNo", &tagBatteryTestData::siteNo),
    Field("batchNo", &tagBatteryTestData::batchNo),
    Field("resourceNo", &tagBatteryTestData::resourceNo),
    Field("chargingCapacity", &tagBatteryTestData::chargingCapacity),
    Field("dischargeCapacity", &tagBatteryTestData::dischargeCapacity),
    Field("voltage", &tagBatteryTestData::voltage),
    Field("uploadTime", &tagBatteryTestData::uploadTime),
};

template <>
inline constexpr auto FIELDS_OF<USER_INFO> = std::tuple{
    Field("id", &USER_INFO::id),
    Field("title", &USER_INFO::title),
    Field("author", &USER_INFO::author),
};

template <>
inline constexpr auto FIELDS_OF<SIdName> = std::tuple{
    Field("id", &SIdName::id),
    Field("name", &SIdName::name),
};

template <>
inline constexpr auto FIELDS_OF<SProjectItem> = std::tuple{
    Field("xh", &SProjectItem::xh),         Field("wtdh", &SProjectItem::wtdh),
    Field("csType", &SProjectItem::csType), Field("xmClassify", &SProjectItem::xmClassify),
    Field("xmName", &SProjectItem::xmName),
};

template <>
inline constexpr auto FIELDS_OF<SResponseGetProject> = std::tuple{
    Field("bSuccess", &SResponseGetProject::bSuccess),
    Field("strUserText", &SResponseGetProject::strUserText),
    Field("lstProject", &SResponseGetProject::lstProject),
};

template <>
inline constexpr auto FIELDS_OF<SBatteryItem> = std::tuple{
    Field("id", &SBatteryItem::id),
    Field("name", &SBatteryItem::name),
    Field("lstStatus", &SBatteryItem::lstStatus),
};

template <>
inline constexpr auto FIELDS_OF<SResponseGetBatteryStatus> = std::tuple{
    Field("bSuccess", &SResponseGetBatteryStatus::bSuccess),
    Field("lstBattery", &SResponseGetBatteryStatus::lstBattery),
};

template <>
inline constexpr auto FIELDS_OF<SResponseGetAutoExport> = std::tuple{
    Field("bSuccess", &SResponseGetAutoExport::bSuccess),
    Field("strAnodeMaterial", &SResponseGetAutoExport::strAnodeMaterial),
    Field("strBatchNumber", &SResponseGetAutoExport::strBatchNumber),
    Field("strContainerNumber", &SResponseGetAutoExport::strContainerNumber),
    Field("strCustomer", &SResponseGetAutoExport::strCustomer),
    Field("strDiaphragm", &SResponseGetAutoExport::strDiaphragm),
    Field("strElectrolyte", &SResponseGetAutoExport::strElectrolyte),
    Field("strNegativeMaterial", &SResponseGetAutoExport::strNegativeMaterial),
    Field("strOrderNO", &SResponseGetAutoExport::strOrderNO),
    Field("strPlace", &SResponseGetAutoExport::strPlace),
    Field("strProjectClassify", &SResponseGetAutoExport::strProjectClassify),
    Field("strShareOrder", &SResponseGetAutoExport::strShareOrder),
    Field("strShareSample", &SResponseGetAutoExport::strShareSample),
    Field("strSystemCapacity", &SResponseGetAutoExport::strSystemCapacity),
    Field("strTestClassify", &SResponseGetAutoExport::strTestClassify),
    Field("strTestProject", &SResponseGetAutoExport::strTestProject),
    Field("strTestPurpose", &SResponseGetAutoExport::strTestPurpose),
    Field("strTestReporter", &SResponseGetAutoExport::strTestReporter),
    Field("strTestType", &SResponseGetAutoExport::strTestType),
    Field("strThickRat", &SResponseGetAutoExport::strThickRat),
    Field("strType", &SResponseGetAutoExport::strType),
};

template <>
inline constexpr auto FIELDS_OF<SResponseGetFtpFilePath> = std::tuple{
    Field("bSuccess", &SResponseGetFtpFilePath::bSuccess),
    Field("bPermit", &SResponseGetFtpFilePath::bPermit),
    Field("strFtpFilePath", &SResponseGetFtpFilePath::strFtpFilePath),
};
