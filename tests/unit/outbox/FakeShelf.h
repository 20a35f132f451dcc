#pragma once

#include "outbox/Shelf.h"

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace outbox
{

/// Keeps reports in memory and notes what is asked of it. May be used from any thread.
class FakeShelf final : public Shelf
{
public:
    /// What tests look at, or set. It outlives the shelf.
    struct Contents {
        std::mutex mutex;
        std::map<ReportId, Report> mapWaiting;
        std::map<ReportId, Ending> mapEnding;
        std::vector<std::string> vecWhy; ///< of the dead letters
        std::uint64_t nSequence = 0;
        std::uint64_t nReads = 0;
        std::uint64_t nSyncs = 0;
        std::uint64_t nAdoptions = 0;
        std::uint64_t nUnsynced = 0;             ///< added since the last sync
        bool bFull = false;                      ///< nothing can be added
        bool bThrows = false;                    ///< adding throws
        bool bSyncs = true;                      ///< a sync succeeds
        bool bBuries = true;                     ///< a dead letter can be written
        std::map<ReportId, Report> mapAbandoned; ///< of another process, to be adopted
        std::function<void()> fnOnAdd;  ///< called when a report stands on the disk, before that is told
        std::function<void()> fnOnEnd;  ///< called before a report is ended or buried
        std::function<void()> fnOnNext; ///< called when a report was read, before that is told
        std::function<void()> fnOnSync; ///< called before a sync
    };

    explicit FakeShelf(Contents& contents) : m_contents(contents) {}

    std::optional<ReportId> Add(Report& report) override
    {
        ReportId id{OWN_RUN, 0};
        {
            const std::lock_guard<std::mutex> lock(m_contents.mutex);
            if (m_contents.bThrows) {
                throw std::bad_alloc();
            }
            if (m_contents.bFull) {
                return std::nullopt;
            }
            id.nSequence = ++m_contents.nSequence;
            report.strKey = "key-" + std::to_string(id.nSequence);
            m_contents.mapWaiting[id] = report;
            ++m_contents.nUnsynced;
        }
        Call(m_contents.fnOnAdd);
        return id;
    }
    std::string WhyNot() const override { return "the disk is full"; }
    bool Sync() override
    {
        Call(m_contents.fnOnSync);
        const std::lock_guard<std::mutex> lock(m_contents.mutex);
        ++m_contents.nSyncs;
        if (m_contents.bSyncs) {
            m_contents.nUnsynced = 0;
        }
        return m_contents.bSyncs;
    }
    void End(ReportId id, Ending eEnding) override
    {
        Call(m_contents.fnOnEnd);
        const std::lock_guard<std::mutex> lock(m_contents.mutex);
        m_contents.mapWaiting.erase(id);
        m_contents.mapEnding[id] = eEnding;
    }
    bool Bury(ReportId id, Ending eEnding, std::string_view strWhy, int nStatus) override
    {
        if (!m_contents.bBuries) {
            return false;
        }
        End(id, eEnding);
        const std::lock_guard<std::mutex> lock(m_contents.mutex);
        m_contents.vecWhy.push_back(std::string(strWhy) + " (" + std::to_string(nStatus) + ")");
        return true;
    }
    std::optional<Waiting> Next(ReportId after) override
    {
        std::optional<Waiting> waiting;
        {
            const std::lock_guard<std::mutex> lock(m_contents.mutex);
            ++m_contents.nReads;
            const auto found = m_contents.mapWaiting.upper_bound(after);
            if (found != m_contents.mapWaiting.end()) {
                waiting = Waiting{found->first, found->second};
            }
        }
        Call(m_contents.fnOnNext);
        return waiting;
    }
    bool Adopt() override
    {
        const std::lock_guard<std::mutex> lock(m_contents.mutex);
        ++m_contents.nAdoptions;
        const bool bAny = !m_contents.mapAbandoned.empty();
        m_contents.mapWaiting.merge(m_contents.mapAbandoned);
        m_contents.mapAbandoned.clear();
        return bAny;
    }
    ShelfStatus Status() const override
    {
        const std::lock_guard<std::mutex> lock(m_contents.mutex);
        ShelfStatus status;
        status.nWaiting = m_contents.mapWaiting.size();
        return status;
    }

    static constexpr std::uint64_t OWN_RUN = 7;

private:
    static void Call(const std::function<void()>& fnHook)
    {
        if (fnHook) {
            fnHook();
        }
    }

    Contents& m_contents;
};

} // namespace outbox
