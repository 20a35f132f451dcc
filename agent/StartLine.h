#pragma once

/// Logs at level 3 that the agent has started: the versions of its libraries, and all settings in force but
/// those of the transport, which logs them itself. Makes the line only if the log takes that level.
void LogStart() noexcept;
