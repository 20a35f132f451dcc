// The input is a text on its way into the log: whatever it holds, it stays one line and moves no cursor.

#include "Require.h"

#include "platform/clog/LineEscaping.h"

#include <algorithm>
#include <cstdint>

namespace
{

bool IsControl(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7F;
}

bool IsControlPair(char c, char cNext)
{
    const auto next = static_cast<unsigned char>(cNext);
    return static_cast<unsigned char>(c) == 0xC2 && next >= 0x80 && next <= 0x9F;
}

bool HoldsControls(std::string_view text)
{
    return std::any_of(text.begin(), text.end(), IsControl) ||
           std::adjacent_find(text.begin(), text.end(), IsControlPair) != text.end();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize)
{
    const std::string strText(reinterpret_cast<const char*>(pData), nSize);
    const std::string strEscaped = EscapeControls(strText);
    Require(!HoldsControls(strEscaped), "no control character is left");
    Require((strEscaped == strText) == !HoldsControls(strText), "nothing but control characters is escaped");
    Require(EscapeControls(strEscaped) == strEscaped, "an escaped text is left alone");
    return 0;
}
