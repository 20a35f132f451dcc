#pragma once

#include <string>

/// The file of a shared library that this process has loaded; empty if it has none of this name.
/// @param strName  without folder, "lib" and ending: "chttpclient"
std::string LoadedFile(const std::string& strName);
