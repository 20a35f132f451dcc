#pragma once

#include <filesystem>

/// Gives a file another name within its file system, in one step: nothing is ever replaced, though it appears
/// at the last moment, and nothing is copied. On Linux, where the file system neither knows such a renaming
/// nor second names for a file, it takes two steps: an empty file takes the name first, and only that is
/// replaced.
/// @return false when something has that name already, or when the file can't be renamed; then nothing
/// changes
bool RenameWithoutReplacing(const std::filesystem::path& from, const std::filesystem::path& to);
