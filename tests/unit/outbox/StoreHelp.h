#pragma once

#include "MemoryDisk.h"
#include "ReportHelp.h"

#include "outbox/Store.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
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

/// A store on the real disk, which takes even the last bytes of it.
inline std::unique_ptr<outbox::Store> OpenStoreOnDisk(const std::filesystem::path& path)
{
    std::string strWhyNot;
    std::unique_ptr<outbox::Disk> pDisk = outbox::OpenDisk(path, strWhyNot);
    EXPECT_NE(pDisk, nullptr) << strWhyNot;
    outbox::StoreSettings settings;
    settings.limits.nFree = 0;
    return std::make_unique<outbox::Store>(std::move(pDisk), settings);
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
