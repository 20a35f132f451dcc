#include "labserver/LabSeed.h"

#include "labserver/LabJson.h"
#include "labserver/LabTables.h"

namespace
{

struct SeedRows {
    const LabTable& table;
    const char* szRows; ///< a JSON array of rows
};

const SeedRows SEED[] = {
    {labtables::USERS, R"([
        {"id": 1, "title": "Test engineer", "author": "Li Wei", "description": "Cycle life, hall A"},
        {"id": 2, "title": "Test engineer", "author": "Zhang Min", "description": "Safety, hall B"},
        {"id": 3, "title": "Laboratory manager", "author": "王芳", "description": "实验室主管"},
        {"id": 7, "title": "Technician", "author": "Chen Jie", "description": "Night shift"}
    ])"},
    {labtables::PROJECTS, R"([
        {"dxtm": "CELL-0001", "xh": "1",
         "委托单号": {"id": 1201, "name": "WT-2024-1201"}, "测试类型": {"id": 3, "name": "循环寿命"},
         "项目分类": {"id": 11, "name": "电性能"}, "项目名称": {"id": 107, "name": "常温1C循环"}},
        {"dxtm": "CELL-0001", "xh": "2",
         "委托单号": {"id": 1201, "name": "WT-2024-1201"}, "测试类型": {"id": 4, "name": "倍率"},
         "项目分类": {"id": 11, "name": "电性能"}, "项目名称": {"id": 112, "name": "3C放电倍率"}},
        {"dxtm": "CELL-0002", "xh": "1",
         "委托单号": {"id": 1202, "name": "WT-2024-1202"}, "测试类型": {"id": 6, "name": "存储"},
         "项目分类": {"id": 12, "name": "高温性能"}, "项目名称": {"id": 131, "name": "60℃存储7天"}}
    ])"},
    {labtables::BATTERY_STATES, R"([
        {"id": 1, "name": "测试前",
         "电池状态": [{"id": 1, "name": "新电芯"}, {"id": 2, "name": "已化成"}]},
        {"id": 2, "name": "测试中", "电池状态": [{"id": 3, "name": "循环中"}, {"id": 4, "name": "搁置"}]},
        {"id": 3, "name": "测试后",
         "电池状态": [{"id": 5, "name": "完成"}, {"id": 6, "name": "失效"}, {"id": 7, "name": "报废"}]}
    ])"},
    {labtables::CELLS, R"([
        {"dxtm": "CELL-0001", "strAnodeMaterial": "NCM811", "strBatchNumber": "B2405-17",
         "strContainerNumber": "BOX-12", "strCustomer": "Northwind Mobility", "strDiaphragm": "PE 9um",
         "strElectrolyte": "LiPF6 1.1M", "strNegativeMaterial": "Graphite", "strOrderNO": "WT-2024-1201",
         "strPlace": "Hall A", "strProjectClassify": "电性能", "strShareOrder": "", "strShareSample": "",
         "strSystemCapacity": "3.2Ah", "strTestClassify": "DVT", "strTestProject": "常温1C循环",
         "strTestPurpose": "Release of batch B2405-17", "strTestReporter": "Li Wei",
         "strTestType": "循环寿命", "strThickRat": "1.04", "strType": "18650"},
        {"dxtm": "CELL-0002", "strAnodeMaterial": "LFP", "strBatchNumber": "B2405-22",
         "strContainerNumber": "BOX-15", "strCustomer": "Harbour Storage", "strDiaphragm": "PP 12um",
         "strElectrolyte": "LiPF6 1.0M", "strNegativeMaterial": "Graphite", "strOrderNO": "WT-2024-1202",
         "strPlace": "Hall B", "strProjectClassify": "高温性能", "strShareOrder": "WT-2024-1198",
         "strShareSample": "CELL-0099", "strSystemCapacity": "100Ah", "strTestClassify": "PVT",
         "strTestProject": "60℃存储7天", "strTestPurpose": "Swelling after storage",
         "strTestReporter": "Zhang Min", "strTestType": "存储", "strThickRat": "1.09",
         "strType": "Prismatic 100Ah"}
    ])"},
    {labtables::FTP_PATHS, R"([
        {"bjtzser": "B01", "csxmser": "C02", "supplier": "Northwind", "batteryStatus": "1",
         "ftpFilePath": "/data/northwind/B01/C02", "permit": true},
        {"bjtzser": "B01", "csxmser": "C03", "supplier": "Harbour Storage", "batteryStatus": "2",
         "ftpFilePath": "/data/harbour/B01/C03", "permit": false}
    ])"},
    {labtables::SUPPORTED_VERSIONS, R"([
        {"t": "0.9.0", "com": "1.0", "ver": "0.9.0", "supported": false},
        {"t": "1.0.0", "com": "2.0", "ver": "1.0.0", "supported": true},
        {"t": "1.1.0", "com": "2.1", "ver": "1.1.0", "supported": true}
    ])"},
    {labtables::CHANNEL_RULES, R"([
        {"deviceId": "*", "chl": "*", "allowBoot": "yes", "reason": "No restriction"},
        {"deviceId": "KTS-MAINT-*", "chl": "*", "allowBoot": "no", "reason": "Device in maintenance"},
        {"deviceId": "KTS-0007", "chl": "8", "allowBoot": "no", "reason": "Channel 8 waits for calibration"}
    ])"},
    {labtables::SHARED_BARCODES, R"([
        {"dxtm": "CELL-0002", "common": true},
        {"dxtm": "CELL-0099", "common": true}
    ])"},
};

} // namespace

void ForEachSeedRow(const std::function<void(const LabTable&, const Json::Value& row)>& fnTake)
{
    for (const SeedRows& seed : SEED) {
        for (const Json::Value& row : ParseJson(seed.szRows)) {
            RequireRow(row, seed.table);
            fnTake(seed.table, row);
        }
    }
}
