#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

/// Gives this process, and those that it starts from now on, their own mount namespace: no other process sees
/// what it mounts, and the mounts end with these processes. Call it while the process has no other thread.
/// @return why that is not possible here; empty on success
std::string OwnMounts();

/// Mounts a folder over another one, which must exist, in the namespace of `OwnMounts`.
/// @return why that failed; empty when it did not
std::string PutInPlaceOf(const std::filesystem::path& place, const std::filesystem::path& folder);

/// Mounts an empty disk of that many bytes over a folder, in the namespace of `OwnMounts`.
/// @return why that failed; empty when it did not
std::string PutDiskInPlaceOf(const std::filesystem::path& place, std::size_t nBytes);
/// Unmounts what was last mounted over a folder, so that the folder can be removed.
/// @return why that failed; empty when it did not
std::string TakeFromPlaceOf(const std::filesystem::path& place);
