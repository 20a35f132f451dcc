#include "OutboxSetting.h"

#include "SettingsProfile.h"

#include "outbox/OpenOutbox.h"
#include "outbox/OutboxSettings.h"
#include "platform/system/Environment.h"

#include <QStringList>
#include <QVariant>

std::string ReadOutboxSetting()
{
    const QVariant value = OpenProfile(PLUGIN_PROFILE)->value(OUTBOX_VALUE);
    // Qt reads a value with commas as a list.
    return (value.type() == QVariant::StringList ? value.toStringList().join(',') : value.toString())
        .toStdString();
}

void OpenOutboxOfProfile()
{
    if (EnvironmentVariable(outbox::FOLDER_VARIABLE)) {
        return; // also an empty value: it switches the outbox off for one host
    }
    const std::string strFolder = ReadOutboxSetting();
    if (!strFolder.empty()) {
        outbox::OpenIn(strFolder);
    }
}
