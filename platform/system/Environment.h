#pragma once

#include <charconv>
#include <cstdint>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

/// The value of an environment variable, in UTF-8; nothing when it is not set, or when rights are raised.
std::optional<std::string> EnvironmentVariable(const char* szName);

/// Whether the process has rights that the user who started it may lack: its program is set-user-id,
/// set-group-id or has capabilities. Its environment, which that user controls, is then ignored. The system
/// determines this when the program starts, and it does not change when rights are given up later. Always
/// false on Windows.
bool RightsAreRaised();

/// When rights are raised, removes a variable that some library reads without checking for them. Another
/// thread that looks up a variable at the same moment may not find it.
void RemoveVariableIfRightsAreRaised(const char* szName);

struct NumberRange {
    std::int64_t nMin;
    std::int64_t nMax;
};

/// The words of a complaint about a value, in order: the variable's name, szBeforeValue, the value,
/// szAfterValue, the range as "1 to 9", "; ", the default, szEnd.
struct ComplaintWords {
    const char* szBeforeValue = " is \"";
    const char* szAfterValue = "\", no number from ";
    const char* szEnd = " stays in force";
};

std::string NumberComplaint(const ComplaintWords& words, const char* szName, const std::string& strValue,
                            NumberRange range, const std::string& strDefault);

/// The decimal number that a variable holds, if the type has it and it lies in the range; or else the
/// default.
/// @param vecComplaints  gets a sentence about a value that can't be used
template <class Number>
Number EnvironmentNumber(const char* szName, Number nDefault, NumberRange range,
                         std::vector<std::string>& vecComplaints, const ComplaintWords& words = {})
{
    const std::optional<std::string> strValue = EnvironmentVariable(szName);
    if (!strValue) {
        return nDefault;
    }
    Number nValue = 0;
    const char* const pValueEnd = strValue->data() + strValue->size();
    const auto [pEnd, error] = std::from_chars(strValue->data(), pValueEnd, nValue);
    const auto nWide = static_cast<std::int64_t>(nValue); // below 0 where it has no room
    if (error == std::errc() && pEnd == pValueEnd && nWide >= range.nMin && nWide <= range.nMax) {
        return nValue;
    }
    vecComplaints.push_back(NumberComplaint(words, szName, *strValue, range, std::to_string(nDefault)));
    return nDefault;
}
