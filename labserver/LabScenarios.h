#pragma once

#include "labserver/LabFaults.h"

#include <chrono>
#include <json/json.h>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

/// Scenarios: faults that belong together and come and go by themselves. A few are built in; operators bring
/// others. Thread-safe.
class LabScenarios
{
public:
    /// @param faults gets the faults of scenarios, and loses them; must outlive this object
    explicit LabScenarios(LabFaults& faults);

    /// Starts a scenario, anew if it is on: {"name": one that is known}, or a whole one: {"name", "title",
    /// "description", "steps": [{"afterMs", "forMs", "faults": [as FaultFromJson() reads them]}]}, which is
    /// known from then on. A step without "forMs" lasts until the scenario is ended.
    /// @throws LabError (404) if there is none of the name, (400) if it is not such an object
    void Start(const Json::Value& scenario);

    /// @return false if none of this name is on
    bool End(const std::string& strName);
    void EndAll();

    /// All that are known, each with its texts, whether it is "on", and if so and if it ends by itself
    /// "endsInMs".
    Json::Value ToJson() const;

private:
    using Clock = std::chrono::steady_clock;

    struct Scenario {
        Json::Value texts;               ///< "name", "title", "description" and the same in Chinese
        std::vector<LabFault> vecFaults; ///< when they begin and end is counted from the start
        std::optional<std::chrono::milliseconds> optLength; ///< none: until it is ended
        std::optional<Clock::time_point> optStarted;        ///< none: it is not on
    };

    static Scenario Read(const Json::Value& scenario);
    static bool IsOn(const Scenario& scenario);
    void StartNow(Scenario& scenario);

    LabFaults& m_faults;
    mutable std::mutex m_mutex;
    std::map<std::string, Scenario> m_mapScenarios; ///< by their names
};
