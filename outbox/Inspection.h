#pragma once

#include "DeadLetter.h"
#include "Folder.h"
#include "Requeue.h"
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
    Record record;
};

/// How much waits in all runs.
struct WaitingUse {
    std::uint64_t nWaiting = 0;
    std::optional<std::int64_t> optOldestMs; ///< when the oldest was stored, milliseconds since 1970 (UTC)
    std::string strWhyNot;                   ///< what could not be read, and why; empty for nothing
};

/// Where something damaged is.
struct DamagedPlace {
    std::string strFile; ///< from the outbox's folder on
    std::uint64_t nOffset = 0;
};

/// What a check of the whole folder found.
struct Verdict {
    std::uint64_t nRuns = 0;
    std::uint64_t nWaiting = 0;
    std::uint64_t nDead = 0;
    std::uint64_t nTorn = 0; ///< half-written records at the ends of files
    std::vector<DamagedPlace> vecDamages;
    std::vector<std::string> vecErrors; ///< what could not be read, and why
};

/// Looks into an outbox from outside, such as for an operator's program, while hosts work with it. Reading
/// changes nothing, and takes no lock. What a host removes meanwhile counts as if it had not been there. Used
/// by one thread at a time.
class Inspection
{
public:
    explicit Inspection(std::unique_ptr<Disk> pDisk);

    /// Calls the function for each waiting report, until it returns false.
    /// @return what could not be read, and why; empty for nothing
    std::string ForEachWaiting(const std::function<bool(const InspectedReport&)>& fnReport);

    /// Counts without looking at each report. The oldest is sought among the first ones of all runs.
    WaitingUse MeasureWaiting();
    /// The same for some runs only.
    WaitingUse MeasureWaiting(const std::vector<std::string>& vecRuns);

    /// The runs that no living process owns. To find out, each lock is taken for a moment, which may keep a
    /// host from taking the run over until it looks again: only for somebody who is about to do so himself.
    std::vector<std::string> ListAbandoned();

    /// The file names of the dead letters; those of a run in the order in which they were stored.
    std::vector<std::string> ListDead() const;

    /// @return nothing if there is none of that name, or if it is damaged
    std::optional<DeadLetter> ReadDead(const std::string& strName) const;

    /// Makes the reports of dead letters wait again, see Requeue.h.
    Requeued Requeue(const std::vector<std::string>& vecNames);

    /// Removes a dead letter.
    /// @return why that failed; empty if it did not
    std::string DropDead(const std::string& strName);

    /// Reads everything.
    Verdict Verify();

    FolderUse Measure() const { return m_folder.Measure(); }

private:
    const std::unique_ptr<Disk> m_pDisk;
    Folder m_folder;
};

} // namespace outbox
