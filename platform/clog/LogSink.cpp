#include "LogSink.h"

#include "platform/system/PrivateFile.h"

#include <spdlog/details/log_msg.h>
#include <spdlog/details/null_mutex.h>
#include <spdlog/formatter.h>
#include <spdlog/sinks/base_sink.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <system_error>
#include <utility>

namespace
{

namespace fs = std::filesystem;

// Replaces spdlog's own rotating sink, which opens whatever exists under the files' names, and makes the
// files readable by everyone.
class FileSink final : public spdlog::sinks::base_sink<spdlog::details::null_mutex>
{
public:
    FileSink(fs::path path, std::size_t nMostBytes, std::size_t nFilesAside)
        : m_path(std::move(path)),
          m_nMostBytes(nMostBytes),
          m_nFilesAside(nFilesAside),
          m_file(m_path),
          m_nBytes(m_file.Size())
    {
        // An earlier version made these files readable by everyone.
        for (std::size_t nAside = 1; nAside <= nFilesAside; ++nAside) {
            MakeFilePrivate(Aside(nAside));
        }
    }

    bool IsInPlace() const { return m_file.IsInPlace(); }

protected:
    void sink_it_(const spdlog::details::log_msg& message) override
    {
        spdlog::memory_buf_t line;
        formatter_->format(message, line);
        if (m_nBytes + line.size() > m_nMostBytes && m_file.Size() > 0) {
            PutAside();
        }
        m_file.Append({line.data(), line.size()});
        m_nBytes += line.size();
    }

    void flush_() override {} // nothing is buffered

private:
    /// The path of the file with that number; 0 is the log file itself.
    fs::path Aside(std::size_t nNumber) const
    {
        fs::path path = m_path;
        return nNumber == 0
                   ? path
                   : path.replace_extension('.' + std::to_string(nNumber) + m_path.extension().string());
    }

    static bool IsThere(const fs::path& path)
    {
        std::error_code error;
        return fs::exists(fs::symlink_status(path, error));
    }

    /// Neither renaming nor removing follows a symbolic link.
    void PutAside()
    {
        for (std::size_t nNumber = m_nFilesAside; nNumber > 0; --nNumber) {
            if (IsThere(Aside(nNumber - 1))) {
                Rename(Aside(nNumber - 1), Aside(nNumber));
            }
        }
        if (m_nFilesAside == 0) {
            m_file.Truncate();
        } else {
            m_file = PrivateFile(m_path);
        }
        m_nBytes = m_file.Size();
    }

    void Rename(const fs::path& from, const fs::path& to)
    {
        static_cast<void>(std::remove(to.c_str()));
        std::error_code error;
        fs::rename(from, to, error);
        if (error) {
            m_file.Truncate(); // otherwise it would grow without limit
            throw std::system_error(error, "Failed renaming " + from.string() + " to " + to.string());
        }
    }

    const fs::path m_path;
    const std::size_t m_nMostBytes;
    const std::size_t m_nFilesAside;
    PrivateFile m_file;
    std::uintmax_t m_nBytes; ///< its size when opened plus what we wrote since; not what others wrote
};

} // namespace

std::shared_ptr<spdlog::sinks::sink> OpenLogFile(const fs::path& path, std::size_t nMostBytes,
                                                 std::size_t nFilesAside)
{
    return std::make_shared<FileSink>(path, nMostBytes, nFilesAside);
}

bool IsLogFileInPlace(const spdlog::sinks::sink& sink, const fs::path& /*path*/)
{
    return static_cast<const FileSink&>(sink).IsInPlace();
}
