#include "labserver/LabOperator.h"

#include "labserver/LabHostRoutes.h"
#include "labserver/LabJson.h"
#include "labserver/LabQueries.h"
#include "labserver/LabScenarios.h"
#include "labserver/LabTls.h"

namespace
{

Json::Value Listing(const char* szName, const Json::Value& list)
{
    Json::Value reply(Json::objectValue);
    reply["count"] = list.size();
    reply[szName] = list;
    return reply;
}

Json::Value Done()
{
    Json::Value reply(Json::objectValue);
    reply["success"] = true;
    return reply;
}

} // namespace

LabHandler ListHandler(const LabTable& table)
{
    return [&table](LabContext& context, const LabRequest&) {
        Json::Value items(Json::arrayValue);
        for (const LabRow& row : context.store.Select(table)) {
            items.append(row.members)["id"] = Json::Int64{row.nId};
        }
        return Listing("items", items);
    };
}

LabHandler AddHandler(const LabTable& table)
{
    return [&table](LabContext& context, const LabRequest& request) {
        const Json::Value body = ParseJson(request.http.body);
        Json::Value rows(Json::arrayValue);
        if (body.isArray()) {
            rows = body;
        } else {
            rows.append(body);
        }
        LabTransaction transaction(context.store);
        for (const Json::Value& row : rows) {
            RequireRow(row, table);
            transaction.Insert(table, row);
        }
        transaction.Commit();
        return Done();
    };
}

LabHandler RemoveHandler(const LabTable& table)
{
    return [&table](LabContext& context, const LabRequest& request) {
        LabTransaction transaction(context.store);
        if (!transaction.Remove(table, IntegerOf(request.strTail, "id"))) {
            throw LabError(404, "There is no item with this id, or not any more.");
        }
        transaction.Commit();
        return Done();
    };
}

Json::Value ListFaults(LabContext& context, const LabRequest&)
{
    return Listing("faults", context.faults.ToJson());
}

Json::Value AddFault(LabContext& context, const LabRequest& request)
{
    LabFault fault = FaultFromJson(ParseJson(request.http.body));
    RequireHostPath(fault.strPath);
    Json::Value reply = Done();
    reply["id"] = Json::UInt64{context.faults.Add(std::move(fault))};
    return reply;
}

Json::Value RemoveFault(LabContext& context, const LabRequest& request)
{
    const Json::Int64 nId = IntegerOf(request.strTail, "id");
    if (nId < 0 || !context.faults.Remove(static_cast<std::uint64_t>(nId))) {
        throw LabError(404, "There is no fault with this id, or not any more.");
    }
    return Done();
}

Json::Value ClearFaults(LabContext& context, const LabRequest&)
{
    context.faults.Clear();
    return Done();
}

Json::Value ListScenarios(LabContext& context, const LabRequest&)
{
    return Listing("scenarios", context.scenarios.ToJson());
}

Json::Value StartScenario(LabContext& context, const LabRequest& request)
{
    context.scenarios.Start(ParseJson(request.http.body));
    return Done();
}

Json::Value EndScenario(LabContext& context, const LabRequest& request)
{
    if (!context.scenarios.End(request.strTail)) {
        throw LabError(404, "No scenario of this name is on.");
    }
    return Done();
}

Json::Value EndScenarios(LabContext& context, const LabRequest&)
{
    context.scenarios.EndAll();
    return Done();
}

Json::Value ShowAuthority(LabContext& context, const LabRequest&)
{
    return context.tls.Authority();
}
