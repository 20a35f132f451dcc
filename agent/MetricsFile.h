#pragma once

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <thread>

inline constexpr const char* METRICS_FILE_VARIABLE = "KTSHTTPAGENT_METRICS_FILE";

/// Writes the figures of `KtsMetrics` to a file from time to time, on a thread of its own: each time a
/// complete file, which replaces the one before. Whoever reads it never sees a part of one.
class MetricsFile
{
public:
    /// @throws std::system_error when no thread can be started
    MetricsFile(std::filesystem::path path, std::chrono::milliseconds interval);

    /// Writes the file for the last time.
    ~MetricsFile();
    MetricsFile(const MetricsFile&) = delete;
    MetricsFile& operator=(const MetricsFile&) = delete;

private:
    void Run();
    void Write();

    const std::filesystem::path m_path;
    const std::chrono::milliseconds m_interval;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    bool m_bEnds = false;
    bool m_bComplained = false; ///< about a file that can't be written
    std::thread m_thread;
};

/// Starts the writing if `KTSHTTPAGENT_METRICS_FILE` names a file, once per process; it ends with the
/// process.
void StartMetricsFile();
