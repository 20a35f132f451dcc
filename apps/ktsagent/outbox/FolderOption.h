#pragma once

#include "outbox/Inspection.h"

#include <ktshttpagent/KtsSettings.h>

#include <CLI/CLI.hpp>

#include <memory>
#include <string>
#include <vector>

/// The setting that names the folder of hosts: the environment's, or else the profile's; null for none.
const SKtsSetting* FindFolderSetting(const std::vector<SKtsSetting>& vecSettings);

/// Adds the option that names an outbox. Without it the environment or a profile names one, as for hosts.
/// @param strFolder  where its value is put; must outlive the parse
void AddFolderOption(CLI::App& command, std::string& strFolder);

/// The folder that the command line or the settings name. Starts the library, without an outbox, if a profile
/// has to be read.
/// @throws CLI::ValidationError if none does
std::string FolderOf(const std::string& strFolder);

/// Opens an outbox to look into it. It is never made: a folder that is no outbox is refused unchanged.
/// @param strFolder  what the command line names; may be empty
/// @throws CLI::ValidationError if no folder is named
/// @throws std::runtime_error if the folder can't be used
std::unique_ptr<outbox::Inspection> OpenToInspect(const std::string& strFolder);
