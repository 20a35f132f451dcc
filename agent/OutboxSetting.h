#pragma once

#include <string>

/// The name of the value, in the plug-in profile.
inline constexpr const char* OUTBOX_VALUE = "OutboxFolder";

/// The folder that the value OutboxFolder of the plug-in profile names for the outbox, in UTF-8; empty for
/// none.
std::string ReadOutboxSetting();

/// Makes that folder the default one of the outbox, now and whenever the SDK is started again, and opens the
/// outbox. Call it after the endpoint paths were read: Qt reports a broken profile only to its first reader.
void OpenOutboxOfProfile();
