#pragma once

#include <ktshttpagent/KtsSettings.h>

#include <string>
#include <vector>

/// The versions of the library and of all libraries under it that can be told at run time.
std::vector<SKtsVersion> AllVersions();

/// The same in one line: "ktshttpagent 0.2.0, Qt 5.15.8".
std::string VersionLine();
