#include "LabReader.h"

#include <httplib.h>
#include <json/json.h>

#include <memory>

namespace
{

Json::Value Ask(httplib::Client& client, const std::string& strTarget)
{
    const httplib::Result result = client.Get(strTarget);
    const std::string strText = result ? result->body : std::string();
    Json::Value value;
    const std::unique_ptr<Json::CharReader> pReader(Json::CharReaderBuilder().newCharReader());
    pReader->parse(strText.data(), strText.data() + strText.size(), &value, nullptr);
    return value;
}

} // namespace

std::uint64_t ReadLab(int nPort, ReportLedger& ledger)
{
    httplib::Client client("127.0.0.1", nPort);
    client.set_read_timeout(60);
    std::uint64_t nStored = 0;
    for (std::string strAfter = "0";;) {
        const Json::Value reports =
            Ask(client, "/lab/reports/incubator-status?limit=1000&after=" + strAfter)["reports"];
        if (reports.empty()) {
            return nStored;
        }
        for (const Json::Value& report : reports) {
            ++nStored;
            for (Json::Int64 nTime = 0; nTime <= report["repeats"].asInt64(); ++nTime) {
                ledger.Note(report["report"]["name"].asString(), report["key"].asString());
            }
            strAfter = std::to_string(report["id"].asInt64());
        }
    }
}
