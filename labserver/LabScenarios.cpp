#include "labserver/LabScenarios.h"

#include "labserver/LabBuiltInScenarios.h"
#include "labserver/LabHostRoutes.h"
#include "labserver/LabJson.h"
#include "labserver/LabTable.h"

#include <algorithm>

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

const Json::Value& ListOf(const Json::Value& object, const char* szName)
{
    if (!object.isObject() || !object[szName].isArray()) {
        throw LabError(400, "The member \"" + std::string(szName) + "\" is missing, or is not an array.");
    }
    return object[szName];
}

void RequireStep(const Json::Value& step)
{
    ListOf(step, "faults");
    for (const std::string& strName : step.getMemberNames()) {
        if (strName != "afterMs" && strName != "forMs" && strName != "faults") {
            throw LabError(400, "A step has no member \"" + strName + "\".");
        }
    }
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

LabScenarios::LabScenarios(LabFaults& faults) : m_faults(faults)
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
        RequireStep(step);
        const milliseconds after = TimeOf(step, "afterMs").value_or(milliseconds(0));
        const std::optional<milliseconds> optFor = TimeOf(step, "forMs");
        for (const Json::Value& value : step["faults"]) {
            LabFault fault = FaultFromJson(value);
            RequireHostPath(fault.strPath);
            fault.strScenario = read.texts["name"].asString();
            fault.tpBegin = Clock::time_point() + after;
            fault.tpEnd = optFor ? fault.tpBegin + *optFor : Clock::time_point::max();
            read.vecFaults.push_back(std::move(fault));
        }
        read.optLength = optFor && read.optLength ? std::optional(std::max(*read.optLength, after + *optFor))
                                                  : std::nullopt;
    }
    return read;
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
    m_faults.RemoveScenario(scenario.texts["name"].asString());
    for (LabFault fault : scenario.vecFaults) {
        fault.tpBegin = now + (fault.tpBegin - Clock::time_point());
        fault.tpEnd =
            fault.tpEnd == Clock::time_point::max() ? fault.tpEnd : now + (fault.tpEnd - Clock::time_point());
        m_faults.Add(std::move(fault));
    }
    scenario.optStarted = now;
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
        m_faults.RemoveScenario(strName);
        it->second.optStarted.reset();
    }
    return bOn;
}

void LabScenarios::EndAll()
{
    const std::lock_guard lock(m_mutex);
    for (auto& [strName, scenario] : m_mapScenarios) {
        m_faults.RemoveScenario(strName);
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
