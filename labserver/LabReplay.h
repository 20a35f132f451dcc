#pragma once

#include "labserver/LabFault.h"

#include <cstddef>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// What a server answered to a request, as a recording has it.
struct LabRecorded {
    int nStatus = 0;
    std::vector<std::pair<std::string, std::string>>
        vecHeaders; ///< without those that belong to a connection
    std::string strContentType;
    std::string strBody;
    /// A truncation, a reset or a silence is done to the client again; any other fault is in the reply.
    std::optional<LabFaultKind> optFault;
};

/// A recording that is played: it answers requests as they were answered then. Thread-safe.
class LabReplay
{
public:
    /// @param strFile  as LabRecording writes it
    /// @throws std::runtime_error when it can't be read, with the number of the line that is wrong
    explicit LabReplay(const std::string& strFile);

    /// What a request gets. The same request, with the same body, gets its recorded replies in their order,
    /// and the last one from then on. A time in its query, that is a parameter "t" with a whole number, does
    /// not make it another request. One whose body was not recorded gets the replies to any body.
    /// @return null if it was not recorded
    const LabRecorded* Next(const std::string& strMethod, const std::string& strTarget,
                            const std::string& strBody);

private:
    /// Which of the recorded replies have been given.
    struct Replies {
        std::vector<std::size_t> vecRecorded; ///< their places in m_vecRecorded, oldest first
        std::size_t nNext = 0;
    };

    void AddLine(const std::string& strLine);

    std::vector<LabRecorded> m_vecRecorded;
    std::mutex m_mutex;
    std::map<std::vector<std::string>, Replies> m_mapReplies; ///< by what tells requests apart
};
