#include "GetAutoExport.h"

namespace VelCSDK::requests
{
namespace
{

/// A member of "result", and the field that it fills.
struct ExportField {
    const char* szName;
    std::string SResponseGetAutoExport::*pField;
};

constexpr ExportField EXPORT_FIELDS[] = {
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

RequestText GetAutoExport::Outgoing(const Arguments& arguments)
{
    Json::Value query;
    query["bjtzser"] = arguments.bjtzser;
    query["csxmser"] = arguments.csxmser;
    query["dxtm"] = arguments.dxtm;
    return QueryText(query);
}

void GetAutoExport::Read(const Reply& reply, const Arguments* /*pAsked*/, Record& record)
{
    record.bSuccess = reply.Success();
    const JsonObject result = reply.Members().Object("result");
    for (const ExportField& field : EXPORT_FIELDS) {
        record.*field.pField = result.Text(field.szName);
    }
}

} // namespace VelCSDK::requests
