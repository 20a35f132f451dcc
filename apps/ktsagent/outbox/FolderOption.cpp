#include "FolderOption.h"

#include "WithoutOutbox.h"

#include "outbox/Disk.h"
#include "outbox/Folder.h"
#include "outbox/OutboxSettings.h"
#include "platform/system/Environment.h"

#include <ktshttpagent/CUIAgentReq.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace
{

constexpr const char* PROFILE_VALUE = "OutboxFolder";

/// What the settings name; empty for nothing.
std::string ConfiguredFolder()
{
    if (const std::optional<std::string> optFolder = EnvironmentVariable(outbox::FOLDER_VARIABLE)) {
        return *optFolder;
    }
    {
        const WithoutOutbox withoutOutbox;
        CUIAgentReq::Instance();
    }
    const std::vector<SKtsSetting> vecSettings = KtsSettingsInForce();
    const SKtsSetting* const pSetting = FindFolderSetting(vecSettings);
    return pSetting == nullptr ? "" : pSetting->strValue;
}

} // namespace

const SKtsSetting* FindFolderSetting(const std::vector<SKtsSetting>& vecSettings)
{
    const auto it = std::find_if(vecSettings.begin(), vecSettings.end(), [](const SKtsSetting& setting) {
        return (setting.strName == outbox::FOLDER_VARIABLE || setting.strName == PROFILE_VALUE) &&
               !setting.strValue.empty();
    });
    return it == vecSettings.end() ? nullptr : &*it;
}

void AddFolderOption(CLI::App& command, std::string& strFolder)
{
    const std::string strHelp = std::string("the outbox's folder; by default the one that ") +
                                outbox::FOLDER_VARIABLE + " or the profile's value " + PROFILE_VALUE +
                                " names";
    command.add_option("--folder", strFolder, strHelp)->type_name("FOLDER");
}

std::string FolderOf(const std::string& strFolder)
{
    std::string strNamed = strFolder.empty() ? ConfiguredFolder() : strFolder;
    if (strNamed.empty()) {
        throw CLI::ValidationError("--folder", std::string("no folder is named, neither here nor by ") +
                                                   outbox::FOLDER_VARIABLE + " nor by a profile's " +
                                                   PROFILE_VALUE);
    }
    return strNamed;
}

std::unique_ptr<outbox::Inspection> OpenToInspect(const std::string& strFolder)
{
    const std::string strNamed = FolderOf(strFolder);
    const std::filesystem::path path = std::filesystem::u8path(strNamed);
    std::error_code error;
    if (!std::filesystem::is_directory(path / outbox::RUNS_FOLDER, error)) {
        const bool bUnknown =
            error && error != std::errc::no_such_file_or_directory && error != std::errc::not_a_directory;
        throw std::runtime_error("the folder " + strNamed + " is no outbox" +
                                 (bUnknown ? ", or can't be read: " + error.message() : ""));
    }
    std::string strWhyNot;
    std::unique_ptr<outbox::Disk> pDisk = outbox::OpenDisk(path, strWhyNot);
    if (pDisk == nullptr) {
        throw std::runtime_error(strWhyNot);
    }
    return std::make_unique<outbox::Inspection>(std::move(pDisk));
}
