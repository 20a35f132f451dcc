#include "TlsSetting.h"

#include "ServerUrl.h"
#include "SettingsProfile.h"

#include "platform/clog/clog.h"

#include <QFile>
#include <QRegularExpression>
#include <QStringList>
#include <QVariant>

#if !defined(Q_OS_WIN)
#include <filesystem>
#include <system_error>
#endif

namespace
{

constexpr const char* VALUE = "UseTls";

/// A value as it stands in the profile: Qt takes one with commas for a list.
std::string TextOf(const QVariant& value)
{
    return (value.type() == QVariant::StringList ? value.toStringList().join(',') : value.toString())
        .toStdString();
}

/// Why a profile without that value, as Qt understands it, may hold one all the same; null where it does not.
const char* WhyDoubtful(const QSettings& settings)
{
#if defined(Q_OS_WIN)
    return settings.status() == QSettings::NoError ? nullptr : "can't be read";
#else
    namespace fs = std::filesystem;
    QFile file(settings.fileName());
    std::error_code error;
    if (fs::status(QFile::encodeName(file.fileName()).toStdString(), error).type() ==
        fs::file_type::not_found) {
        return nullptr;
    }
    if (!file.open(QIODevice::ReadOnly)) {
        return "can't be read";
    }
    const QRegularExpression line("(^|[\\r\\n])[^\\w;#\\r\\n]*UseTls\\b", // behind ; and # it is a comment
                                  QRegularExpression::CaseInsensitiveOption);
    const QByteArray text = file.readAll().replace('\0', ""); // readable, should it be UTF-16
    return line.match(QString::fromLatin1(text)).hasMatch()
               ? "holds a line that begins with UseTls, but not as \"UseTls=VALUE\" before any section"
               : nullptr;
#endif
}

} // namespace

bool ReadTlsSetting()
{
    const std::unique_ptr<QSettings> pSettings = OpenProfile(PLUGIN_PROFILE);
    const QString strLocation = ProfileLocation(PLUGIN_PROFILE);
    if (pSettings->contains(VALUE)) {
        return VelCSDK::ReadTlsSwitch((strLocation + ' ' + VALUE).toStdString(),
                                      TextOf(pSettings->value(VALUE)));
    }
    const char* const szWhy = WhyDoubtful(*pSettings);
    if (szWhy != nullptr) {
        Log_Write(1, "ReadTlsSetting", 1, "%s %s; TLS is on", qUtf8Printable(strLocation), szWhy);
    }
    return szWhy != nullptr;
}
