#pragma once

#include <string>

/// The name of the value, in the plug-in profile.
inline constexpr const char* TLS_VALUE = "UseTls";

/// Whether the site's settings ask for TLS: the value UseTls of the plug-in profile, as
/// `VelCSDK::ReadTlsSwitch` reads it; false if there is none, or if the profile can't be opened. A value that
/// can't be understood, or a line that seems to be meant as one, counts as true, and the log says why.
///
/// Call it after the endpoint paths were read: Qt reports a broken profile only to its first reader, and
/// reading the paths logs that.
bool ReadTlsSetting();

/// What is wrong with the value UseTls, so that it counts as true; empty if nothing is, or if there is none.
std::string TlsSettingComplaint();
