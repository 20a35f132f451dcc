#include "CSource.h"

#include "ReplyReader.h"
#include "RequestCatalogue.h"
#include "UserData.h"

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

} // namespace

void CSource::OnGetAutoExport(const std::string& body, int nType, void* pUserData)
{
    const CUserData user(nType, pUserData);
    const CReplyReader reply(body);
    SResponseGetAutoExport payload;
    payload.bSuccess = reply.Success();
    const CJsonObject result = reply.Members().Object("result");
    for (const SAutoExportField& field : AUTO_EXPORT_FIELDS) {
        payload.*field.pField = result.Text(field.szName);
    }
    HandOver(nType, user.Context(), &payload, reply.Result());
}

void CSource::OnGetFtpFilePath(const std::string& body, int nType, void* pUserData)
{
    const CUserData user(nType, pUserData);
    const CReplyReader reply(body);
    SResponseGetFtpFilePath payload;
    payload.bSuccess = reply.Success();
    const CJsonObject result = reply.Members().Object("result");
    payload.bPermit = result.Bool("permit").value_or(false);
    payload.strFtpFilePath = result.Text("ftpFilePath");
    HandOver(nType, user.Context(), &payload, reply.Result());
}

void CSource::OnGetChannelCheckData(const std::string& body, int nType, void* pUserData)
{
    const CUserData user(nType, pUserData);
    const CReplyReader reply(body, EArrayRoot::Success);
    SResponseGetChannelCheckData payload;
    payload.bSuccess = reply.Success();
    payload.strMessage = reply.Members().Text("message");
    const CJsonObject result = reply.Members().Object("result");
    payload.strAllowBoot = result.Text("allowBoot");
    payload.strReason = result.Text("reason");
    HandOver(nType, user.Context(), &payload, reply.Result());
}

void CSource::OnGetWhetherInCommon(const std::string& body, int nType, void* pUserData)
{
    const CUserData user(nType, pUserData);
    const CReplyReader reply(body, EArrayRoot::Success);
    SResponseGetWhetherInCommon payload;
    payload.bSuccess = reply.Success();
    payload.strMessage = reply.Members().Text("message");
    payload.bCommon = reply.Members().Bool("common").value_or(false);
    HandOver(nType, user.Context(), &payload, reply.Result());
}

} // namespace VelCSDK
