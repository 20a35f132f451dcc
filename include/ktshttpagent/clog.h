#pragma once

/// @file
/// The log of the library, which a host may write to as well: `Log_Write`, and `Log_Folder` for where to
/// look. It is a shared library of its own; a site may put another one in its place.
///
/// What a host needs for its requests stands in CUIAgentReq.h; that writes to this log by itself.
///
/// Threads: both functions may be called from any thread. Ownership: a line's texts are written before the
/// call returns, and none is kept.

#include <string>

/// @def LIBCLOG_API
/// Marks what the shared library offers; everything else stays hidden in it.
#if defined(_WIN32)
#if defined(LIBCLOG_BUILD)
#define LIBCLOG_API __declspec(dllexport)
#else
#define LIBCLOG_API // functions need no import mark, and so may come from anywhere
#endif
#else
#define LIBCLOG_API __attribute__((visibility("default")))
#endif

/// @def LIBCLOG_PRINTF_LIKE
/// Lets the compiler hold the arguments of `Log_Write` against its format.
#if defined(__MINGW32__) // where printf alone means that of Windows' old C library
#define LIBCLOG_PRINTF_LIKE __attribute__((format(gnu_printf, 4, 5)))
#elif defined(__GNUC__)
#define LIBCLOG_PRINTF_LIKE __attribute__((format(printf, 4, 5)))
#else
#define LIBCLOG_PRINTF_LIKE
#endif

/// Writes one line to the log: time, level, thread, `where`, `line` and the text.
///
/// @param level   1 error, 2 warning, 3 information, 4 debug; what is below 1 counts as 1. Lines above the
///                level in force are dropped.
/// @param where   the qualified name of the function that speaks
/// @param line    a number that tells its lines apart
/// @param format  a printf format for the arguments behind it; a null pointer is an empty text
///
/// Line feeds and other control characters in `where` and in the text are written as escapes (`\n`, `\x1b`),
/// so a text can't pretend to be a line of its own; so is whatever else turns, hides or ends text, and each
/// byte that is not valid UTF-8. May be called from any thread, and until the process ends: from static
/// destructors and atexit handlers too. The line is in the file when the call returns. Never fails the
/// caller: where the log can't be written, the line is lost, that is said once on standard error, and the log
/// is tried anew every second.
///
/// Settings, read from the environment when the first line is written:
///
/// | variable          | meaning                                             | default                |
/// |-------------------|-----------------------------------------------------|------------------------|
/// | `CLOG_DIR`        | folder of the log, made when it is missing          | the user's state folder|
/// | `CLOG_LEVEL`      | the highest level written, 0 (none) to 4            | 3                      |
/// | `CLOG_FILE_BYTES` | size at which a file is put aside, 1 to 10^12       | 5242880                |
/// | `CLOG_FILES`      | how many files put aside are kept, 0 to 1000        | 5                      |
///
/// A value that is no decimal number, or is out of its range, leaves the default in force; a line in the log
/// says so. The file is `ktshttpagent.log`, put aside as `ktshttpagent.1.log` and so on, the highest number
/// being the oldest. A line is never cut: one that is longer than a file may be has a file of its own.
///
/// The user's state folder is `$XDG_STATE_HOME/ktshttpagent`, by default `~/.local/state/ktshttpagent`; on
/// Windows `%LOCALAPPDATA%\ktshttpagent`. Programs that run at the same time should have a folder each, since
/// each counts the size of its own lines only.
///
/// Where the process has rights that its caller may lack (set-user-id, set-group-id, file capabilities), none
/// of these variables counts, and the folder is `/var/log/ktshttpagent`.
///
/// On Linux files and folders that the log makes are for their owner alone, whatever the umask, and files
/// that it goes on with become so. Only a regular file is written; a symbolic link, a pipe or a device in its
/// place is a log that can't be written.
LIBCLOG_API void Log_Write(int level, const std::string& where, int line, const char* format,
                           ...) LIBCLOG_PRINTF_LIKE;

/// The folder of the log, for a host that tells its user where to look.
///
/// The library itself never calls this, so a replacement of this log need not have it. Look it up where it
/// may be missing, by its name, which is not mangled: dlsym, GetProcAddress, QLibrary::resolve.
///
/// May be called from any thread. It reads the settings when no line was written before.
///
/// @return an absolute path in UTF-8, valid to the end of the process; empty when the environment names no
///         folder
extern "C" LIBCLOG_API const char* Log_Folder();
