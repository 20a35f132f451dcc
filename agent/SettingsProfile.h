#pragma once

#include <QSettings>
#include <QString>

#include <memory>
#include <string>

/// The profile with the settings of most requests: a registry key on Windows, elsewhere the path of a file
/// below the settings root.
inline constexpr const char* PLUGIN_PROFILE = "HKEY_LOCAL_MACHINE\\SOFTWARE\\ZORVAL\\BRELK\\KTSStartPlugin";

/// The environment variable with the folder of the profiles, and its default. Not used on Windows.
inline constexpr const char* SETTINGS_ROOT_VARIABLE = "KTSHTTPAGENT_SETTINGS_ROOT";
inline constexpr const char* DEFAULT_SETTINGS_ROOT = "/etc/xdg/ktshttpagent";

/// Where a profile is stored: its registry key on Windows, elsewhere its INI file.
QString ProfileLocation(const char* szProfile);

/// Opens a profile. Qt reports a broken file only to its first reader; later readers get the values that Qt
/// could parse.
std::unique_ptr<QSettings> OpenProfile(const char* szProfile);

/// A value as it is written in a profile, in UTF-8, although Qt reads a value with commas as a list; empty if
/// there is none.
std::string ProfileText(const QSettings& settings, const char* szName);
