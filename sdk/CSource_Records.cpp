#include "CSource.h"

#include "DecodeFrame.h"

namespace VelCSDK
{
namespace
{

struct SAutoExportField {
    const char* szName;
    std::string SResponseGetAutoExport::*pField;
};

constexpr SAutoExportField AUTO_EXPORT_FIELDS[] = {
    {"strAnodeMaterial", &SResponseGetAutoExport::strAnodeMaterial},
    {"strBatchNumber", &SResponseGetAutoExport::strBatchNumber},
    {"strContainerNumber", &SResponseGetAutoExport::strContainerNumber},
    {"strCustomer", &SResponseGetAutoExport::strCustomer},
    {"strDiaphragm", &SResponseGetAutoExport::strDiaphragm},
    {"strElectrolyte", &SResponseGetAutoExport::strElectrolyte},
    {"strNegativeMaterial", &SResponseGetAutoExport::strNegativeMaterial},
    {"strOrderNO", &SResponseGetAutoExport::strOrderNO},
    {"strPlace", &SResponseGetAutoExport::strPlace},
    {"strProjectClassify", &SResponseGetAutoExport::strProjectClassify},
    {"strShareOrder", &SResponseGetAutoExport::strShareOrder},
    {"strShareSample", &SResponseGetAutoExport::strShareSample},
    {"strSystemCapacity", &SResponseGetAutoExport::strSystemCapacity},
    {"strTestClassify", &SResponseGetAutoExport::strTestClassify},
    {"strTestProject", &SResponseGetAutoExport::strTestProject},
    {"strTestPurpose", &SResponseGetAutoExport::strTestPurpose},
    {"strTestReporter", &SResponseGetAutoExport::strTestReporter},
    {"strTestType", &SResponseGetAutoExport::strTestType},
    {"strThickRat", &SResponseGetAutoExport::strThickRat},
    {"strType", &SResponseGetAutoExport::strType},
};

SResponseGetAutoExport ReadAutoExport(const CReplyReader& reply)
{
    SResponseGetAutoExport payload;
    payload.bSuccess = reply.Success();
    const CJsonObject result = reply.Members().Object("result");
    for (const SAutoExportField& field : AUTO_EXPORT_FIELDS) {
        payload.*field.pField = result.Text(field.szName);
    }
    return payload;
}

SResponseGetFtpFilePath ReadFtpFilePath(const CReplyReader& reply)
{
    SResponseGetFtpFilePath payload;
    payload.bSuccess = reply.Success();
    const CJsonObject result = reply.Members().Object("result");
    payload.bPermit = result.Bool("permit").value_or(false);
    payload.strFtpFilePath = result.Text("ftpFilePath");
    return payload;
}

SResponseGetChannelCheckData ReadChannelCheck(const CReplyReader& reply)
{
    SResponseGetChannelCheckData payload;
    payload.bSuccess = reply.Success();
    payload.strMessage = reply.Members().Text("message");
    const CJsonObject result = reply.Members().Object("result");
    payload.strAllowBoot = result.Text("allowBoot");
    payload.strReason = result.Text("reason");
    return payload;
}

SResponseGetWhetherInCommon ReadWhetherInCommon(const CReplyReader& reply)
{
    SResponseGetWhetherInCommon payload;
    payload.bSuccess = reply.Success();
    payload.strMessage = reply.Members().Text("message");
    payload.bCommon = reply.Members().Bool("common").value_or(false);
    return payload;
}

} // namespace

void CSource::OnGetAutoExport(const std::string& body, int nType, void* pUserData)
{
    Decode(body, nType, pUserData, EArrayRoot::FirstElement, ReadAutoExport);
}

void CSource::OnGetFtpFilePath(const std::string& body, int nType, void* pUserData)
{
    Decode(body, nType, pUserData, EArrayRoot::FirstElement, ReadFtpFilePath);
}

void CSource::OnGetChannelCheckData(const std::string& body, int nType, void* pUserData)
{
    Decode(body, nType, pUserData, EArrayRoot::Success, ReadChannelCheck);
}

void CSource::OnGetWhetherInCommon(const std::string& body, int nType, void* pUserData)
{
    Decode(body, nType, pUserData, EArrayRoot::Success, ReadWhetherInCommon);
}

} // namespace VelCSDK
