#pragma once

#include "TransportPost.h"

#include <string>

namespace outbox
{

/// Sets the receiver that is registered with the transport, for a transport that can't call it for a stored
/// report. To be called before the outbox is opened, and again when it changes.
void SetReceiver(TransportPost::Receiver fnReceiver);

/// Opens the outbox of this process in a folder, with the other settings of the environment. Does nothing if
/// it is open.
/// @return whether it is open
bool OpenIn(const std::string& strFolder) noexcept;

/// Sets where `OpenConfigured` opens the outbox if the environment has no word on it; empty for nowhere, as
/// at the beginning.
void SetDefaultFolder(const std::string& strFolder);

/// The same in the folder that the environment names, or else in the default one. An empty variable means: in
/// none.
/// @return false also if there is no such folder
bool OpenConfigured() noexcept;

} // namespace outbox
