#pragma once

/// @file
/// The log of the library: `Log_Write` writes a line, which a host may do too, and `Log_Folder` says where
/// the log is. It is a shared library of its own; a site may replace it with another one.
///
/// A host that only sends requests does not need this header: CUIAgentReq.h is enough, and its implementation
/// writes to this log by itself.
///
/// Threads: both functions may be called from any thread. Ownership: the texts of a line are written before
/// the call returns, and none is kept.

#include <string>

/// @def LIBCLOG_API
/// Marks what the shared library exports; everything else stays hidden.
#if defined(_WIN32)
#if defined(LIBCLOG_BUILD)
#define LIBCLOG_API __declspec(dllexport)
#else
#define LIBCLOG_API // functions need no import mark, so any library may provide them
#endif
#else
#define LIBCLOG_API __attribute__((visibility("default")))
#endif

/// @def LIBCLOG_PRINTF_LIKE
/// Makes the compiler check the arguments of `Log_Write` against its format.
#if defined(__MINGW32__) // there "printf" means the format of Windows' old C library
#define LIBCLOG_PRINTF_LIKE __attribute__((format(gnu_printf, 4, 5)))
#elif defined(__GNUC__)
#define LIBCLOG_PRINTF_LIKE __attribute__((format(printf, 4, 5)))
#else
#define LIBCLOG_PRINTF_LIKE
#endif

/// Writes one line to the log: time, level, thread, `where`, `line` and the text.
///
/// @param level   1 error, 2 warning, 3 information, 4 debug; a value below 1 counts as 1. Lines above
///                `CLOG_LEVEL` are dropped.
/// @param where   the qualified name of the function that logs
/// @param line    a number that distinguishes this call from the function's other log lines
/// @param format  a printf format for the arguments after it; a null pointer is an empty text
///
/// Line feeds and other control characters in `where` and in the text are written as escapes (`\n`, `\x1b`),
/// so a text can't look like a log line of its own. The same applies to all other characters that change the
/// text direction, hide text or end a line, and to each byte that is not valid UTF-8. May be called from any
/// thread and until the process ends, also from static destructors and atexit handlers. The line is in the
/// file when the call returns. The call never fails: if the log can't be written, the line is lost, a message
/// says so once on standard error, and the log is retried every second.
///
/// Settings, read from the environment when the first line is written:
///
/// | variable          | meaning                                             | default                |
/// |-------------------|-----------------------------------------------------|------------------------|
/// | `CLOG_DIR`        | folder of the log, created if it is missing         | the user's state folder|
/// | `CLOG_LEVEL`      | the highest level written, 0 (none) to 4            | 3                      |
/// | `CLOG_FILE_BYTES` | size at which a file is renamed, 1 to 10^12         | 5242880                |
/// | `CLOG_FILES`      | how many renamed files are kept, 0 to 1000          | 5                      |
///
/// If a value is not a decimal number, or is out of range, the default is used, and a line in the log says
/// so. The file is `ktshttpagent.log`; full files are renamed to `ktshttpagent.1.log` and so on, and the
/// highest number is the oldest file. A line is never cut: a line that is longer than the size of a file gets
/// a file of its own.
///
/// The user's state folder is `$XDG_STATE_HOME/ktshttpagent`, by default `~/.local/state/ktshttpagent`; on
/// Windows `%LOCALAPPDATA%\ktshttpagent`. Programs that run at the same time should use different folders,
/// because each counts the size of its own lines only.
///
/// If the process has rights that its caller may lack (set-user-id, set-group-id, file capabilities), all
/// these variables are ignored, and the folder is `/var/log/ktshttpagent`.
///
/// On Linux, files and folders that the log makes are accessible to their owner only, whatever the umask; an
/// existing file to which the log appends is restricted in the same way. Only a regular file is written. If a
/// symbolic link, a pipe or a device is in its place, the log can't be written.
LIBCLOG_API void Log_Write(int level, const std::string& where, int line, const char* format,
                           ...) LIBCLOG_PRINTF_LIKE;

/// The folder of the log, so that a host can tell its user where to look.
///
/// The library itself never calls this, so a replacement of this log need not have it. If it may be missing,
/// look it up by its name, which is not mangled: dlsym with RTLD_DEFAULT, or GetProcAddress.
///
/// May be called from any thread. It reads the settings if no line was written before.
///
/// @return an absolute path in UTF-8, valid until the process ends; empty if the environment names no folder
extern "C" LIBCLOG_API const char* Log_Folder();
