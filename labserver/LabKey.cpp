#include "labserver/LabKey.h"

#include <string_view>

namespace
{

constexpr const char* KEY_HEADER = "Idempotency-Key";

bool IsPrintable(char c)
{
    return c >= ' ' && c <= '~';
}

/// Reads what follows the opening quote. @return false when it is no text with a closing quote at its end
bool ReadQuoted(std::string_view strRest, std::string& strText)
{
    for (std::size_t i = 0; i < strRest.size(); ++i) {
        char c = strRest[i];
        if (c == '"') {
            return i + 1 == strRest.size();
        }
        if (c == '\\') {
            c = ++i < strRest.size() ? strRest[i] : '\0';
            if (c != '"' && c != '\\') {
                return false;
            }
        }
        if (!IsPrintable(c)) {
            return false;
        }
        strText += c;
    }
    return false;
}

/// Reads a text without quotes; nothing in it may be a sign of structured fields, such as the comma of a
/// list.
bool ReadUnquoted(std::string_view strValue, std::string& strText)
{
    for (const char c : strValue) {
        if (!IsPrintable(c) || std::string_view(" \"\\,;").find(c) != std::string_view::npos) {
            return false;
        }
    }
    strText = strValue;
    return true;
}

} // namespace

LabKey KeyOf(const httplib::Request& request)
{
    const std::size_t nHeaders = request.get_header_value_count(KEY_HEADER);
    if (nHeaders == 0) {
        return {};
    }
    const std::string strValue = request.get_header_value(KEY_HEADER);
    LabKey key;
    const bool bQuoted = !strValue.empty() && strValue.front() == '"';
    const bool bRead = bQuoted ? ReadQuoted(std::string_view(strValue).substr(1), key.strText)
                               : ReadUnquoted(strValue, key.strText);
    if (nHeaders > 1) {
        return {"", "The header Idempotency-Key occurs twice."};
    }
    if (!bRead) {
        return {"", "The header Idempotency-Key is not one text in double quotes."};
    }
    if (key.strText.empty()) {
        return {"", "The header Idempotency-Key is empty."};
    }
    if (key.strText.size() > LabKey::MAX_SIZE) {
        return {"", "The key in the header Idempotency-Key is longer than " +
                        std::to_string(LabKey::MAX_SIZE) + " bytes."};
    }
    return key;
}
