#pragma once

#include <QSettings>
#include <QString>

#include <memory>

/// The profile of most requests: a registry key, elsewhere the path of a file below the settings root.
inline constexpr const char* PLUGIN_PROFILE = "HKEY_LOCAL_MACHINE\\SOFTWARE\\ZORVAL\\BRELK\\KTSStartPlugin";

/// Where a profile stands: its registry key, elsewhere its INI file.
QString ProfileLocation(const char* szProfile);

/// A profile, opened anew. Qt tells of a broken file to its first reader only, and hands the others what it
/// understood of it.
std::unique_ptr<QSettings> OpenProfile(const char* szProfile);
