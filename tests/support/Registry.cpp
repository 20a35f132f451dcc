#include "Registry.h"

#include <QByteArray>
#include <QMap>

#include <cstring>
#include <iostream>
#include <windows.h>

namespace
{

constexpr const char* MACHINE = "HKEY_LOCAL_MACHINE\\";

/// @return the key below HKEY_LOCAL_MACHINE, in the form of the system
QString BelowMachine(QString strKey)
{
    strKey.replace('/', '\\');
    return strKey.startsWith(MACHINE) ? strKey.mid(static_cast<int>(std::strlen(MACHINE))) : QString();
}

const wchar_t* Wide(const QString& strText)
{
    return reinterpret_cast<const wchar_t*>(strText.utf16());
}

/// @return a value's bytes: UTF-16 with its final zero, for a list of texts with a second one; or a number
QByteArray BytesOf(const QString& strData, DWORD nType)
{
    if (nType == REG_DWORD) {
        const DWORD nValue = strData.toUInt();
        return QByteArray(reinterpret_cast<const char*>(&nValue), sizeof nValue);
    }
    QString strText = strData;
    if (nType == REG_MULTI_SZ) {
        strText.replace("\\0", QString(QChar(0))).append(QChar(0));
    }
    return QByteArray(reinterpret_cast<const char*>(strText.utf16()), (strText.size() + 1) * 2);
}

bool Succeeded(LSTATUS nStatus, const char* szWhat, const QString& strKey)
{
    if (nStatus != ERROR_SUCCESS) {
        std::cerr << szWhat << ' ' << strKey.toStdString() << ": error " << nStatus << " of the system\n";
    }
    return nStatus == ERROR_SUCCESS;
}

} // namespace

bool WriteRegistry(const QString& strKey, const QString& strName, const QString& strData,
                   const QString& strType)
{
    static const QMap<QString, DWORD> TYPES = {{"REG_SZ", REG_SZ},
                                               {"REG_EXPAND_SZ", REG_EXPAND_SZ},
                                               {"REG_MULTI_SZ", REG_MULTI_SZ},
                                               {"REG_DWORD", REG_DWORD}};
    const QString strBelow = BelowMachine(strKey);
    if (strBelow.isEmpty() || !TYPES.contains(strType)) {
        std::cerr << "no such key or type: " << strKey.toStdString() << ", " << strType.toStdString() << '\n';
        return false;
    }
    const DWORD nType = TYPES[strType];
    const QByteArray bytes = BytesOf(strData, nType);
    return Succeeded(RegSetKeyValueW(HKEY_LOCAL_MACHINE, Wide(strBelow), Wide(strName), nType,
                                     bytes.constData(), static_cast<DWORD>(bytes.size())),
                     "writing", strKey);
}

bool DeleteRegistry(const QString& strKey)
{
    const QString strBelow = BelowMachine(strKey);
    if (strBelow.isEmpty()) { // never all of the machine's keys
        std::cerr << "no such key: " << strKey.toStdString() << '\n';
        return false;
    }
    const LSTATUS nStatus = RegDeleteTreeW(HKEY_LOCAL_MACHINE, Wide(strBelow));
    return nStatus == ERROR_FILE_NOT_FOUND || Succeeded(nStatus, "deleting", strKey);
}
