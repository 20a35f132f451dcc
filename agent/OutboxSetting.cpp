#include "OutboxSetting.h"

#include "SettingsProfile.h"

#include "outbox/OpenOutbox.h"

std::string ReadOutboxSetting()
{
    return ProfileText(*OpenProfile(PLUGIN_PROFILE), OUTBOX_VALUE);
}

void OpenOutboxOfProfile()
{
    outbox::SetDefaultFolder(ReadOutboxSetting());
    outbox::OpenConfigured();
}
