#include "PosixNames.h"

#include "platform/system/WideText.h"

#include <atomic>
#include <cerrno>
#include <cstring>

#include <windows.h>

int setenv(const char* szName, const wchar_t* szValue, int /*nOverwrite*/)
{
    const std::wstring strName = WideText(szName);
    // Sets the C library's copy too, in which an empty value removes the variable. So the system's variable,
    // which the library reads, is set last.
    return ::_wputenv_s(strName.c_str(), szValue) == 0 &&
                   ::SetEnvironmentVariableW(strName.c_str(), szValue) != 0
               ? 0
               : -1;
}

int setenv(const char* szName, const char* szValue, int nOverwrite)
{
    return setenv(szName, WideText(szValue).c_str(), nOverwrite);
}

int unsetenv(const char* szName)
{
    const std::wstring strName = WideText(szName);
    ::SetEnvironmentVariableW(strName.c_str(), nullptr);
    return ::_wputenv_s(strName.c_str(), L"");
}

char* mkdtemp(char* szTemplate)
{
    static std::atomic<unsigned> nMade{0};
    char* const pLetters = szTemplate + std::strlen(szTemplate) - 6;
    for (;;) {
        // No two processes that run at the same time have the same number.
        unsigned nName = (static_cast<unsigned>(::_getpid()) << 10U) + nMade++;
        for (int nLetter = 0; nLetter < 6; ++nLetter, nName /= 36) {
            pLetters[nLetter] = "abcdefghijklmnopqrstuvwxyz0123456789"[nName % 36];
        }
        if (::_mkdir(szTemplate) == 0) {
            return szTemplate;
        }
        if (errno != EEXIST) {
            return nullptr;
        }
    }
}
