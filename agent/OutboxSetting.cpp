#include "OutboxSetting.h"

#include "SettingsProfile.h"

#include "outbox/OpenOutbox.h"
#include "outbox/OutboxSettings.h"
#include "platform/system/Environment.h"

std::string ReadOutboxSetting()
{
    return ProfileText(*OpenProfile(PLUGIN_PROFILE), OUTBOX_VALUE);
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
