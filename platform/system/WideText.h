#pragma once

#include <string>
#include <string_view>

/// Windows only: converts UTF-8 to the wide text that the system's functions take, and back. Invalid UTF-8
/// becomes U+FFFD.
std::wstring WideText(std::string_view strUtf8);
std::string Utf8Text(std::wstring_view strWide);

/// Windows only: converts a text in the machine's code page to UTF-8.
std::string Utf8OfCodePage(std::string_view strText);
