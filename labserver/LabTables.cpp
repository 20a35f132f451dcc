#include "labserver/LabTables.h"

namespace
{

using Type = LabType;

LabTable ListTable(const char* szName)
{
    return {szName, {{"isArray", Type::Flag}}};
}

LabTable ElementTable(const char* szName)
{
    return {
        szName,
        {{"report", Type::Integer}, {"position", Type::Integer}, {"element", Type::Text}},
        R"("report", "position")",
    };
}

} // namespace

namespace labtables
{

const LabTable USERS{
    "user",
    {{"id", Type::Integer}, {"title", Type::Text}, {"author", Type::Text}, {"description", Type::Text}},
    R"("id")",
};

const LabTable PROJECTS{
    "project",
    {{"dxtm", Type::Text},
     {"xh", Type::Text},
     {"委托单号", Type::Tree},
     {"测试类型", Type::Tree},
     {"项目分类", Type::Tree},
     {"项目名称", Type::Tree}},
};

const LabTable BATTERY_STATES{
    "battery_state",
    {{"id", Type::Integer}, {"name", Type::Text}, {"电池状态", Type::Tree}},
    R"("id")",
};

const LabTable CELLS{
    "cell",
    {{"dxtm", Type::Text},
     {"strAnodeMaterial", Type::Text},
     {"strBatchNumber", Type::Text},
     {"strContainerNumber", Type::Text},
     {"strCustomer", Type::Text},
     {"strDiaphragm", Type::Text},
     {"strElectrolyte", Type::Text},
     {"strNegativeMaterial", Type::Text},
     {"strOrderNO", Type::Text},
     {"strPlace", Type::Text},
     {"strProjectClassify", Type::Text},
     {"strShareOrder", Type::Text},
     {"strShareSample", Type::Text},
     {"strSystemCapacity", Type::Text},
     {"strTestClassify", Type::Text},
     {"strTestProject", Type::Text},
     {"strTestPurpose", Type::Text},
     {"strTestReporter", Type::Text},
     {"strTestType", Type::Text},
     {"strThickRat", Type::Text},
     {"strType", Type::Text}},
    R"("dxtm")",
};

const LabTable FTP_PATHS{
    "ftp_path",
    {{"bjtzser", Type::Text},
     {"csxmser", Type::Text},
     {"supplier", Type::Text},
     {"batteryStatus", Type::Text},
     {"ftpFilePath", Type::Text},
     {"permit", Type::Flag}},
    R"("bjtzser", "csxmser", "supplier", "batteryStatus")",
};

const LabTable SUPPORTED_VERSIONS{
    "supported_version",
    {{"t", Type::Text}, {"com", Type::Text}, {"ver", Type::Text}, {"supported", Type::Flag}},
    R"("t")",
};

const LabTable CHANNEL_RULES{
    "channel_rule",
    {{"deviceId", Type::Text}, {"chl", Type::Text}, {"allowBoot", Type::Text}, {"reason", Type::Text}},
    R"("deviceId", "chl")",
};

const LabTable SHARED_BARCODES{
    "shared_barcode",
    {{"dxtm", Type::Text}, {"common", Type::Flag}},
    R"("dxtm")",
};

const LabTable CHANNEL_STATUS{
    "channel_status",
    {{"t", Type::Text},
     {"com", Type::Text},
     {"ver", Type::Text},
     {"PEXAVer", Type::Text},
     {"deviceId", Type::Text},
     {"box", Type::Integer},
     {"disch_retention", Type::Number},
     {"retentionUnder", Type::Text},
     {"stepStatus", Type::Text},
     {"stopTime", Type::Text},
     {"cMax", Type::Text},
     {"errorParam", Type::Text},
     {"errorTime", Type::Text},
     {"chl", Type::Text},
     {"dxtm", Type::Text},
     {"cycle", Type::Integer},
     {"disch_capacity", Type::Number},
     {"step_state", Type::Text},
     {"voltage", Type::Number},
     {"current", Type::Number},
     {"backup_dir", Type::Text},
     {"hostname", Type::Text},
     {"action", Type::Text},
     {"action_desc", Type::Text},
     {"chlType", Type::Integer},
     {"reason", Type::Integer},
     {"reason_desc", Type::Text},
     {"deviceModelType", Type::Text},
     {"deviceRange", Type::Text},
     {"wtNumId", Type::Integer},
     {"xmNameId", Type::Integer},
     {"dczt", Type::Text}},
};

const LabTable INCUBATOR_STATUS{
    "incubator_status",
    {{"name", Type::Text}, {"status", Type::Text}, {"temperature", Type::Number}},
};

const LabTable BATTERY_DATA{
    "battery_data",
    {{"siteNo", Type::Text},
     {"batchNo", Type::Text},
     {"resourceNo", Type::Text},
     {"chargingCapacity", Type::Text},
     {"dischargeCapacity", Type::Text},
     {"voltage", Type::Text},
     {"uploadTime", Type::Text}},
};

const LabTable CYCLE_DATA = ListTable("cycle_data");
const LabTable CYCLE_ELEMENTS = ElementTable("cycle_element");
const LabTable STEP_DATA = ListTable("step_data");
const LabTable STEP_ELEMENTS = ElementTable("step_element");
const LabTable ORN_STEP_DATA = ListTable("orn_step_data");
const LabTable ORN_STEP_ELEMENTS = ElementTable("orn_step_element");

const LabTable REPORT_KEYS{
    "report_key",
    {{"key", Type::Text},
     {"kind", Type::Text},
     {"report", Type::Integer},
     {"fingerprint", Type::Integer},
     {"repeats", Type::Integer}},
    R"("key")",
    true,
    R"("kind", "report")",
};

const std::vector<const LabTable*>& All()
{
    static const std::vector<const LabTable*> vecAll = {
        &USERS,
        &PROJECTS,
        &BATTERY_STATES,
        &CELLS,
        &FTP_PATHS,
        &CHANNEL_RULES,
        &CHANNEL_STATUS,
        &SHARED_BARCODES,
        &SUPPORTED_VERSIONS,
        &INCUBATOR_STATUS,
        &BATTERY_DATA,
        &CYCLE_DATA,
        &CYCLE_ELEMENTS,
        &STEP_DATA,
        &STEP_ELEMENTS,
        &ORN_STEP_DATA,
        &ORN_STEP_ELEMENTS,
        &REPORT_KEYS,
    };
    return vecAll;
}

} // namespace labtables
