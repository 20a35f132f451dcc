#include "labserver/LabReports.h"

#include "labserver/LabJson.h"
#include "labserver/LabQueries.h"
#include "labserver/LabRepeats.h"
#include "labserver/LabTables.h"
#include "labserver/LabText.h"

#include <algorithm>
#include <limits>
#include <optional>

namespace
{

constexpr Json::Int64 MOST_AT_ONCE = 500; ///< reports that are read from the store in one piece

struct LabReportKind {
    std::string strName;
    const LabTable& table;
    const LabTable* pElements = nullptr; ///< holds the elements of a list; null: the row is the report
    const char* szQueryField = nullptr;  ///< the field that comes in the query, not in the body
};

const LabReportKind& KindOf(const std::string& strName)
{
    static const LabReportKind aKinds[] = {
        {"channel-status", labtables::CHANNEL_STATUS, nullptr, "t"},
        {"incubator-status", labtables::INCUBATOR_STATUS},
        {"battery-data", labtables::BATTERY_DATA},
        {"cycle-data", labtables::CYCLE_DATA, &labtables::CYCLE_ELEMENTS},
        {"step-data", labtables::STEP_DATA, &labtables::STEP_ELEMENTS},
        {"orn-step-data", labtables::ORN_STEP_DATA, &labtables::ORN_STEP_ELEMENTS},
    };
    const auto* const pKind =
        std::find_if(std::begin(aKinds), std::end(aKinds),
                     [&](const LabReportKind& kind) { return kind.strName == strName; });
    if (pKind == std::end(aKinds)) {
        throw LabError(404, "There is no such kind of report.");
    }
    return *pKind;
}

/// The text of a parsed value as it stood in the body.
std::string TextOf(const Json::Value& value, const std::string& strBody)
{
    const auto nStart = static_cast<size_t>(value.getOffsetStart());
    return strBody.substr(nStart, static_cast<size_t>(value.getOffsetLimit()) - nStart);
}

/// The field of a report that comes in the query; empty if its kind has none, or if it is missing.
std::string TextInQuery(const LabReportKind& kind, const LabRequest& request)
{
    return kind.szQueryField != nullptr ? request.http.get_param_value(kind.szQueryField) : std::string();
}

/// Reads a report, and checks that it can be stored.
Json::Value ReadReport(const LabReportKind& kind, const LabRequest& request)
{
    Json::Value report = ParseJson(request.http.body);
    if (kind.pElements != nullptr) {
        return report;
    }
    if (kind.szQueryField != nullptr && report.isObject()) {
        report[kind.szQueryField] = QueryText(request, kind.szQueryField);
    }
    RequireRow(report, kind.table);
    return report;
}

/// A body that is not an array counts as a list with that one element.
std::int64_t InsertList(LabTransaction& transaction, const LabReportKind& kind, const Json::Value& body,
                        const std::string& strBody)
{
    Json::Value report(Json::objectValue);
    report["isArray"] = body.isArray();
    const std::int64_t nId = transaction.Insert(kind.table, report);
    Json::Value row(Json::objectValue);
    row["report"] = Json::Int64{nId};
    const Json::ArrayIndex nElements = body.isArray() ? body.size() : 1;
    for (Json::ArrayIndex nElement = 0; nElement < nElements; ++nElement) {
        row["position"] = nElement;
        row["element"] = TextOf(body.isArray() ? body[nElement] : body, strBody);
        transaction.Insert(*kind.pElements, row);
    }
    return nId;
}

std::int64_t Insert(LabTransaction& transaction, const LabReportKind& kind, const Json::Value& report,
                    const std::string& strBody)
{
    return kind.pElements == nullptr ? transaction.Insert(kind.table, report)
                                     : InsertList(transaction, kind, report, strBody);
}

std::int64_t Store(LabStore& store, const LabReportKind& kind, const LabRequest& request)
{
    const Json::Value report = ReadReport(kind, request);
    LabTransaction transaction(store);
    const std::int64_t nId = Insert(transaction, kind, report, request.http.body);
    transaction.Commit();
    return nId;
}

/// Looks for the report of a key, as CountRepeat() does, in a transaction of its own.
std::optional<std::int64_t> FindRepeat(LabStore& store, const LabKeyedReport& keyed)
{
    LabTransaction transaction(store);
    const std::optional<std::int64_t> optId = CountRepeat(transaction, keyed);
    transaction.Commit();
    return optId;
}

/// Stores a report and its key together, unless the key was kept before.
/// @return the id of the report, which a repeated one shares with the first
std::int64_t StoreOnce(LabContext& context, const LabReportKind& kind, const LabRequest& request)
{
    const std::string& strBody = request.http.body;
    const LabKeyedReport keyed{context.claim.Key().strText, kind.strName,
                               FingerprintOf(kind.strName, TextInQuery(kind, request), strBody)};
    // Another report with the key is said to be so even if it could not be stored.
    if (const auto optId = FindRepeat(context.store, keyed)) {
        return *optId;
    }
    if (!context.claim.IsHeld()) {
        throw LabError(409, "A report with the same Idempotency-Key is still being worked on.");
    }
    const Json::Value report = ReadReport(kind, request);
    LabTransaction transaction(context.store);
    // Another server with the same data file may have kept the key meanwhile.
    std::optional<std::int64_t> optId = CountRepeat(transaction, keyed);
    if (!optId) {
        optId = Insert(transaction, kind, report, strBody);
        KeepKey(transaction, keyed, *optId);
    }
    transaction.Commit();
    return *optId;
}

/// One acknowledgement with everything that clients may check: "success"; "code" and "message"; or "msg".
Json::Value Acknowledgement(std::int64_t nId)
{
    Json::Value reply(Json::objectValue);
    reply["success"] = true;
    reply["code"] = "success";
    reply["message"] = "stored";
    reply["msg"] = "stored";
    reply["id"] = Json::Int64{nId};
    return reply;
}

Json::Value ReportOf(LabStore& store, const LabReportKind& kind, const LabRow& row)
{
    if (kind.pElements == nullptr) {
        return row.members;
    }
    Json::Value list(Json::arrayValue);
    for (const LabRow& element :
         store.Select(*kind.pElements, R"(WHERE "report" = ? ORDER BY "position")", {Json::Int64{row.nId}})) {
        list.append(ParseJson('[' + element.members["element"].asString() + ']')[0]);
    }
    return row.members["isArray"].asBool() ? list : list[0];
}

/// Whether a stored report contains a text, in upper or lower case.
bool Contains(const Json::Value& report, const std::string& strText)
{
    return strText.empty() || LowerCase(WriteJson(report)).find(LowerCase(strText)) != std::string::npos;
}

/// A report as it is listed, without its key.
Json::Value Listed(LabStore& store, const LabReportKind& kind, const LabRow& row)
{
    Json::Value report(Json::objectValue);
    report["id"] = Json::Int64{row.nId};
    report["receivedAt"] = row.strReceivedAt;
    report["report"] = ReportOf(store, kind, row);
    return report;
}

} // namespace

