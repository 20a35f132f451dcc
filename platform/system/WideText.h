#pragma once

#include <string>
#include <string_view>

/// Windows alone: UTF-8 as the system's own functions take text, and back. What is no UTF-8 becomes U+FFFD.
std::wstring WideText(std::string_view strUtf8);
std::string Utf8Text(std::wstring_view strWide);

/// Windows alone: UTF-8 of a text in the machine's code page.
std::string Utf8OfCodePage(std::string_view strText);
