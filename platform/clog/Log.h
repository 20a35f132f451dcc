#pragma once

#include "LogSettings.h"

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

namespace spdlog
{
class logger;
}

/// The log file of the process. Its logger is a private one, so the host may use spdlog itself, and shut that
/// down, without either affecting the other.
class Log
{
public:
    /// The one log, created by the first call. It is never destroyed: the last line of a process may come
    /// from a static destructor.
    static Log& Instance();

    /// The log's folder in UTF-8; empty when the environment names none. From any thread.
    const char* Folder() const { return m_strFolder.c_str(); }

    /// Whether lines of this level are written. From any thread.
    bool Takes(int nLevel) const { return nLevel <= m_settings.nLevel; }

    /// Appends one line, which must not contain a line end. When the call returns, the line is in the file,
    /// or it is lost and was counted as lost. From any thread.
    /// @throw std::bad_alloc
    void Write(int nLevel, std::string_view line);

    static void LockForFork() { s_mutex.lock(); }
    static void UnlockAfterFork() { s_mutex.unlock(); }

private:
    Log();

    bool IsOpen() const;
    void Open();
    void MakeLogger();
    void WriteForeword();
    bool Put(int nLevel, std::string_view line);
    void Fail(const std::string& strWhy);

    LogSettings m_settings;
    const std::filesystem::path m_pathFile;
    const std::string m_strFolder;

    static std::mutex s_mutex; ///< guards all members below, and the complaints in m_settings
    std::shared_ptr<spdlog::logger> m_pLogger;
    std::string m_strFailure;                          ///< why the last write or opening failed
    std::chrono::steady_clock::time_point m_tpNextTry; ///< after a failure: when to try again
    std::size_t m_nLost = 0;                           ///< lines lost since the log was last open
    bool m_bFailureSaid = false;
};
