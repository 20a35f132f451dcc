#pragma once

#include "labserver/LabFaults.h"
#include "labserver/LabRestarts.h"
#include "labserver/LabTls.h"

#include <chrono>
#include <json/json.h>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

/// Scenarios: what goes wrong together, and comes and goes by itself: faults, other certificates, restarts of
/// the server. A few are built in; operators bring others. Thread-safe.
class LabScenarios
{
public:
    /// The parameters get what belongs to scenarios, and lose it; they must outlive this object.
    LabScenarios(LabFaults& faults, LabTls& tls, LabRestarts& restarts);

    /// Starts a scenario, anew if it is on: {"name": one that is known}, or a whole one: {"name", "title",
    /// "description", "steps": [...]}, which is known from then on. A step has "afterMs", and one of these:
    /// "faults", an array of what FaultFromJson() reads; "tls", the name of a LabCertificate; "restartMs",
    /// how long the server is away. One of the first two has "forMs" as well, or lasts until the scenario is
    /// ended.
    /// @throws LabError (404) if there is none of the name, (400) if it is not such an object
    /// @throws std::runtime_error if it wants a certificate that can't be made
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
        Json::Value texts; ///< "name", "title", "description" and the same in Chinese
        // When these begin and end is counted from the start.
        std::vector<LabFault> vecFaults;
        std::vector<LabShown> vecShown;
        std::vector<LabRestarts::Absence> vecAbsences;
        std::optional<std::chrono::milliseconds> optLength; ///< none: until it is ended
        std::optional<Clock::time_point> optStarted;        ///< none: it is not on
    };

    static Scenario Read(const Json::Value& scenario);
    static void ReadStep(const Json::Value& step, Scenario& scenario);
    static bool IsOn(const Scenario& scenario);
    void StartNow(Scenario& scenario);
    void Remove(const std::string& strName);

    LabFaults& m_faults;
    LabTls& m_tls;
    LabRestarts& m_restarts;
    mutable std::mutex m_mutex;
    std::map<std::string, Scenario> m_mapScenarios; ///< by their names
};
