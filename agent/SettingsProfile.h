#pragma once

#include <QSettings>
#include <QString>

#include <memory>

/// The profile with the settings of most requests: a registry key on Windows, elsewhere the path of a file
/// below the settings root.
inline constexpr const char* PLUGIN_PROFILE = "HKEY_LOCAL_MACHINE\\SOFTWARE\\ZORVAL\\BRELK\\KTSStartPlugin";

/// Where a profile is stored: its registry key on Windows, elsewhere its INI file.
QString ProfileLocation(const char* szProfile);

/// Opens a profile. Qt reports a broken file only to its first reader; later readers get the values that Qt
/// could parse.
std::unique_ptr<QSettings> OpenProfile(const char* szProfile);
