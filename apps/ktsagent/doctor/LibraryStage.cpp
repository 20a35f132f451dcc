#include "LoadedFile.h"
#include "Stages.h"
#include "Versions.h"

#include <QDir>
#include <QFile>

namespace
{

/// A library that a site may replace by its own, and a text that only ours holds.
struct Replaceable {
    const char* szName;
    const char* szRole;
    const char* szOwnText;
};

constexpr Replaceable REPLACEABLE[] = {
    {"chttpclient", "transport", "chttpclient::ReadTransportSettings"},
    {"libclog", "log", "libclog: %s can't be written"},
};

Finding CheckFile(const Replaceable& library)
{
    const std::string strName = std::string(library.szName) + ", the " + library.szRole + ",";
    const std::string strFile =
        QDir::cleanPath(QString::fromStdString(LoadedFile(library.szName))).toStdString();
    QFile file(QString::fromStdString(strFile));
    if (strFile.empty() || !file.open(QIODevice::ReadOnly)) {
        return {Mark::Warning, "It can't be told where " + strName + " was loaded from.",
                "If a site's own library is in its place, look there first."};
    }
    if (file.readAll().contains(library.szOwnText)) {
        return {Mark::Ok, strName + " is the one that belongs to this library: " + strFile + "."};
    }
    return {Mark::Ok, strName + " is a site's own: " + strFile +
                          "; its settings may differ from those that are named here."};
}

} // namespace

Findings CheckLibrary(Context& /*context*/)
{
    Findings vecFindings{{Mark::Ok, VersionLine() + "."}};
    for (const Replaceable& library : REPLACEABLE) {
        vecFindings.push_back(CheckFile(library));
    }
    return vecFindings;
}
