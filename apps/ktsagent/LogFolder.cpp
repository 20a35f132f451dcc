#include "LogFolder.h"

#include <ktshttpagent/clog.h>

#include <QLibrary>

QString LogFolder()
{
    // Looked up at run time, because a site's own log may lack this function.
    const auto fnFolder = reinterpret_cast<decltype(&Log_Folder)>(QLibrary::resolve("libclog", "Log_Folder"));
    return fnFolder == nullptr ? QString() : QString::fromUtf8(fnFolder());
}
