#include "LogFolder.h"

#include "platform/system/OptionalFunction.h"

#include <ktshttpagent/clog.h>

#include <QDir>
#include <QFileInfo>

std::optional<QString> LogFolderIfKnown()
{
    // Looked up at run time, because a site's own log may lack this function.
    const auto fnFolder =
        reinterpret_cast<decltype(&Log_Folder)>(FindOptionalFunction("libclog", "Log_Folder"));
    return fnFolder == nullptr ? std::nullopt : std::make_optional(QString::fromUtf8(fnFolder()));
}

QString WhereTheLogIs()
{
    const QString strFolder = LogFolderIfKnown().value_or(QString());
    if (strFolder.isEmpty()) {
        return {};
    }
    return QFileInfo(QDir(strFolder).filePath("ktshttpagent.log")).isFile()
               ? " (log: " + strFolder + ")"
               : " (there is no log: " + strFolder + " can't be written; set CLOG_DIR)";
}
