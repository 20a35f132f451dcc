// A log that writes to standard error, for hosts that run as a service of systemd: its journal stores the
// lines, and takes the mark "<4>" at the beginning of a line as the line's priority.
//
// Log_Folder is left out, because there is no folder; a host that wants to ask for it looks it up by its
// name.

#include <ktshttpagent/clog.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <exception>
#include <string>

namespace
{

constexpr int HIGHEST_LEVEL = 3; // a debug line for each exchange is too much for a journal

/// The priority in systemd's journal of a line of level 1, 2, 3 or more.
char Priority(int nLevel)
{
    constexpr char PRIORITIES[] = {'3', '4', '6', '7'}; // error, warning, information, debug
    return PRIORITIES[std::clamp(nLevel, 1, 4) - 1];
}

std::string Formatted(const char* szFormat, va_list arguments)
{
    va_list again;
    va_copy(again, arguments);
    const int nLength = std::vsnprintf(nullptr, 0, szFormat, again);
    va_end(again);
    std::string strText(static_cast<std::size_t>(std::max(nLength, 0)) + 1, '\0');
    if (nLength < 0 || std::vsnprintf(strText.data(), strText.size(), szFormat, arguments) < 0) {
        return szFormat; // the arguments can't be formatted, and a part of the truth is better than none
    }
    strText.pop_back(); // the final NUL
    return strText;
}

/// A line may contain what a server said. With its control characters escaped, it can neither look like two
/// lines nor change the colours of a terminal.
std::string Escaped(const std::string& strText)
{
    std::string strEscaped;
    for (const char c : strText) {
        const auto nByte = static_cast<unsigned char>(c);
        if (nByte < 0x20 || nByte == 0x7f) {
            constexpr const char* DIGITS = "0123456789abcdef";
            strEscaped += {'\\', 'x', DIGITS[nByte / 16], DIGITS[nByte % 16]};
        } else {
            strEscaped += c;
        }
    }
    return strEscaped;
}

void Write(int nLevel, const std::string& strWhere, int nLine, const std::string& strText)
{
    const std::string strLine = std::string("<") + Priority(nLevel) + '>' + Escaped(strWhere) + ':' +
                                std::to_string(nLine) + ": " + Escaped(strText) + '\n';
    // In one piece, because many threads write. If it fails, there is no place left to say so.
    static_cast<void>(std::fwrite(strLine.data(), 1, strLine.size(), stderr));
}

} // namespace

// Called from any thread, and until the very end of the process, so it uses no object with a destructor. It
// never throws, because no caller expects that: if there is not enough memory, the line is lost.
void Log_Write(int level, const std::string& where, int line, const char* format, ...)
{
    if (level > HIGHEST_LEVEL) {
        return;
    }
    va_list arguments;
    va_start(arguments, format);
    try {
        Write(level, where, line, format == nullptr ? std::string() : Formatted(format, arguments));
    } catch (const std::exception&) {
        static_cast<void>(std::fputs("<3>a line of the log is lost: not enough memory\n", stderr));
    }
    va_end(arguments);
}
