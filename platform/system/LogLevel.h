#pragma once

/// The level of the log when CLOG_LEVEL is not set.
inline constexpr int DEFAULT_LOG_LEVEL = 3;

// What stands on the levels above the errors.
inline constexpr int LOG_CAUSES = 2;    ///< why an exchange failed
inline constexpr int LOG_LIFE = 3;      ///< start and stop
inline constexpr int LOG_EXCHANGES = 4; ///< exchanges that succeeded

/// The level that CLOG_LEVEL asks for, so that a line that the log would drop need not be made. The log
/// itself complains about a value that can't be used.
int LogLevelOfEnvironment();
