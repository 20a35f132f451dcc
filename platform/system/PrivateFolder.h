#pragma once

#include <filesystem>

/// Creates a folder and its missing parents, accessible to their owner alone, whatever the umask. Existing
/// folders are left unchanged. On Windows a folder inherits the access rights of its parent.
/// @throw std::filesystem::filesystem_error
void MakePrivateFolders(const std::filesystem::path& path);
