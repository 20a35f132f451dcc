#pragma once

#include <QString>

/// The folder in which the library's log stands: what CLOG_DIR names, or else the user's state folder.
QString LogFolder();
