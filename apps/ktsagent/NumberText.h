#pragma once

#include <charconv>
#include <cmath>
#include <limits>
#include <string>
#include <type_traits>

/// Describes which texts are valid numbers, for messages and help.
template <class Value>
std::string ExpectedNumber(Value min = std::numeric_limits<Value>::lowest())
{
    if constexpr (std::is_floating_point_v<Value>) {
        return "a number";
    } else {
        return "an integer from " + std::to_string(min) + " to " +
               std::to_string(std::numeric_limits<Value>::max());
    }
}

/// Reads the whole text as a number in JSON notation, independently of the locale.
/// @return false if it is not a number or below the minimum; the value then stays unchanged
template <class Value>
bool ParseNumber(const std::string& strText, Value& value, Value min = std::numeric_limits<Value>::lowest())
{
    Value parsed{};
    const char* const pEnd = strText.data() + strText.size();
    const auto result = std::from_chars(strText.data(), pEnd, parsed);
    if (result.ec != std::errc() || result.ptr != pEnd || parsed < min) {
        return false;
    }
    if constexpr (std::is_floating_point_v<Value>) {
        if (!std::isfinite(parsed)) { // JSON has no "inf" and "nan"
            return false;
        }
    }
    value = parsed;
    return true;
}
