#include "LoadedFile.h"

#include <QString>

#include <windows.h>

#include <array>

std::string LoadedFile(const std::string& strName)
{
    const HMODULE module =
        ::GetModuleHandleW(QString::fromStdString(strName + ".dll").toStdWString().c_str());
    std::array<wchar_t, 32768> arrPath{};
    const DWORD nLength =
        module == nullptr ? 0
                          : ::GetModuleFileNameW(module, arrPath.data(), static_cast<DWORD>(arrPath.size()));
    return QString::fromWCharArray(arrPath.data(), static_cast<int>(nLength)).toStdString();
}
