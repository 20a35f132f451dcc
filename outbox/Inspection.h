#pragma once

#include "DeadLetter.h"
#include "Folder.h"
#include "Run.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace outbox
{

/// A report that waits in any run, whoever owns it.
struct InspectedReport {
    std::string strRun;
    bool bOwned = false; ///< by a living process
    Record record;
};

/// What a check of the whole folder found.
struct Verdict {
    std::uint64_t nRuns = 0;
    std::uint64_t nWaiting = 0;
    std::uint64_t nDead = 0;
    std::uint64_t nTorn = 0;             ///< half-written records at the ends of files
    std::vector<std::string> vecDamages; ///< damaged pieces of segments, and damaged dead letters, by name
    std::vector<std::string> vecErrors;  ///< what could not be read, and why
};

/// Looks into an outbox from outside, such as for an operator's program, while hosts work with it. Reading
/// changes nothing; to find out who owns a run, its lock is tried for a moment. Used by one thread at a time.
class Inspection
{
public:
    explicit Inspection(std::unique_ptr<Disk> pDisk);

    /// Calls the function for each waiting report, until it returns false.
    void ForEachWaiting(const std::function<bool(const InspectedReport&)>& fnReport);

    /// The file names of the dead letters, in order.
    std::vector<std::string> ListDead() const;

    /// @return nothing if there is none of that name, or if it is damaged
    std::optional<DeadLetter> ReadDead(const std::string& strName) const;

    /// Makes the report of a dead letter wait again, with its old key, in a new run that hosts take over, and
    /// removes the letter.
    /// @return why that failed; empty if it did not
    std::string Requeue(const std::string& strName);

    /// Removes a dead letter.
    /// @return why that failed; empty if it did not
    std::string DropDead(const std::string& strName);

    /// Ends a waiting report of a run whose owner is gone.
    /// @return why that failed; empty if it did not
    std::string DropWaiting(const std::string& strRun, std::uint64_t nSequence);

    /// Reads everything.
    Verdict Verify();

    FolderUse Measure() const { return m_folder.Measure(); }

private:
    bool IsOwned(const std::string& strRun);

    const std::unique_ptr<Disk> m_pDisk;
    Folder m_folder;
};

} // namespace outbox
