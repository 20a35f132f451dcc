#pragma once

#include <string>

// Files that hold what other users of the machine have no business to read. On Windows both functions do
// nothing: there a file is open to those to whom its folder is.

/// Makes an empty file that its owner alone may read and write, whatever the umask is. A file that is there
/// already stays as it is.
/// @param strFile in UTF-8
/// @throws std::runtime_error when it can't be made, or the name is that of a symbolic link
void MakeOwnersFile(const std::string& strFile);

/// Takes a file away from everybody but its owner, unless it is this user's own and its file system keeps no
/// modes. Nothing to do when there is no such file.
/// @param strFile in UTF-8
/// @throws std::runtime_error when it is another user's, is open to others and can't be taken from them
void KeepToOwner(const std::string& strFile);
