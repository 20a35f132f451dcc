#include "SettingsProfile.h"

#include "platform/system/Environment.h"

#include <QStringList>
#include <QVariant>

#if defined(Q_OS_WIN)

QString ProfileLocation(const char* szProfile)
{
    return QString::fromLatin1(szProfile);
}

std::unique_ptr<QSettings> OpenProfile(const char* szProfile)
{
    return std::make_unique<QSettings>(ProfileLocation(szProfile), QSettings::NativeFormat);
}

#else

// Without a registry: one file for each registry key, below a root folder for the whole machine.
QString ProfileLocation(const char* szProfile)
{
    const std::string strRoot = EnvironmentVariable(SETTINGS_ROOT_VARIABLE).value_or(DEFAULT_SETTINGS_ROOT);
    return QString::fromLocal8Bit(strRoot.c_str()) + '/' + QString::fromLatin1(szProfile).replace('\\', '/') +
           ".ini";
}

std::unique_ptr<QSettings> OpenProfile(const char* szProfile)
{
    auto pSettings = std::make_unique<QSettings>(ProfileLocation(szProfile), QSettings::IniFormat);
    pSettings->setIniCodec("UTF-8");
    return pSettings;
}

#endif

std::string ProfileText(const QSettings& settings, const char* szName)
{
    const QVariant value = settings.value(szName);
    return (value.type() == QVariant::StringList ? value.toStringList().join(',') : value.toString())
        .toStdString();
}
