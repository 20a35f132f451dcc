#pragma once

#include "Report.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace outbox
{

/// A stored report that has not ended.
struct Waiting {
    ReportId id;
    Report report;
};

/// What is on the disk.
struct ShelfStatus {
    std::uint64_t nWaiting = 0;          ///< reports that have not ended, of all runs that this process owns
    std::uint64_t nBytes = 0;            ///< of the folder's files, those of other processes included
    std::chrono::milliseconds oldest{0}; ///< age of the oldest waiting report; 0 for none
    std::uint64_t nDead = 0;             ///< dead letters
    std::uint64_t nBad = 0;              ///< damaged pieces that were set aside
    std::uint64_t nTorn = 0;             ///< half-written records at the ends of abandoned runs
    std::string strLastError;            ///< what last went wrong with the disk, in words; empty for none
};

/// Where reports are kept until they have ended. `Store` keeps them on the disk; tests bring their own.
class Shelf
{
public:
    Shelf() = default;
    virtual ~Shelf() = default;
    Shelf(const Shelf&) = delete;
    Shelf& operator=(const Shelf&) = delete;

    /// Keeps a report: when this returns, the report survives the end of the process, however that ends. Sets
    /// its key and its time. May be called from any thread.
    /// @return nothing if it can't be kept; `WhyNot` says why
    virtual std::optional<ReportId> Add(Report& report) = 0;

    /// Why the last report could not be kept, in words. May be called from any thread.
    virtual std::string WhyNot() const = 0;

    /// Brings everything that was added before the call onto the disk, where it survives a power cut. One
    /// thread at a time.
    /// @return false if the disk could not do that
    virtual bool Sync() = 0;

    /// Notes how a report ended. May be called from any thread.
    virtual void End(ReportId id, Ending eEnding) = 0;

    /// Moves a report to the dead letters. May be called from any thread.
    /// @param nStatus  what the transport reported: an HTTP status or a negative number
    /// @return false if the dead letter can't be written; the report has not ended then
    virtual bool Bury(ReportId id, Ending eEnding, std::string_view strWhy, int nStatus) = 0;

    /// The first report after `after` that has not ended, read from the disk. One thread at a time.
    virtual std::optional<Waiting> Next(ReportId after) = 0;

    /// Takes over the reports of processes that have ended. One thread at a time.
    /// @return whether there were any
    virtual bool Adopt() = 0;

    /// May be called from any thread.
    virtual ShelfStatus Status() const = 0;
};

} // namespace outbox
