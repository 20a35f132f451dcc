#include "labserver/LabScenarios.h"

#include "labserver/LabBuiltInScenarios.h"
#include "labserver/LabHostRoutes.h"
#include "labserver/LabJson.h"
#include "labserver/LabTable.h"

#include <algorithm>
#include <iterator>

namespace
{

using std::chrono::milliseconds;

constexpr int MOST_MS = 24 * 60 * 60 * 1000;
constexpr size_t MOST_SCENARIOS = 100;
constexpr const char* TEXTS[] = {"name", "title", "titleZh", "description", "descriptionZh"};

std::optional<milliseconds> TimeOf(const Json::Value& step, const char* szName)
{
    if (!step.isMember(szName)) {
        return std::nullopt;
    }
    if (!step[szName].isInt64() || step[szName].asInt64() < 0 || step[szName].asInt64() > MOST_MS) {
        throw LabError(400, "The member \"" + std::string(szName) +
                                "\" of a step is not a number of milliseconds up to " +
                                std::to_string(MOST_MS) + ".");
    }
    return milliseconds(step[szName].asInt64());
}

/// @param object  a JSON object
const Json::Value& ListOf(const Json::Value& object, const char* szName)
{
    if (!object[szName].isArray()) {
        throw LabError(400, "The member \"" + std::string(szName) + "\" is missing, or is not an array.");
    }
    return object[szName];
}

/// What a step does, and whether it can say how long.
struct StepKind {
    const char* szName;
    bool bHasEnd;
};

constexpr StepKind STEP_KINDS[] = {{"faults", true}, {"tls", true}, {"restartMs", false}};

/// @throws LabError (400) if the step has none of the kinds, several, or an unknown member
const StepKind& KindOf(const Json::Value& step)
{
    if (!step.isObject()) {
        throw LabError(400, "A step is not a JSON object.");
    }
    const auto fnHas = [&](const StepKind& kind) { return step.isMember(kind.szName); };
    const StepKind* const pKind = std::find_if(std::begin(STEP_KINDS), std::end(STEP_KINDS), fnHas);
    if (std::count_if(std::begin(STEP_KINDS), std::end(STEP_KINDS), fnHas) != 1) {
        throw LabError(400, "A step has exactly one of \"faults\", \"tls\" and \"restartMs\".");
    }
    for (const std::string& strName : step.getMemberNames()) {
        if (strName != "afterMs" && strName != pKind->szName && (strName != "forMs" || !pKind->bHasEnd)) {
            throw LabError(400, "A step with \"" + std::string(pKind->szName) + "\" has no member \"" +
                                    strName + "\".");
        }
    }
    return *pKind;
}

LabCertificate CertificateFrom(const Json::Value& name)
{
    static const std::map<std::string, LabCertificate> mapNames = {
        {"valid", LabCertificate::Valid},
        {"expired", LabCertificate::Expired},
        {"not-yet-valid", LabCertificate::NotYetValid},
        {"wrong-host", LabCertificate::WrongHost},
        {"self-signed", LabCertificate::SelfSigned},
    };
    const auto it = name.isString() ? mapNames.find(name.asString()) : mapNames.end();
    if (it == mapNames.end()) {
        throw LabError(400,
                       "The member \"tls\" of a step is none of \"valid\", \"expired\", \"not-yet-valid\", "
                       "\"wrong-host\" and \"self-signed\".");
    }
    return it->second;
}

Json::Value TextsOf(const Json::Value& scenario)
{
    Json::Value texts(Json::objectValue);
    for (const char* szName : TEXTS) {
        if (scenario.isMember(szName)) {
            RequireField(scenario, {szName, LabType::Text});
            texts[szName] = scenario[szName];
        }
    }
    return texts;
}

} // namespace

LabScenarios::LabScenarios(LabFaults& faults, LabTls& tls, LabRestarts& restarts)
    : m_faults(faults), m_tls(tls), m_restarts(restarts)
{
    for (const Json::Value& scenario : ParseJson(BUILT_IN_SCENARIOS)) {
        m_mapScenarios[scenario["name"].asString()] = Read(scenario);
    }
}

LabScenarios::Scenario LabScenarios::Read(const Json::Value& scenario)
{
    Scenario read;
    read.texts = TextsOf(scenario);
    read.optLength = milliseconds(0);
    for (const Json::Value& step : ListOf(scenario, "steps")) {
        ReadStep(step, read);
    }
    return read;
}

