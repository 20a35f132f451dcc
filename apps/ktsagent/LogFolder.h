#pragma once

#include <QString>

/// The folder of the library's log. Empty if there is none, or if a site's own log does not tell its folder.
QString LogFolder();
