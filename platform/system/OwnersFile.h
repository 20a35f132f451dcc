#pragma once

#include <string>

// For files that other users of the machine must not read. On Windows both functions do nothing: a file there
// has the access rights of its folder.

/// Creates an empty file that only its owner may read and write, whatever the umask is. An existing file is
/// left unchanged.
/// @param strFile in UTF-8
/// @throws std::runtime_error when it can't be created, or the name is that of a symbolic link
void MakeOwnersFile(const std::string& strFile);

/// Removes the access rights of everybody but the file's owner. Does nothing when there is no such file, or
/// when it is this user's own and its file system has no modes.
/// @param strFile in UTF-8
/// @throws std::runtime_error when it is another user's, is open to others, and their rights can't be removed
void KeepToOwner(const std::string& strFile);
