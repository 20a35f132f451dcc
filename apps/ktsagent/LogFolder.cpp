#include "LogFolder.h"

#include <ktshttpagent/clog.h>

#include <QLibrary>

QString LogFolder()
{
    // Not linked: a log that a site put in the place of ours may lack it.
    const auto fnFolder = reinterpret_cast<decltype(&Log_Folder)>(QLibrary::resolve("libclog", "Log_Folder"));
    return fnFolder == nullptr ? QString() : QString::fromUtf8(fnFolder());
}
