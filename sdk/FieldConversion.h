#pragma once

#include <string>

namespace VelCSDK
{

/// A field of a record whose text could not be converted; a second base class of the exception.
struct FailedField {
    const char* szName;
    std::string strHeld;

    /// For the log: the name, and the text, which is cut if it is too long.
    std::string Description() const;
};

/// Reads the integer in a field's text as `std::stoi` does: leading white space and a sign are allowed, and
/// everything after the digits is ignored.
/// @throws std::invalid_argument ("invalid stoi argument"), std::out_of_range ("stoi argument out of range"),
///         each also derived from `FailedField`
int FieldToInt(const char* szName, const std::string& strHeld);

} // namespace VelCSDK
