#pragma once

#include <filesystem>

/// Gives a file another name within its file system, in one step: nothing is ever replaced, though it appears
/// at the last moment, and nothing is copied.
/// @return false when something has that name already, or when the file can't be renamed; then nothing
/// changes
bool RenameWithoutReplacing(const std::filesystem::path& from, const std::filesystem::path& to);
