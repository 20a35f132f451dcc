#pragma once

#include "labserver/LabSeen.h"

#include <cstdio>
#include <memory>
#include <mutex>
#include <string>

/// A file with the requests of hosts and what became of them: a line of JSON each, in the order in which they
/// ended, see RecordedLine(). Thread-safe.
class LabRecording
{
public:
    /// @param strFile  a new file, for its owner alone
    /// @throws std::runtime_error when it is there already or can't be made
    explicit LabRecording(const std::string& strFile);

    /// Writes a line, and gives it to the system. When this fails for the first time, the standard error says
    /// so, and nothing more is written: a recording with a gap would be replayed wrongly.
    void Add(const LabSeen& seen);

private:
    struct Close {
        void operator()(std::FILE* pFile) const { static_cast<void>(std::fclose(pFile)); }
    };

    const std::string m_strFile;
    std::mutex m_mutex;
    std::unique_ptr<std::FILE, Close> m_pFile; ///< null after a failure
};

/// An exchange as GET /lab/exchanges/ID shows it, but with whole bodies and without an id. A body that is not
/// UTF-8 is in "requestBodyLatin1" or "replyBodyLatin1" instead, where each character stands for the byte of
/// its number.
std::string RecordedLine(const LabSeen& seen);
