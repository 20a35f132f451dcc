#include "labserver/LabFaults.h"

#include "labserver/LabJson.h"
#include "labserver/LabTable.h"

#include <algorithm>

namespace
{

constexpr int MAX_COUNT = 1'000'000;
constexpr int MAX_DELAY_MS = 600'000;

constexpr LabField PATH_FIELD{"path", LabType::Text};
constexpr LabField OPTIONAL_FIELDS[] = {
    {"count", LabType::Integer},     {"delayMs", LabType::Integer},  {"status", LabType::Integer},
    {"body", LabType::Text},         {"contentType", LabType::Text}, {"truncate", LabType::Flag},
    {"reset", LabType::Flag},        {"silence", LabType::Flag},     {"stored", LabType::Flag},
    {"untilCleared", LabType::Flag},
};

/// What a listed fault has besides.
constexpr const char* LISTED_MEMBERS[] = {"id", "scenario"};

/// An optional integer member within bounds.
int BoundedMember(const Json::Value& value, const char* szName, int nDefault, int nLowest, int nHighest)
{
    const Json::Int64 nValue = value.get(szName, nDefault).asInt64();
    if (nValue < nLowest || nValue > nHighest) {
        throw LabError(400, "The member \"" + std::string(szName) + "\" is not within " +
                                std::to_string(nLowest) + " to " + std::to_string(nHighest) + ".");
    }
    return static_cast<int>(nValue);
}

LabFaultKind FaultKindOf(const Json::Value& value)
{
    const bool bReply = value.isMember("status") || value.isMember("body");
    const bool bTruncate = value.get("truncate", false).asBool();
    const bool bReset = value.get("reset", false).asBool();
    const bool bSilence = value.get("silence", false).asBool();
    if (bReply + bTruncate + bReset + bSilence > 1) {
        throw LabError(400,
                       "A fault is a reply (\"status\", \"body\"), \"truncate\", \"reset\" or \"silence\", "
                       "not two of them.");
    }
    if (bReply) {
        return LabFaultKind::Reply;
    }
    if (bTruncate) {
        return LabFaultKind::Truncate;
    }
    if (bReset) {
        return LabFaultKind::Reset;
    }
    if (bSilence) {
        return LabFaultKind::Silence;
    }
    if (!value.isMember("delayMs")) {
        throw LabError(400, "The fault does nothing.");
    }
    return LabFaultKind::Delay;
}

/// Reads whether a request is handled although the fault, whose kind is set, says otherwise.
bool StoredOf(const Json::Value& value, const LabFault& fault)
{
    const bool bStored = value.get("stored", false).asBool();
    if (bStored && IsHandled(fault)) {
        throw LabError(400,
                       "\"stored\" goes with \"reset\", \"silence\" or a reply: other faults store anyway.");
    }
    return bStored;
}

std::string WithoutSlash(const std::string& strPath)
{
    return strPath.substr(strPath.compare(0, 1, "/") == 0 ? 1 : 0);
}

/// A member that is not known may be a misspelled one that was meant to matter.
void RequireKnownMembers(const Json::Value& value)
{
    for (const std::string& strName : value.getMemberNames()) {
        const auto fnIsIt = [&](const LabField& field) { return strName == field.szName; };
        if (!fnIsIt(PATH_FIELD) &&
            std::none_of(std::begin(OPTIONAL_FIELDS), std::end(OPTIONAL_FIELDS), fnIsIt) &&
            std::find(std::begin(LISTED_MEMBERS), std::end(LISTED_MEMBERS), strName) ==
                std::end(LISTED_MEMBERS)) {
            throw LabError(400, "A fault has no member \"" + strName + "\".");
        }
    }
}

bool UntilClearedOf(const Json::Value& value)
{
    const bool bUntilCleared = value.get("untilCleared", false).asBool();
    if (bUntilCleared && value.isMember("count")) {
        throw LabError(400, "A fault has a \"count\" or is \"untilCleared\", not both.");
    }
    return bUntilCleared;
}

} // namespace

std::uint64_t LabFaults::Add(LabFault fault)
{
    if (fault.strPath != "/") {
        fault.strPath = WithoutSlash(fault.strPath);
    }
    const std::lock_guard lock(m_mutex);
    fault.nId = ++m_nLastId;
    if (fault.nCount > 0) {
        m_lstPending.push_back(std::move(fault));
    }
    return m_nLastId;
}

