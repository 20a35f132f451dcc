#pragma once

#include <QString>

#include <optional>

/// The folder of the library's log; empty if the environment names none. Nothing if a site's own log does not
/// tell its folder.
std::optional<QString> LogFolderIfKnown();

/// Says where the log is, or that it can't be written: " (log: FOLDER)". Empty if the folder is not known.
QString WhereTheLogIs();
