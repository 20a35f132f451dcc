#pragma once

#include <string>

/// A text with its ASCII letters in lower case.
inline std::string LowerCase(std::string strText)
{
    for (char& c : strText) {
        if (c >= 'A' && c <= 'Z') {
            c = static_cast<char>(c - 'A' + 'a');
        }
    }
    return strText;
}
