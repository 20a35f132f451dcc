#pragma once

#include "MemoryDisk.h"
#include "ReportHelp.h"

#include "outbox/Store.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

// What several tests of the store use.

/// Segments so small that a few reports fill one.
inline outbox::StoreSettings SmallSegments(std::uint64_t nBytes = 2000)
{
    outbox::StoreSettings settings;
    settings.limits.nSegmentBytes = nBytes;
    return settings;
}

inline std::unique_ptr<outbox::Store> OpenStore(const std::shared_ptr<Machine>& pMachine,
                                                outbox::StoreSettings settings = SmallSegments())
{
    return std::make_unique<outbox::Store>(std::make_unique<MemoryDisk>(pMachine), std::move(settings));
}

/// All reports that wait, in order.
inline std::vector<outbox::Waiting> AllWaiting(outbox::Store& store)
{
    std::vector<outbox::Waiting> vecWaiting;
    outbox::ReportId after;
    while (std::optional<outbox::Waiting> optNext = store.Next(after)) {
        after = optNext->id;
        vecWaiting.push_back(std::move(*optNext));
    }
    return vecWaiting;
}

inline std::vector<std::string> BodiesOf(const std::vector<outbox::Waiting>& vecWaiting)
{
    std::vector<std::string> vecBodies;
    for (const outbox::Waiting& waiting : vecWaiting) {
        vecBodies.push_back(waiting.report.strBody);
    }
    return vecBodies;
}

/// What the next process finds after this one was killed: it takes over everything.
inline std::vector<outbox::Waiting> FoundBy(const std::shared_ptr<Machine>& pMachine)
{
    const std::unique_ptr<outbox::Store> pStore = OpenStore(pMachine);
    pStore->Adopt();
    return AllWaiting(*pStore);
}
