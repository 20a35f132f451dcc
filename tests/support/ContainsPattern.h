#pragma once

#include <gmock/gmock.h>

#include <regex>
#include <string>

/// Matches a text in which a regular expression finds something. GoogleTest's own expressions support no
/// brackets on Windows.
MATCHER_P(ContainsPattern, strPattern, "")
{
    return std::regex_search(arg, std::regex(std::string(strPattern)));
}
