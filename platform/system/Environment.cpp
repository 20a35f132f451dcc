#include "Environment.h"

#if defined(_WIN32)

#include "WideText.h"

#include <windows.h>

// Read from the system itself: a C runtime's copy is in the machine's code page, and is out of date once the
// host, which may use another C runtime, changes a variable.
std::optional<std::string> EnvironmentVariable(const char* szName)
{
    const std::wstring strName = WideText(szName);
    std::wstring strValue;
    DWORD nSize = 1;
    do {
        strValue.resize(nSize);
        ::SetLastError(ERROR_SUCCESS);
        nSize = ::GetEnvironmentVariableW(strName.c_str(), strValue.data(), nSize);
        if (nSize == 0 && ::GetLastError() == ERROR_ENVVAR_NOT_FOUND) {
            return std::nullopt;
        }
    } while (nSize > strValue.size()); // it did not fit, with its terminator
    strValue.resize(nSize);
    return Utf8Text(strValue);
}

bool RightsAreRaised()
{
    return false;
}

void RemoveVariableIfRightsAreRaised(const char* /*szName*/) {}

#else

#include <cstdlib>

#include <sys/auxv.h>

std::optional<std::string> EnvironmentVariable(const char* szName)
{
    const char* const szValue = ::secure_getenv(szName);
    return szValue == nullptr ? std::nullopt : std::optional<std::string>(szValue);
}

bool RightsAreRaised()
{
    return ::getauxval(AT_SECURE) != 0;
}

void RemoveVariableIfRightsAreRaised(const char* szName)
{
    if (RightsAreRaised()) {
        ::unsetenv(szName);
    }
}

#endif

std::string NumberComplaint(const ComplaintWords& words, const char* szName, const std::string& strValue,
                            NumberRange range, const std::string& strDefault)
{
    return szName + (words.szBeforeValue + strValue) + words.szAfterValue + std::to_string(range.nMin) +
           " to " + std::to_string(range.nMax) + "; " + strDefault + words.szEnd;
}
