#pragma once

#include <QString>

/// Writes a value of the registry, and creates its key if there is none. Calls the system itself: a test that
/// ran the system's own tool for each value would depend on Wine starting dozens of programs without fail.
/// @param strKey   begins with HKEY_LOCAL_MACHINE; its parts are parted by "/" or "\"
/// @param strType  REG_SZ, REG_EXPAND_SZ, REG_MULTI_SZ (its texts parted by "\0", as the tool has it) or
/// REG_DWORD
/// @return whether it succeeded; the reason why not is printed
bool WriteRegistry(const QString& strKey, const QString& strName, const QString& strData,
                   const QString& strType = "REG_SZ");

/// Deletes a key of the registry with all that is below it.
/// @return whether it is gone, also if there was none; the reason why not is printed
bool DeleteRegistry(const QString& strKey);
