#include "MetricsFile.h"

#include "OutboxFigures.h"

#include "outbox/OutboxStatus.h"
#include "platform/metrics/PrometheusText.h"
#include "platform/system/AtFork.h"
#include "platform/system/Environment.h"
#include "platform/system/ProcessEnd.h"
#include "platform/system/QuietThread.h"

#include <ktshttpagent/KtsMetrics.h>
#include <ktshttpagent/clog.h>

#include <cerrno>
#include <exception>
#include <fstream>
#include <memory>
#include <mutex>
#include <string>
#include <system_error>
#include <utility>

namespace
{

constexpr std::chrono::seconds INTERVAL{15};

/// @throws std::system_error
void WriteWhole(const std::filesystem::path& path, const std::string& strText)
{
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << strText;
    file.close();
    if (!file) {
        throw std::system_error(errno, std::generic_category(), path.u8string());
    }
}

/// A site's own log may throw, and this may be a thread of ours.
void LogUnwritten(const std::exception& error) noexcept
{
    try {
        Log_Write(1, "MetricsFile::Write", 1, "the figures can't be written to the file that %s names: %s",
                  METRICS_FILE_VARIABLE, error.what());
    } catch (...) { // the line is lost
    }
}

/// Null before the start and after the end.
std::unique_ptr<MetricsFile>& TheMetricsFile()
{
    static auto& file = *new std::unique_ptr<MetricsFile>;
    return file;
}

// The thread does not exist in the child of a fork, so nothing there may wait for it.
const bool g_bForksPrepared = AtFork([] {}, [] {}, [] { static_cast<void>(TheMetricsFile().release()); });

} // namespace

MetricsFile::MetricsFile(std::filesystem::path path, std::chrono::milliseconds interval)
    : m_path(std::move(path)), m_interval(interval), m_thread(StartQuietThread([this] { Run(); }))
{
}

MetricsFile::~MetricsFile()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_bEnds = true;
    }
    m_wake.notify_one();
    m_thread.join();
}

void MetricsFile::Run()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    for (bool bLast = false; !bLast;) {
        bLast = m_bEnds;
        lock.unlock();
        Write();
        lock.lock();
        if (!bLast) {
            m_wake.wait_for(lock, m_interval, [this] { return m_bEnds; });
        }
    }
}

/// A failure is logged once, until the file can be written again.
void MetricsFile::Write()
{
    try {
        std::filesystem::path pathPart = m_path;
        pathPart += ".part";
        WriteWhole(pathPart, metrics::PrometheusText(KtsMetrics()) + OutboxFigures(outbox::Status()));
        std::filesystem::rename(pathPart, m_path);
        m_bComplained = false;
    } catch (const std::exception& error) {
        if (!std::exchange(m_bComplained, true)) {
            LogUnwritten(error);
        }
    }
}

void StartMetricsFile()
{
    static std::once_flag once;
    std::call_once(once, [] {
        const std::string strPath = EnvironmentVariable(METRICS_FILE_VARIABLE).value_or("");
        if (strPath.empty()) {
            return;
        }
        try {
            TheMetricsFile() = std::make_unique<MetricsFile>(std::filesystem::u8path(strPath), INTERVAL);
            AtProcessEnd([] { TheMetricsFile().reset(); });
        } catch (const std::exception& error) {
            LogUnwritten(error);
        }
    });
}
