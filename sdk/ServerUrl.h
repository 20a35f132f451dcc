#pragma once

#include <optional>
#include <string>

namespace VelCSDK
{

/// The environment variable that puts TLS on or off for servers that are named by host and port.
inline constexpr const char* TLS_VARIABLE = "KTSHTTPAGENT_TLS";

/// What a value that puts TLS on or off says: 1, true, on and yes, or 0, false, off and no, in any case. Any
/// other text counts as on, so that a slip of the pen sends nothing in clear, and is logged.
/// @param strName  where the value stands, for the log
bool ReadTlsSwitch(const std::string& strName, const std::string& strValue);

/// What the environment says; nothing where it does not. It is read by the first call, whose caller decides
/// when that is. From any thread.
std::optional<bool> TlsOfEnvironment();

/// Puts TLS on or off for the URLs that are made from now on, in the whole process. At first it is as the
/// environment says, or off. From any thread.
void SetTls(bool bTls);

/// The base URL of a server that is named by host and port: "http://HOST:PORT/", with TLS
/// "https://HOST:PORT/". Neither is checked. From any thread.
std::string ServerUrl(const std::string& strHost, int nPort);

} // namespace VelCSDK
