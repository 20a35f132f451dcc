#include "RecordingLog.h"

#include <ktshttpagent/clog.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <iterator>
#include <mutex>

namespace
{
std::mutex g_mutex;
std::vector<RecordedLine> g_vecLines;
std::atomic<bool> g_bThrows = false;
} // namespace

std::vector<RecordedLine> RecordedLog(int nMostLevel)
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    std::vector<RecordedLine> vecLines;
    std::copy_if(g_vecLines.begin(), g_vecLines.end(), std::back_inserter(vecLines),
                 [nMostLevel](const RecordedLine& line) { return line.nLevel <= nMostLevel; });
    return vecLines;
}

void ClearRecordedLog()
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    g_vecLines.clear();
}

void LetLogThrow(bool bThrows)
{
    g_bThrows = bThrows;
}

void Log_Write(int level, const std::string& where, int line, const char* format, ...)
{
    std::array<char, 4096> text{};
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    const std::lock_guard<std::mutex> lock(g_mutex);
    g_vecLines.push_back({level, where, line, text.data()});
    if (g_bThrows) {
        throw 1;
    }
}