void LabScenarios::ReadStep(const Json::Value& step, Scenario& scenario)
{
    const std::string strKind = KindOf(step).szName;
    const std::string strName = scenario.texts["name"].asString();
    const milliseconds after = TimeOf(step, "afterMs").value_or(milliseconds(0));
    std::optional<milliseconds> optFor = TimeOf(step, "forMs");
    const Clock::time_point begin = Clock::time_point() + after;
    const Clock::time_point end = optFor ? begin + *optFor : Clock::time_point::max();
    if (strKind == "tls") {
        scenario.vecShown.push_back({CertificateFrom(step["tls"]), strName, begin, end});
    } else if (strKind == "restartMs") {
        optFor = TimeOf(step, "restartMs");
        scenario.vecAbsences.push_back({begin, *optFor, strName});
    } else {
        for (const Json::Value& value : ListOf(step, "faults")) {
            LabFault fault = FaultFromJson(value);
            RequireHostPath(fault.strPath);
            fault.strScenario = strName;
            fault.tpBegin = begin;
            fault.tpEnd = end;
            scenario.vecFaults.push_back(std::move(fault));
        }
    }
    scenario.optLength = optFor && scenario.optLength
                             ? std::optional(std::max(*scenario.optLength, after + *optFor))
                             : std::nullopt;
}

void LabScenarios::Start(const Json::Value& scenario)
{
    if (!scenario.isObject()) {
        throw LabError(400, "The body is not a JSON object.");
    }
    RequireField(scenario, {"name", LabType::Text});
    const std::string strName = scenario["name"].asString();
    if (strName.empty() || strName.find('/') != std::string::npos) {
        throw LabError(400, "The name of a scenario has at least one character, and no \"/\".");
    }
    const std::lock_guard lock(m_mutex);
    if (scenario.isMember("steps")) {
        Scenario read = Read(scenario);
        if (m_mapScenarios.size() >= MOST_SCENARIOS && m_mapScenarios.count(strName) == 0) {
            throw LabError(400, "There are " + std::to_string(MOST_SCENARIOS) + " scenarios already.");
        }
        m_mapScenarios[strName] = std::move(read);
    }
    const auto it = m_mapScenarios.find(strName);
    if (it == m_mapScenarios.end()) {
        throw LabError(404, "There is no scenario \"" + strName + "\".");
    }
    StartNow(it->second);
}

void LabScenarios::StartNow(Scenario& scenario)
{
    const Clock::time_point now = Clock::now();
    const auto fnFromNow = [now](Clock::time_point time) {
        return time == Clock::time_point::max() ? time : now + (time - Clock::time_point());
    };
    Remove(scenario.texts["name"].asString());
    scenario.optStarted.reset();
    for (LabShown shown : scenario.vecShown) { // first, since only these can fail
        shown.tpBegin = fnFromNow(shown.tpBegin);
        shown.tpEnd = fnFromNow(shown.tpEnd);
        m_tls.Show(shown);
    }
    for (LabFault fault : scenario.vecFaults) {
        fault.tpBegin = fnFromNow(fault.tpBegin);
        fault.tpEnd = fnFromNow(fault.tpEnd);
        m_faults.Add(std::move(fault));
    }
    for (LabRestarts::Absence absence : scenario.vecAbsences) {
        absence.tpBegin = fnFromNow(absence.tpBegin);
        m_restarts.Add(absence);
    }
    scenario.optStarted = now;
}

/// Takes back what a scenario has set, and what of it would still come.
void LabScenarios::Remove(const std::string& strName)
{
    m_faults.RemoveScenario(strName);
    m_tls.RemoveScenario(strName);
    m_restarts.RemoveScenario(strName);
}

bool LabScenarios::IsOn(const Scenario& scenario)
{
    return scenario.optStarted &&
           (!scenario.optLength || Clock::now() < *scenario.optStarted + *scenario.optLength);
}

bool LabScenarios::End(const std::string& strName)
{
    const std::lock_guard lock(m_mutex);
    const auto it = m_mapScenarios.find(strName);
    const bool bOn = it != m_mapScenarios.end() && IsOn(it->second);
    if (bOn) {
        Remove(strName);
        it->second.optStarted.reset();
    }
    return bOn;
}

void LabScenarios::EndAll()
{
    const std::lock_guard lock(m_mutex);
    for (auto& [strName, scenario] : m_mapScenarios) {
        Remove(strName);
        scenario.optStarted.reset();
    }
}

Json::Value LabScenarios::ToJson() const
{
    const std::lock_guard lock(m_mutex);
    Json::Value list(Json::arrayValue);
    for (const auto& [strName, scenario] : m_mapScenarios) {
        Json::Value& value = list.append(scenario.texts);
        value["on"] = IsOn(scenario);
        if (value["on"].asBool() && scenario.optLength) {
            const auto left = *scenario.optStarted + *scenario.optLength - Clock::now();
            value["endsInMs"] = Json::Int64{std::chrono::duration_cast<milliseconds>(left).count()};
        }
    }
    return list;
}
