#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

/// Gives this process, and those that it starts from now on, a tree of files of their own: what it mounts
/// nobody else sees, and it is gone when they are. Call it while the process has no other thread.
/// @return why that can't be had here; empty when it can
std::string OwnMounts();

/// Puts a folder in the place of another one, which must exist, in the tree of `OwnMounts`.
/// @return why that failed; empty when it did not
std::string PutInPlaceOf(const std::filesystem::path& place, const std::filesystem::path& folder);

/// Puts an empty disk of that many bytes in the place of a folder, in the tree of `OwnMounts`.
/// @return why that failed; empty when it did not
std::string PutDiskInPlaceOf(const std::filesystem::path& place, std::size_t nBytes);
/// Takes away what was put last in the place of a folder, so that the folder can be removed.
/// @return why that failed; empty when it did not
std::string TakeFromPlaceOf(const std::filesystem::path& place);
