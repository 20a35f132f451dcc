#include "PosixNames.h"

#include "platform/system/WideText.h"

#include <atomic>
#include <cerrno>
#include <cstring>

#include <windows.h>

int setenv(const char* szName, const wchar_t* szValue, int /*nOverwrite*/)
{
    const std::wstring strName = WideText(szName);
    // The C library's copy too, where an empty value is none; so the system's, which the library reads, comes
    // last.
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
        // Of the processes that live at a time no two have the same number.
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
