#pragma once

#include "outbox/Inspection.h"

#include <CLI/CLI.hpp>

#include <memory>
#include <string>

/// Adds the option that names an outbox. Without it the environment names one, as for hosts.
/// @param strFolder  where its value is put; must outlive the parse
void AddFolderOption(CLI::App& command, std::string& strFolder);

/// The folder that the command line or the environment names.
/// @throws CLI::ValidationError if neither does
std::string FolderOf(const std::string& strFolder);

/// Opens an outbox to look into it. It is never made: a folder that is no outbox is refused unchanged.
/// @param strFolder  what the command line names; may be empty
/// @throws CLI::ValidationError if no folder is named
/// @throws std::runtime_error if the folder can't be used
std::unique_ptr<outbox::Inspection> OpenToInspect(const std::string& strFolder);
