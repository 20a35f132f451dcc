#pragma once

#include <filesystem>

/// Makes a folder, and those above it, where they are missing: for their owner alone, whatever the umask.
/// Those that are there already stay as they are. On Windows a folder inherits its rights from the one that
/// it is in.
/// @throw std::filesystem::filesystem_error
void MakePrivateFolders(const std::filesystem::path& path);
