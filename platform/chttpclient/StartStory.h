#pragma once

#include "TransportSettings.h"

#include <string>

namespace chttpclient
{

/// The versions of the libraries that the transport uses, and all its settings, as one line for people. It
/// holds no password.
std::string StoryOfStart(const TransportSettings& settings);

} // namespace chttpclient
