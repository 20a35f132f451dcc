#pragma once

/// Whether the site's settings ask for TLS: the value UseTls of the plug-in profile, as
/// `VelCSDK::ReadTlsSwitch` reads it; false where there is none, or where the profile can't be opened. A
/// value that can't be understood, or a line that is meant to be one, counts as true, and the log says why.
///
/// To be called after the endpoint paths were read, which is the one reading that Qt tells of a broken
/// profile.
bool ReadTlsSetting();
