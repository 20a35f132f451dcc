#pragma once

#include <QString>

/// The folder of the library's log. Empty when there is none, and when the log is a site's own that does not
/// say.
QString LogFolder();
