#pragma once

#include <optional>
#include <string>

namespace VelCSDK
{

/// The environment variable that turns TLS on or off for servers that are named by host and port.
inline constexpr const char* TLS_VARIABLE = "KTSHTTPAGENT_TLS";

/// Reads a word: 1, true, on and yes, or 0, false, off and no, in upper or lower case; nothing for any other.
std::optional<bool> ReadSwitchWord(const std::string& strText);

/// What is wrong with a value that `ReadSwitchWord` can't read.
/// @param strName  where the value is from
std::string TlsComplaint(const std::string& strName, const std::string& strValue);

/// Reads a value that turns TLS on or off, as `ReadSwitchWord` reads it. Any other text is logged and counts
/// as on, so that a typing mistake does not cause unencrypted requests.
/// @param strName  where the value is from, for the log
bool ReadTlsSwitch(const std::string& strName, const std::string& strValue);

/// Whether the environment turns TLS on or off; nothing if it does neither. The first call reads the
/// environment. May be called from any thread.
std::optional<bool> TlsOfEnvironment();

/// Turns TLS on or off in the whole process, for URLs that are made from now on. The default is what the
/// environment says, otherwise off. May be called from any thread.
void SetTls(bool bTls);

/// The base URL of a server that is named by host and port: "http://HOST:PORT/", with TLS
/// "https://HOST:PORT/". Neither argument is checked. May be called from any thread.
std::string ServerUrl(const std::string& strHost, int nPort);

} // namespace VelCSDK
