#pragma once

#include <filesystem>

/// Renames a file within its file system in one step: nothing is copied, and an existing file is never
/// replaced, even if it appears at the last moment. On Linux, if the file system supports neither such a
/// renaming nor hard links, this takes two steps: an empty file claims the name first, and only that file is
/// replaced.
/// @return false when something has that name already, or when the file can't be renamed; then nothing
/// changes
bool RenameWithoutReplacing(const std::filesystem::path& from, const std::filesystem::path& to);
