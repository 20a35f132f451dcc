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

/// The same in the folder that the environment names.
/// @return false also if it names none
bool OpenByEnvironment() noexcept;

} // namespace outbox
