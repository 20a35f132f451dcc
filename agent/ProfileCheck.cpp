#include "ProfileCheck.h"

#include "EndpointSettings.h"
#include "IniLines.h"
#include "NearestName.h"
#include "OutboxSetting.h"
#include "SettingsProfile.h"
#include "TlsSetting.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <string_view>

namespace
{

/// How many letters a name may differ from the one that was meant.
constexpr std::size_t NEAR = 4;

/// The names that are read from a profile.
std::vector<std::string> NamesIn(const char* szProfile)
{
    std::vector<std::string> vecNames;
    for (const EndpointSetting& setting : ENDPOINT_SETTINGS) {
        if (std::string_view(setting.szProfile) == szProfile) {
            vecNames.emplace_back(setting.szName);
        }
    }
    if (std::string_view(szProfile) == PLUGIN_PROFILE) {
        vecNames.emplace_back(TLS_VALUE);
        vecNames.emplace_back(OUTBOX_VALUE);
    }
    return vecNames;
}

/// A value in a section is not read, even if its name is right.
std::string WithoutSection(const std::string& strName)
{
    return strName.substr(strName.rfind('/') + 1);
}

bool IsOneOf(const std::vector<std::string>& vecNames, const QString& strName)
{
#if defined(Q_OS_WIN)
    constexpr Qt::CaseSensitivity CASE = Qt::CaseInsensitive; // like the registry
#else
    constexpr Qt::CaseSensitivity CASE = Qt::CaseSensitive;
#endif
    return std::any_of(vecNames.begin(), vecNames.end(), [&strName](const std::string& strKnown) {
        return strName.compare(QString::fromStdString(strKnown), CASE) == 0;
    });
}

#if !defined(Q_OS_WIN)
void CheckFile(SKtsProfile& profile)
{
    QFile file(QString::fromStdString(profile.strLocation));
    profile.bExists = file.exists();
    if (!profile.bExists) {
        return;
    }
    if (!QFileInfo(file).isFile() || !file.open(QIODevice::ReadOnly)) {
        profile.strProblem = "can't be read";
        return;
    }
    profile.nLine = FirstBrokenLine(file.readAll());
    if (profile.nLine > 0) {
        profile.strProblem = "can't be parsed";
    }
}
#endif

} // namespace

int FirstBrokenLine(const QByteArray& baText)
{
    IniLines lines(baText);
    while (lines.Next()) {
        const QByteArray baLine = lines.Text();
        const bool bBroken = baLine.startsWith('[') ? !baLine.contains(']') : !baLine.contains('=');
        if (bBroken && !baLine.startsWith(';')) {
            return lines.Number();
        }
    }
    return 0;
}

SKtsProfile CheckProfile(const char* szProfile)
{
    SKtsProfile profile;
    profile.strLocation = ProfileLocation(szProfile).toStdString();
    const std::unique_ptr<QSettings> pSettings = OpenProfile(szProfile);
    const QStringList lstKeys = pSettings->allKeys();
#if defined(Q_OS_WIN)
    profile.bExists = !lstKeys.isEmpty();
#else
    CheckFile(profile);
#endif
    const std::vector<std::string> vecKnown = NamesIn(szProfile);
    for (const QString& strKey : lstKeys) {
        if (!IsOneOf(vecKnown, strKey)) {
            const std::string strName = strKey.toStdString();
            profile.vecUnknown.push_back({strName, NearestName(WithoutSection(strName), vecKnown, NEAR)});
        }
    }
    return profile;
}
