#include "LineEscaping.h"

#include <cstddef>

namespace
{

unsigned ByteAt(std::string_view text, std::size_t nPos)
{
    return nPos < text.size() ? static_cast<unsigned char>(text[nPos]) : 0U;
}

/// How many bytes at nPos make up one control character; 0 when there is none. Those from U+0080 to U+009F
/// take two bytes in UTF-8: some terminals and viewers obey them, U+0085 being a line end.
std::size_t ControlLength(std::string_view text, std::size_t nPos)
{
    const unsigned nByte = ByteAt(text, nPos);
    if (nByte < 0x20 || nByte == 0x7f) {
        return 1;
    }
    const unsigned nNext = ByteAt(text, nPos + 1);
    return nByte == 0xc2 && nNext >= 0x80 && nNext <= 0x9f ? 2 : 0;
}

void AppendEscape(std::string& strOut, unsigned nByte)
{
    static constexpr char szHexDigits[] = "0123456789abcdef";
    switch (nByte) {
    case '\n':
        strOut += "\\n";
        break;
    case '\r':
        strOut += "\\r";
        break;
    case '\t':
        strOut += "\\t";
        break;
    default:
        strOut += {'\\', 'x', szHexDigits[nByte >> 4U], szHexDigits[nByte & 0xfU]};
    }
}

} // namespace

std::string EscapeControls(std::string_view text)
{
    std::string strOut;
    strOut.reserve(text.size());
    std::size_t nPos = 0;
    while (nPos < text.size()) {
        const std::size_t nControl = ControlLength(text, nPos);
        if (nControl == 0) {
            strOut += text[nPos++];
        }
        for (const std::size_t nEnd = nPos + nControl; nPos < nEnd; ++nPos) {
            AppendEscape(strOut, ByteAt(text, nPos));
        }
    }
    return strOut;
}
