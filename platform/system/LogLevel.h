#pragma once

/// The level of the log when CLOG_LEVEL is not set.
inline constexpr int DEFAULT_LOG_LEVEL = 3;

/// The level that CLOG_LEVEL asks for, so that a line that the log would drop need not be made. The log
/// itself complains about a value that can't be used.
int LogLevelOfEnvironment();
