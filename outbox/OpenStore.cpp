#include "OpenStore.h"

#include "Disk.h"
#include "OutboxSettings.h"
#include "Store.h"

#include <filesystem>
#include <stdexcept>
#include <utility>
#include <vector>

namespace outbox
{

std::unique_ptr<Shelf> OpenStore(const std::string& strFolder)
{
    std::string strWhyNot;
    std::unique_ptr<Disk> pDisk = OpenDisk(std::filesystem::u8path(strFolder), strWhyNot);
    if (pDisk == nullptr) {
        throw std::runtime_error(strWhyNot);
    }
    std::vector<std::string> vecComplaints; // whoever opens the outbox logs them
    StoreSettings settings;
    settings.bSync = ReadOutboxSettings(vecComplaints).eSync != SyncMode::None;
    return std::make_unique<Store>(std::move(pDisk), std::move(settings));
}

} // namespace outbox
