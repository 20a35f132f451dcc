#include "WideText.h"

#include <windows.h>

namespace
{

std::wstring Widen(UINT nCodePage, std::string_view strText)
{
    const int nLength = static_cast<int>(strText.size());
    std::wstring strWide(
        static_cast<std::size_t>(::MultiByteToWideChar(nCodePage, 0, strText.data(), nLength, nullptr, 0)),
        L'\0');
    ::MultiByteToWideChar(nCodePage, 0, strText.data(), nLength, strWide.data(),
                          static_cast<int>(strWide.size()));
    return strWide;
}

} // namespace

std::wstring WideText(std::string_view strUtf8)
{
    return Widen(CP_UTF8, strUtf8);
}

std::string Utf8Text(std::wstring_view strWide)
{
    const int nLength = static_cast<int>(strWide.size());
    const auto convert = [&](char* pBytes, int nBytes) {
        return ::WideCharToMultiByte(CP_UTF8, 0, strWide.data(), nLength, pBytes, nBytes, nullptr, nullptr);
    };
    std::string strUtf8(static_cast<std::size_t>(convert(nullptr, 0)), '\0');
    convert(strUtf8.data(), static_cast<int>(strUtf8.size()));
    return strUtf8;
}

std::string Utf8OfCodePage(std::string_view strText)
{
    return Utf8Text(Widen(CP_ACP, strText));
}