LabHandler ReportHandler(const char* szKind)
{
    const LabReportKind& kind = KindOf(szKind);
    return [&kind](LabContext& context, const LabRequest& request) {
        const LabKey& key = context.claim.Key();
        if (!key.strFlaw.empty()) {
            throw LabError(400, key.strFlaw);
        }
        return Acknowledgement(key.strText.empty() ? Store(context.store, kind, request)
                                                   : StoreOnce(context, kind, request));
    };
}

Json::Value FindReports(LabContext& context, const LabRequest& request, const std::string& strKind)
{
    const LabReportKind& kind = KindOf(strKind);
    const std::string strSearch = request.http.get_param_value("search");
    const auto nMost = static_cast<Json::ArrayIndex>(std::min<Json::Int64>(
        CountOf(request, "limit", std::numeric_limits<int>::max()), std::numeric_limits<int>::max()));
    Json::Value reports(Json::arrayValue);
    const Json::Int64 nAtOnce = strSearch.empty() ? std::min<Json::Int64>(nMost, MOST_AT_ONCE) : MOST_AT_ONCE;
    std::vector<LabRow> vecRows;
    Json::Int64 nAfter = CountOf(request, "after", 0);
    do {
        vecRows =
            context.store.Select(kind.table, "WHERE row_id > ? ORDER BY row_id LIMIT ?", {nAfter, nAtOnce});
        for (const LabRow& row : vecRows) {
            nAfter = row.nId;
            Json::Value report = Listed(context.store, kind, row);
            if (reports.size() < nMost && Contains(report["report"], strSearch)) {
                reports.append(std::move(report));
            }
        }
    } while (static_cast<Json::Int64>(vecRows.size()) == nAtOnce && reports.size() < nMost);
    AddKeys(context.store, kind.strName, reports);
    return reports;
}

Json::Value ListReports(LabContext& context, const LabRequest& request)
{
    Json::Value reply(Json::objectValue);
    reply["count"] = Json::Int64{context.store.Count(KindOf(request.strTail).table)};
    reply["reports"] = FindReports(context, request, request.strTail);
    return reply;
}
