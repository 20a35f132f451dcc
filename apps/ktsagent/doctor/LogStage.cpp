#include "LogFolder.h"
#include "Stages.h"
#include "WritableFolder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStorageInfo>

#include <cstdint>

namespace
{

constexpr const char* LOG_NAME = "ktshttpagent";

std::string MiB(std::int64_t nBytes)
{
    constexpr std::int64_t MIB = std::int64_t{1024} * 1024;
    return nBytes < MIB ? std::to_string(nBytes / 1024) + " KiB" : std::to_string(nBytes / MIB) + " MiB";
}

Finding CannotWrite(const QString& strFolder, const std::string& strWhy)
{
    return {Mark::Failed, "The log in " + strFolder.toStdString() + " can't be written: " + strWhy + ".",
            "Set CLOG_DIR to a folder that this user may write, or correct HOME."};
}

/// Why the log can't be written, as far as that can be found out without writing to it; empty if it can.
std::string Hindrance(const QString& strFolder)
{
    if (std::string strWhy = WhyNothingCanBeMade(strFolder); !strWhy.empty()) {
        return strWhy;
    }
    const QFileInfo log(QDir(strFolder).filePath(QString(LOG_NAME) + ".log"));
    if (log.isSymLink() || (log.exists() && !log.isFile())) {
        return log.filePath().toStdString() + " is not a regular file";
    }
    QFile file(log.filePath());
    if (log.exists() && !file.open(QIODevice::Append)) {
        return log.filePath().toStdString() + ": " + file.errorString().toStdString();
    }
    return "";
}

std::int64_t BytesOfTheLog(const QString& strFolder)
{
    std::int64_t nBytes = 0;
    for (const QFileInfo& file : QDir(strFolder).entryInfoList({QString(LOG_NAME) + "*.log"}, QDir::Files)) {
        nBytes += file.size();
    }
    return nBytes;
}

/// What the log may take: the file that is written, and those that were renamed.
std::int64_t MostBytes(const Context& context)
{
    const auto fnNumber = [&context](const char* szName) {
        const SKtsSetting* const pSetting = context.FindSetting(szName);
        return pSetting == nullptr ? 0 : QString::fromStdString(pSetting->strValue).toLongLong();
    };
    return fnNumber("CLOG_FILE_BYTES") * (fnNumber("CLOG_FILES") + 1);
}

} // namespace

Findings CheckLog(Context& context)
{
    const std::optional<QString> optFolder = LogFolderIfKnown();
    if (!optFolder) {
        return {{Mark::Ok, "The log is a site's own and does not tell its folder."}};
    }
    if (optFolder->isEmpty()) {
        return {{Mark::Failed, "There is no log: the environment names no folder for it (HOME is not set).",
                 "Set CLOG_DIR to a folder that this user may write, or set HOME."}};
    }
    if (const std::string strWhy = Hindrance(*optFolder); !strWhy.empty()) {
        return {CannotWrite(*optFolder, strWhy)};
    }
    const std::int64_t nTaken = BytesOfTheLog(*optFolder);
    const std::int64_t nFree = QStorageInfo(ExistingAbove(*optFolder)).bytesAvailable();
    const std::string strState = "The log in " + optFolder->toStdString() +
                                 " can be written; its files take " + MiB(nTaken) + ", and " + MiB(nFree) +
                                 " are free.";
    if (nTaken + nFree < MostBytes(context)) {
        return {{Mark::Warning, strState, "Make room: the log may take " + MiB(MostBytes(context)) + "."}};
    }
    return {{Mark::Ok, strState}};
}
