#include "FieldConversion.h"

#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <utility>

namespace VelCSDK
{
namespace
{

constexpr std::size_t LONGEST_EXCERPT = 64;

template <class Failure>
class FieldFailure : public Failure, public FailedField
{
public:
    FieldFailure(const char* szWhat, FailedField field) : Failure(szWhat), FailedField(std::move(field)) {}
};

bool IsInsideCharacter(char c)
{
    return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U; // a UTF-8 byte that is not the first one
}

/// The beginning of a text; the cut is between two characters.
std::string Excerpt(const std::string& strText)
{
    std::size_t nEnd = std::min(strText.size(), LONGEST_EXCERPT);
    while (nEnd > 0 && IsInsideCharacter(strText[nEnd])) { // a text ends in a NUL, so nEnd is a valid index
        --nEnd;
    }
    return strText.substr(0, nEnd);
}

/// Replaces each NUL by its escape. The log itself escapes all other control characters, but a NUL would end
/// the text before.
std::string WithoutNul(std::string strText)
{
    for (std::size_t nNul = 0; (nNul = strText.find('\0', nNul)) != std::string::npos;) {
        strText.replace(nNul, 1, "\\x00");
    }
    return strText;
}

} // namespace

std::string FailedField::Description() const
{
    const std::string strExcerpt = Excerpt(strHeld);
    std::string strDescription = std::string(szName) + " is \"" + WithoutNul(strExcerpt);
    if (strExcerpt.size() == strHeld.size()) {
        return strDescription + '"';
    }
    return strDescription + "...\" (" + std::to_string(strHeld.size()) + " bytes)";
}

// Throws exceptions of its own, because the texts of std::stoi's exceptions depend on the C++ library.
int FieldToInt(const char* szName, const std::string& strHeld)
{
    try {
        return std::stoi(strHeld);
    } catch (const std::invalid_argument&) {
        throw FieldFailure<std::invalid_argument>("invalid stoi argument", {szName, strHeld});
    } catch (const std::out_of_range&) {
        throw FieldFailure<std::out_of_range>("stoi argument out of range", {szName, strHeld});
    }
}

} // namespace VelCSDK
