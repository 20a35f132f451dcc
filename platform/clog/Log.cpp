#include "Log.h"

#include "LogSink.h"

#include "platform/system/AtFork.h"
#include "platform/system/PrivateFolder.h"
#include "platform/system/ProcessEnd.h"
#include "platform/text/Escaping.h"

#include <spdlog/logger.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <utility>

namespace
{

constexpr std::chrono::seconds RETRY_AFTER{1};
constexpr const char* LINE_PATTERN = "%Y-%m-%d %H:%M:%S.%e %z %l [%t] %v";

spdlog::level::level_enum SpdlogLevel(int nLevel)
{
    static constexpr std::array LEVELS{spdlog::level::err, spdlog::level::warn, spdlog::level::info,
                                       spdlog::level::debug};
    return LEVELS.at(static_cast<std::size_t>(std::max(nLevel, 1)) - 1);
}

/// Takes the log's lock, without waiting if a thread that no longer exists may hold it.
/// @return whether the lock was taken
bool Lock(std::unique_lock<std::mutex>& lock)
{
    if (ThreadsAreGone()) {
        return lock.try_lock();
    }
    lock.lock();
    return true;
}

} // namespace

// Guards the creation of the log and the writing of every line.
std::mutex Log::s_mutex;

namespace
{

// A fork while another thread writes, or makes the log, must not leave the child with a lock that stays
// taken.
const bool g_bForksKeptOut = AtFork(&Log::LockForFork, &Log::UnlockAfterFork, &Log::UnlockAfterFork);

} // namespace

Log& Log::Instance()
{
    static std::atomic<Log*> pLog = nullptr;
    if (pLog == nullptr) { // not a static object: a forked child could find it half constructed
        std::unique_lock<std::mutex> lock(s_mutex, std::defer_lock);
        if (!Lock(lock)) {
            throw std::runtime_error("the thread that was making the log is no more");
        }
        if (pLog == nullptr) {
            StayLoaded();
            pLog = new Log;
        }
    }
    return *pLog;
}

Log::Log()
    : m_settings(ReadLogSettings()),
      m_pathFile(m_settings.pathFolder / "ktshttpagent.log"),
      m_strFolder(m_settings.pathFolder.u8string())
{
}

void Log::Write(int nLevel, std::string_view line)
{
    std::unique_lock<std::mutex> lock(s_mutex, std::defer_lock);
    if (!Lock(lock)) {
        return;
    }
    if (!IsOpen()) {
        Open();
    }
    if (!Put(nLevel, line)) {
        ++m_nLost;
    }
}

bool Log::IsOpen() const
{
    return m_pLogger != nullptr && IsLogFileInPlace(*m_pLogger->sinks().front(), m_pathFile);
}

/// Tries to open the log, unless the last failure is too recent. While the log is not open, Put fails.
void Log::Open()
{
    if (std::chrono::steady_clock::now() < m_tpNextTry) {
        return;
    }
    try {
        MakeLogger();
    } catch (const std::exception& error) {
        Fail(error.what());
    }
    WriteForeword();
}

void Log::MakeLogger()
{
    m_pLogger.reset();
    if (m_settings.pathFolder.empty()) {
        throw std::runtime_error("the environment names no folder for it, set CLOG_DIR");
    }
    MakePrivateFolders(m_settings.pathFolder);
    auto pLogger = std::make_shared<spdlog::logger>(
        "ktshttpagent", OpenLogFile(m_pathFile, m_settings.nFileBytes, m_settings.nFiles));
    pLogger->set_pattern(LINE_PATTERN);
    pLogger->set_level(spdlog::level::trace);
    pLogger->flush_on(spdlog::level::trace);
    pLogger->set_error_handler([this](const std::string& strWhy) { m_strFailure = strWhy; });
    m_pLogger = std::move(pLogger);
}

/// Writes what had to wait until the log was open: how many lines were lost, and which settings are not in
/// force.
void Log::WriteForeword()
{
    if (m_nLost != 0 &&
        Put(1, "Log_Write:1 lines lost: " + std::to_string(m_nLost) + ", " + EscapeUnsafe(m_strFailure))) {
        m_nLost = 0;
    }
    std::vector<std::string>& vecComplaints = m_settings.vecComplaints;
    while (!vecComplaints.empty() && Put(1, "Log_Write:2 " + EscapeUnsafe(vecComplaints.back()))) {
        vecComplaints.pop_back();
    }
}

bool Log::Put(int nLevel, std::string_view line)
{
    if (m_pLogger == nullptr) {
        return false;
    }
    m_strFailure.clear();
    m_pLogger->log(SpdlogLevel(nLevel), spdlog::string_view_t(line.data(), line.size()));
    if (m_strFailure.empty()) {
        return true;
    }
    Fail(m_strFailure);
    return false;
}

/// After a failure, spdlog's own sink (used on Windows) may have no open file, and writing another line
/// through it would crash. The sink used on Linux may hold a file that is no longer the one at its path. So
/// either sink is dropped, and created anew later.
void Log::Fail(const std::string& strWhy)
{
    m_strFailure = strWhy;
    m_pLogger.reset();
    m_tpNextTry = std::chrono::steady_clock::now() + RETRY_AFTER;
    if (!std::exchange(m_bFailureSaid, true)) {
        static_cast<void>(std::fprintf(stderr, "libclog: %s can't be written, its lines are lost: %s\n",
                                       EscapeUnsafe(m_pathFile.u8string()).c_str(),
                                       EscapeUnsafe(strWhy).c_str()));
    }
}
