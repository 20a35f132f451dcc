#include <ktshttpagent/clog.h>

#include "Log.h"

#include "platform/text/Escaping.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

namespace
{

/// @return the formatted text, however long; the format itself when it can't be formatted
std::string Format(const char* szFormat, va_list arguments)
{
    va_list measured;
    va_copy(measured, arguments);
    const int nLength = std::vsnprintf(nullptr, 0, szFormat, measured);
    va_end(measured);
    if (nLength < 0) {
        return szFormat;
    }
    std::string strText(static_cast<std::size_t>(nLength), '\0');
    static_cast<void>(std::vsnprintf(strText.data(), strText.size() + 1, szFormat, arguments));
    return strText;
}

} // namespace

const char* Log_Folder()
{
    try {
        return Log::Instance().Folder();
    } catch (...) { // no log, hence no folder
        return "";
    }
}

void Log_Write(int level, const std::string& where, int line, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    try {
        Log& log = Log::Instance();
        if (log.Takes(std::max(level, 1))) {
            const std::string strText = format == nullptr ? std::string() : Format(format, arguments);
            log.Write(level, EscapeUnsafe(where) + ':' + std::to_string(line) + ' ' + EscapeUnsafe(strText));
        }
    } catch (...) { // out of memory: better to lose a line than to make the caller fail
    }
    va_end(arguments);
}
