#include "WritableFolder.h"

#include <QFileInfo>
#include <QTemporaryFile>

QString ExistingAbove(const QString& strFolder)
{
    QString strPath = strFolder;
    while (!QFileInfo::exists(strPath) && strPath != QFileInfo(strPath).path()) {
        strPath = QFileInfo(strPath).path();
    }
    return strPath;
}

std::string WhyNothingCanBeMade(const QString& strFolder)
{
    const QString strAbove = ExistingAbove(strFolder);
    if (!QFileInfo(strAbove).isDir()) {
        return strAbove.toStdString() + " is not a folder";
    }
    QTemporaryFile probe(strAbove + "/.ktsagent-doctor-XXXXXX");
    if (!probe.open()) {
        return "nothing can be made in " + strAbove.toStdString() + " (" + probe.errorString().toStdString() +
               ")";
    }
    return "";
}
