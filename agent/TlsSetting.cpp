#include "TlsSetting.h"

#include "ServerUrl.h"
#include "SettingsProfile.h"

#include <ktshttpagent/clog.h>

#include <QFile>
#include <QRegularExpression>

namespace
{

constexpr const char* ODD_LINE =
    " holds a line that begins with UseTls, but not as \"UseTls=VALUE\" before any section; TLS is on";

/// Whether a profile in which Qt finds no such value has a line that seems to be meant as one.
bool HoldsOddLine(const QSettings& settings)
{
#if defined(Q_OS_WIN)
    Q_UNUSED(settings); // the registry has values, not lines
    return false;
#else
    QFile file(settings.fileName());
    if (!file.open(QIODevice::ReadOnly)) { // then nobody is known to have asked for TLS
        return false;
    }
    const QRegularExpression line("(^|[\\r\\n])[^\\w;#\\r\\n]*UseTls\\b", // after ; or # it is a comment
                                  QRegularExpression::CaseInsensitiveOption);
    const QByteArray text = file.readAll().replace('\0', ""); // readable even if it is UTF-16
    return line.match(QString::fromLatin1(text)).hasMatch();
#endif
}

} // namespace

bool ReadTlsSetting()
{
    const std::unique_ptr<QSettings> pSettings = OpenProfile(PLUGIN_PROFILE);
    const std::string strLocation = ProfileLocation(PLUGIN_PROFILE).toStdString();
    if (pSettings->contains(TLS_VALUE)) {
        return VelCSDK::ReadTlsSwitch(strLocation + ' ' + TLS_VALUE, ProfileText(*pSettings, TLS_VALUE));
    }
    if (!HoldsOddLine(*pSettings)) {
        return false;
    }
    Log_Write(1, "ReadTlsSetting", 1, "%s%s", strLocation.c_str(), ODD_LINE);
    return true;
}

std::string TlsSettingComplaint()
{
    const std::unique_ptr<QSettings> pSettings = OpenProfile(PLUGIN_PROFILE);
    const std::string strLocation = ProfileLocation(PLUGIN_PROFILE).toStdString();
    if (!pSettings->contains(TLS_VALUE)) {
        return HoldsOddLine(*pSettings) ? strLocation + ODD_LINE : "";
    }
    const std::string strValue = ProfileText(*pSettings, TLS_VALUE);
    return VelCSDK::ReadSwitchWord(strValue) ? ""
                                             : VelCSDK::TlsComplaint(strLocation + ' ' + TLS_VALUE, strValue);
}
