#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

/// While it exists, a line on standard error tells how long something has been waited for: "waiting for
/// HOST:PORT, 12 s of 60 s …". The line is rewritten every second and erased at the end. There is none in the
/// first second, and none if standard error is not a terminal. Make only one at a time.
class ProgressLine
{
public:
    /// @param strWhat  is escaped
    /// @param limit    how long the wait may take
    ProgressLine(const std::string& strWhat, std::chrono::milliseconds limit);
    /// @param fnWhat  is called each time that the line is written, on another thread
    ProgressLine(std::function<std::string()> fnWhat, std::chrono::milliseconds limit);
    ~ProgressLine();
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

private:
    void Run();

    const std::function<std::string()> m_fnWhat;
    const std::chrono::milliseconds m_limit;
    std::mutex m_mutex;
    std::condition_variable m_condition;
    bool m_bStop = false; ///< guarded by the mutex
    std::thread m_thread;
};

/// Prints whole lines on standard error, above the progress line if there is one. From any thread.
void PrintAboveProgress(const std::string& strLines);
