#pragma once

#include <optional>
#include <string>
#include <vector>

namespace outbox
{

inline constexpr const char* FOLDER_VARIABLE = "KTSHTTPAGENT_OUTBOX";
inline constexpr const char* SYNC_VARIABLE = "KTSHTTPAGENT_OUTBOX_SYNC";
inline constexpr const char* REPEAT_VARIABLE = "KTSHTTPAGENT_OUTBOX_REPEAT";

/// When what was stored is brought onto the disk, where it survives a power cut.
enum class SyncMode {
    Each,       ///< "each": at once
    Within50Ms, ///< "50": what comes within 50 ms together
    None,       ///< "none": when the system does so
};

struct OutboxSettings {
    std::string strFolder; ///< empty: there is no outbox
    SyncMode eSync = SyncMode::Within50Ms;
    bool bRepeatSeen = true; ///< "any"; "unseen": a report is not sent again if the server may have taken it
};

/// The settings that the environment contains, or else the defaults.
/// @param vecComplaints  gets a sentence about each value that can't be used
OutboxSettings ReadOutboxSettings(std::vector<std::string>& vecComplaints);

} // namespace outbox
