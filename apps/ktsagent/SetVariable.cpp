#include "SetVariable.h"

#if defined(_WIN32)

#include "platform/system/WideText.h"

#include <windows.h>

// The library reads the system's variables. A C runtime's functions would change the text to the machine's
// code page, and remove a variable instead of making it empty.
void SetVariable(const char* szName, const std::string& strValue)
{
    ::SetEnvironmentVariableW(WideText(szName).c_str(), WideText(strValue).c_str());
}

void RemoveVariable(const char* szName)
{
    ::SetEnvironmentVariableW(WideText(szName).c_str(), nullptr);
}

#else

#include <cstdlib>

void SetVariable(const char* szName, const std::string& strValue)
{
    ::setenv(szName, strValue.c_str(), 1);
}

void RemoveVariable(const char* szName)
{
    ::unsetenv(szName);
}

#endif
