#include "labserver/LabOperator.h"

#include "labserver/LabJson.h"

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
            items.append(row.members);
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

Json::Value ListFaults(LabContext& context, const LabRequest&)
{
    return Listing("faults", context.faults.ToJson());
}

Json::Value AddFault(LabContext& context, const LabRequest& request)
{
    context.faults.Add(FaultFromJson(ParseJson(request.http.body)));
    return Done();
}

Json::Value ClearFaults(LabContext& context, const LabRequest&)
{
    context.faults.Clear();
    return Done();
}
