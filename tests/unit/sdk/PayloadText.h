#pragma once

#include <ktshttpagent/ResultRecords.h>

#include <string>

// The payload records as text with all of their fields, so that a test can compare a whole record at once.

inline std::string Describe(bool bValue)
{
    return bValue ? "true" : "false";
}

inline std::string Describe(const std::string& strText)
{
    return "'" + strText + "'";
}

inline std::string Describe(int nValue)
{
    return std::to_string(nValue);
}

inline std::string Describe(const SIdName& pair)
{
    return Describe(pair.id) + ":" + Describe(pair.name);
}

inline std::string Describe(const SProjectItem& item)
{
    return "{" + Describe(item.xh) + " " + Describe(item.wtdh) + " " + Describe(item.csType) + " " +
           Describe(item.xmClassify) + " " + Describe(item.xmName) + "}";
}

inline std::string Describe(const SBatteryItem& item);

template <class Item>
std::string Describe(const std::vector<Item>& vecItems)
{
    std::string strAll = "[";
    for (const Item& item : vecItems) {
        strAll += (strAll.size() > 1 ? " " : "") + Describe(item);
    }
    return strAll + "]";
}

inline std::string Describe(const SBatteryItem& item)
{
    return "{" + Describe(item.id) + " " + Describe(item.name) + " " + Describe(item.lstStatus) + "}";
}

inline std::string Describe(const USER_INFO& info)
{
    return Describe(info.id) + " " + Describe(info.title) + " " + Describe(info.author);
}

inline std::string Describe(const SSupportVer& ver)
{
    return Describe(ver.bSupport) + " " + Describe(ver.com) + " " + Describe(ver.ver) + " " +
           Describe(ver.strVersion);
}

inline std::string Describe(const SResponseGetProject& project)
{
    return Describe(project.bSuccess) + " " + Describe(project.strUserText) + " " +
           Describe(project.lstProject);
}

inline std::string Describe(const SResponseGetBatteryStatus& status)
{
    return Describe(status.bSuccess) + " " + Describe(status.lstBattery);
}

inline std::string Describe(const SResponseGetAutoExport& data)
{
    std::string strAll = Describe(data.bSuccess);
    for (const std::string* pText :
         {&data.strAnodeMaterial,  &data.strBatchNumber,     &data.strContainerNumber,  &data.strCustomer,
          &data.strDiaphragm,      &data.strElectrolyte,     &data.strNegativeMaterial, &data.strOrderNO,
          &data.strPlace,          &data.strProjectClassify, &data.strShareOrder,       &data.strShareSample,
          &data.strSystemCapacity, &data.strTestClassify,    &data.strTestProject,      &data.strTestPurpose,
          &data.strTestReporter,   &data.strTestType,        &data.strThickRat,         &data.strType}) {
        strAll += " " + Describe(*pText);
    }
    return strAll;
}

inline std::string Describe(const SResponseGetFtpFilePath& path)
{
    return Describe(path.bSuccess) + " " + Describe(path.bPermit) + " " + Describe(path.strFtpFilePath);
}

inline std::string Describe(const SResponseGetChannelCheckData& data)
{
    return Describe(data.bSuccess) + " " + Describe(data.strMessage) + " " + Describe(data.strAllowBoot) +
           " " + Describe(data.strReason);
}

inline std::string Describe(const SResponseGetWhetherInCommon& common)
{
    return Describe(common.bSuccess) + " " + Describe(common.strMessage) + " " + Describe(common.bCommon);
}

/// A payload in which nothing but success is set.
template <class Record>
Record EmptyPayload(bool bSuccess)
{
    Record record;
    record.bSuccess = bSuccess;
    return record;
}