void LabFaults::Clear()
{
    const std::lock_guard lock(m_mutex);
    m_lstPending.clear();
}

bool LabFaults::Remove(std::uint64_t nId)
{
    const std::lock_guard lock(m_mutex);
    const auto it = std::find_if(m_lstPending.begin(), m_lstPending.end(),
                                 [&](const LabFault& fault) { return fault.nId == nId; });
    if (it == m_lstPending.end()) {
        return false;
    }
    m_lstPending.erase(it);
    return true;
}

void LabFaults::RemoveScenario(const std::string& strScenario)
{
    const std::lock_guard lock(m_mutex);
    m_lstPending.remove_if([&](const LabFault& fault) { return fault.strScenario == strScenario; });
}

std::optional<LabFault> LabFaults::Take(const std::string& strPath)
{
    const auto now = std::chrono::steady_clock::now();
    const std::lock_guard lock(m_mutex);
    m_lstPending.remove_if([&](const LabFault& fault) { return fault.tpEnd <= now; });
    const auto it = std::find_if(m_lstPending.begin(), m_lstPending.end(), [&](const LabFault& fault) {
        return fault.tpBegin <= now && Covers(fault.strPath, strPath);
    });
    if (it == m_lstPending.end()) {
        return std::nullopt;
    }
    const LabFault fault = *it;
    if (!it->bUntilCleared && --it->nCount == 0) {
        m_lstPending.erase(it);
    }
    return fault;
}

Json::Value LabFaults::ToJson() const
{
    const std::lock_guard lock(m_mutex);
    Json::Value list(Json::arrayValue);
    const auto now = std::chrono::steady_clock::now();
    for (const LabFault& fault : m_lstPending) {
        if (fault.tpBegin <= now && now < fault.tpEnd) {
            list.append(FaultToJson(fault));
        }
    }
    return list;
}

Json::Value FaultToJson(const LabFault& fault)
{
    Json::Value value(Json::objectValue);
    value["id"] = Json::UInt64{fault.nId};
    value["path"] = fault.strPath;
    if (fault.bUntilCleared) {
        value["untilCleared"] = true;
    } else {
        value["count"] = fault.nCount;
    }
    if (!fault.strScenario.empty()) {
        value["scenario"] = fault.strScenario;
    }
    value["delayMs"] = fault.nDelayMs;
    switch (fault.eKind) {
    case LabFaultKind::Delay:
        break;
    case LabFaultKind::Reply:
        value["status"] = fault.nStatus;
        value["body"] = fault.strBody;
        value["contentType"] = fault.strContentType;
        break;
    case LabFaultKind::Truncate:
        value["truncate"] = true;
        break;
    case LabFaultKind::Reset:
        value["reset"] = true;
        break;
    case LabFaultKind::Silence:
        value["silence"] = true;
        break;
    }
    if (fault.bStored) {
        value["stored"] = true;
    }
    return value;
}

LabFault FaultFromJson(const Json::Value& value)
{
    if (!value.isObject()) {
        throw LabError(400, "The body is not a JSON object.");
    }
    RequireField(value, PATH_FIELD);
    for (const LabField& field : OPTIONAL_FIELDS) {
        if (value.isMember(field.szName)) {
            RequireField(value, field);
        }
    }
    RequireKnownMembers(value);
    LabFault fault;
    fault.strPath = value["path"].asString();
    fault.bUntilCleared = UntilClearedOf(value);
    fault.nCount = BoundedMember(value, "count", 1, 1, MAX_COUNT);
    fault.eKind = FaultKindOf(value);
    fault.bStored = StoredOf(value, fault);
    fault.nDelayMs = BoundedMember(value, "delayMs", 0, 0, MAX_DELAY_MS);
    fault.nStatus = BoundedMember(value, "status", fault.nStatus, 200, 599);
    fault.strBody =
        value.get("body", WriteJson(ErrorEnvelope(fault.nStatus, "A scripted fault."))).asString();
    fault.strContentType = value.get("contentType", fault.strContentType).asString();
    return fault;
}

bool Covers(const std::string& strFaultPath, const std::string& strPath)
{
    if (strFaultPath == "/") {
        return true;
    }
    const std::string strParent = WithoutSlash(strFaultPath);
    const std::string strWanted = WithoutSlash(strPath);
    return strWanted.compare(0, strParent.size(), strParent) == 0 &&
           (strWanted.size() == strParent.size() || strWanted[strParent.size()] == '/');
}
