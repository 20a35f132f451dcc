#include "LabProgram.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>
#include <QStringList>

namespace
{

constexpr const char* VARIABLE = "KTSLABSERVER";
constexpr const char* NAME = "ktslabserver";

} // namespace

QString FindLabProgram(const QString& strGiven, QString& strError)
{
    for (const QString& strNamed : {qEnvironmentVariable(VARIABLE), strGiven}) {
        if (!strNamed.isEmpty()) { // a name that is wrong must not lead to another program
            QString strFound = QStandardPaths::findExecutable(strNamed);
            strError =
                strFound.isEmpty() ? "there is no program " + QDir::toNativeSeparators(strNamed) : QString();
            return strFound;
        }
    }
    QStringList lstFolders;
    if (QCoreApplication::instance() != nullptr) {
        lstFolders += QCoreApplication::applicationDirPath();
    }
    QString strFound = lstFolders.isEmpty() ? QString() : QStandardPaths::findExecutable(NAME, lstFolders);
    if (strFound.isEmpty()) {
        strFound = QStandardPaths::findExecutable(NAME);
    }
    strError = strFound.isEmpty()
                   ? QStringLiteral("the program %1 is not found: it is neither beside the test "
                                    "nor in the search path. Install ktshttpagent's tools, or "
                                    "set the environment variable %2 to its path")
                         .arg(NAME, VARIABLE)
                   : QString();
    return strFound;
}
