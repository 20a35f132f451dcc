#include "labserver/LabRepeats.h"

#include "labserver/LabJson.h"
#include "labserver/LabTables.h"

#include <map>
#include <string_view>

std::int64_t FingerprintOf(const std::string& strKind, const std::string& strInQuery,
                           const std::string& strBody)
{
    // FNV-1a with 64 bits, which is enough to tell a mistaken report from a repeated one.
    constexpr std::uint64_t BASIS = 0xcbf29ce484222325U;
    constexpr std::uint64_t PRIME = 0x100000001b3U;
    std::uint64_t nFingerprint = BASIS;
    const auto fnAdd = [&nFingerprint](unsigned char c) { nFingerprint = (nFingerprint ^ c) * PRIME; };
    for (const std::string_view strPart :
         {std::string_view(strKind), std::string_view(strInQuery), std::string_view(strBody)}) {
        for (const char c : strPart) {
            fnAdd(static_cast<unsigned char>(c));
        }
        const std::uint64_t nSize = strPart.size(); // without it, two parts could be divided in another way
        for (unsigned nShift = 0; nShift < 64; nShift += 8) {
            fnAdd(static_cast<unsigned char>(nSize >> nShift));
        }
    }
    return static_cast<std::int64_t>(nFingerprint);
}

std::optional<std::int64_t> CountRepeat(LabTransaction& transaction, const LabKeyedReport& report)
{
    const auto vecRows =
        transaction.Select(labtables::REPORT_KEYS, R"(WHERE "key" = ?)", {Json::Value(report.strKey)});
    if (vecRows.empty()) {
        return std::nullopt;
    }
    const LabRow& row = vecRows.front();
    if (row.members["fingerprint"].asInt64() != report.nFingerprint) {
        throw LabError(422, "The key in the header Idempotency-Key came with another report before.");
    }
    transaction.Update(labtables::REPORT_KEYS, row.nId, "repeats",
                       Json::Int64{row.members["repeats"].asInt64() + 1});
    return row.members["report"].asInt64();
}

void KeepKey(LabTransaction& transaction, const LabKeyedReport& report, std::int64_t nId)
{
    Json::Value row(Json::objectValue);
    row["key"] = report.strKey;
    row["kind"] = report.strKind;
    row["report"] = Json::Int64{nId};
    row["fingerprint"] = Json::Int64{report.nFingerprint};
    row["repeats"] = 0;
    transaction.Insert(labtables::REPORT_KEYS, row);
}

void AddKeys(LabStore& store, const std::string& strKind, Json::Value& reports)
{
    if (reports.empty()) {
        return;
    }
    std::map<Json::Int64, Json::Value> mapKeys;
    const Json::ArrayIndex nLast = reports.size() - 1;
    for (const LabRow& row :
         store.Select(labtables::REPORT_KEYS, R"(WHERE "kind" = ? AND "report" BETWEEN ? AND ?)",
                      {Json::Value(strKind), reports[0]["id"], reports[nLast]["id"]})) {
        mapKeys[row.members["report"].asInt64()] = row.members;
    }
    for (Json::Value& report : reports) {
        const auto found = mapKeys.find(report["id"].asInt64());
        if (found != mapKeys.end()) {
            report["key"] = found->second["key"];
            report["repeats"] = found->second["repeats"];
        }
    }
}
