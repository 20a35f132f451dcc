#include "labserver/LabQueries.h"

#include "labserver/LabJson.h"
#include "labserver/LabTables.h"

#include <charconv>
#include <sstream>

namespace
{

Json::Value Success()
{
    Json::Value reply(Json::objectValue);
    reply["success"] = true;
    return reply;
}

/// A negative answer: the request is valid, but the laboratory has no such thing.
Json::Value Unknown(const std::string& strWhy)
{
    Json::Value reply(Json::objectValue);
    reply["success"] = false;
    reply["message"] = strWhy;
    return reply;
}

Json::Value WithoutMember(Json::Value object, const char* szName)
{
    object.removeMember(szName);
    return object;
}

} // namespace

std::string QueryText(const LabRequest& request, const std::string& strName)
{
    if (!request.http.has_param(strName)) {
        throw LabError(400, "The query parameter \"" + strName + "\" is missing.");
    }
    return request.http.get_param_value(strName);
}

Json::Int64 IntegerOf(const std::string& strText, const std::string& strName)
{
    Json::Int64 nValue = 0;
    const char* const pEnd = strText.data() + strText.size();
    const auto [pRead, eError] = std::from_chars(strText.data(), pEnd, nValue);
    if (eError != std::errc() || pRead != pEnd) {
        throw LabError(400, "\"" + strName + "\" is not an integer.");
    }
    return nValue;
}

Json::Int64 CountOf(const LabRequest& request, const char* szName, Json::Int64 nDefault)
{
    if (!request.http.has_param(szName)) {
        return nDefault;
    }
    const Json::Int64 nValue = IntegerOf(QueryText(request, szName), szName);
    if (nValue < 0) {
        throw LabError(400, std::string("\"") + szName + "\" is negative.");
    }
    return nValue;
}

Json::Value AnswerUserInfo(LabContext& context, const LabRequest& request)
{
    const auto vecRows =
        context.store.Select(labtables::USERS, R"(WHERE "id" = ?)", {IntegerOf(request.strTail, "id")});
    if (vecRows.empty()) {
        throw LabError(404, "There is no such user.");
    }
    Json::Value reply = vecRows.front().members;
    reply["code"] = 0;
    return reply;
}

Json::Value AnswerSupportVer(LabContext& context, const LabRequest& request)
{
    const auto vecRows =
        context.store.Select(labtables::SUPPORTED_VERSIONS, R"(WHERE "t" = ?)", {QueryText(request, "t")});
    if (vecRows.empty()) {
        return Unknown("This version is not known here.");
    }
    const Json::Value& version = vecRows.front().members;
    Json::Value reply(Json::objectValue);
    reply["success"] = version["supported"];
    reply["com"] = version["com"];
    reply["ver"] = version["ver"];
    return reply;
}

Json::Value AnswerProjects(LabContext& context, const LabRequest& request)
{
    QueryText(request, "t");
    std::istringstream cells(QueryText(request, "dxtm"));
    Json::Value list(Json::arrayValue);
    for (std::string strCell; std::getline(cells, strCell, ',');) {
        for (const LabRow& row :
             context.store.Select(labtables::PROJECTS, R"(WHERE "dxtm" = ? ORDER BY row_id)", {strCell})) {
            list.append(WithoutMember(row.members, "dxtm"));
        }
    }
    Json::Value reply = Success();
    reply["实验项目"] = list;
    return reply;
}

Json::Value AnswerBattStatus(LabContext& context, const LabRequest& request)
{
    QueryText(request, "t");
    Json::Value list(Json::arrayValue);
    for (const LabRow& row : context.store.Select(labtables::BATTERY_STATES)) {
        list.append(row.members);
    }
    Json::Value reply = Success();
    reply["全部电池状态"] = list;
    return reply;
}

Json::Value AnswerAutoExport(LabContext& context, const LabRequest& request)
{
    QueryText(request, "bjtzser");
    QueryText(request, "csxmser");
    const auto vecRows =
        context.store.Select(labtables::CELLS, R"(WHERE "dxtm" = ?)", {QueryText(request, "dxtm")});
    if (vecRows.empty()) {
        return Unknown("There is no such cell.");
    }
    Json::Value reply = Success();
    reply["result"] = WithoutMember(vecRows.front().members, "dxtm");
    return reply;
}

Json::Value AnswerFtpFilePath(LabContext& context, const LabRequest& request)
{
    const auto vecRows = context.store.Select(
        labtables::FTP_PATHS,
        R"(WHERE "bjtzser" = ? AND "csxmser" = ? AND "supplier" = ? AND "batteryStatus" = ?)",
        {QueryText(request, "bjtzser"), QueryText(request, "csxmser"), QueryText(request, "supplier"),
         QueryText(request, "batteryStatus")});
    if (vecRows.empty()) {
        return Unknown("There is no path for this.");
    }
    Json::Value reply = Success();
    for (const char* szMember : {"ftpFilePath", "permit"}) {
        reply["result"][szMember] = vecRows.front().members[szMember];
    }
    return reply;
}

Json::Value AnswerChannelCheckData(LabContext& context, const LabRequest& request)
{
    for (const char* szId : {"wtNumId", "xmNameId"}) {
        IntegerOf(QueryText(request, szId), szId);
    }
    QueryText(request, "dxtm");
    QueryText(request, "purpose");
    // The latest rule that covers the channel decides.
    const auto vecRows = context.store.Select(
        labtables::CHANNEL_RULES, R"(WHERE ? GLOB "deviceId" AND ? GLOB "chl" ORDER BY row_id DESC LIMIT 1)",
        {QueryText(request, "deviceId"), QueryText(request, "chl")});
    if (vecRows.empty()) {
        return Unknown("No rule covers this channel.");
    }
    Json::Value reply = Success();
    reply["message"] = "checked";
    for (const char* szMember : {"allowBoot", "reason"}) {
        reply["result"][szMember] = vecRows.front().members[szMember];
    }
    return reply;
}

Json::Value AnswerWhetherInCommon(LabContext& context, const LabRequest& request)
{
    const auto vecRows =
        context.store.Select(labtables::SHARED_BARCODES, R"(WHERE "dxtm" = ?)", {QueryText(request, "dxtm")});
    Json::Value reply = Success();
    reply["common"] = !vecRows.empty() && vecRows.front().members["common"].asBool();
    reply["message"] = "checked";
    return reply;
}
