#include "WirePrinter.h"

#include "platform/text/Escaping.h"
#include "platform/text/LogWords.h"

#include <algorithm>
#include <cctype>
#include <utility>

namespace
{

bool IsHeader(EKtsTrace ePart)
{
    return ePart == EKtsTrace::RequestHeader || ePart == EKtsTrace::ReplyHeader;
}

const char* MarkOf(EKtsTrace ePart)
{
    switch (ePart) {
    case EKtsTrace::RequestHeader:
    case EKtsTrace::RequestBody:
        return ">";
    case EKtsTrace::ReplyHeader:
    case EKtsTrace::ReplyBody:
        return "<";
    default:
        return "*";
    }
}

bool BeginsWith(std::string_view strText, std::string_view strSmall)
{
    return strText.size() >= strSmall.size() &&
           std::equal(strSmall.begin(), strSmall.end(), strText.begin(), [](char cSmall, unsigned char c) {
               return cSmall == static_cast<char>(std::tolower(c));
           });
}

/// A header line without the password that it is made to carry.
std::string SafeHeader(std::string_view strLine)
{
    for (const std::string_view strName : {"authorization:", "proxy-authorization:"}) {
        if (BeginsWith(strLine, strName)) {
            return std::string(strLine.substr(0, strName.size())) + " ***";
        }
    }
    return WithoutPasswords(strLine);
}

/// libcurl names a proxy's variable with its value, which may lack a scheme: "NAME == 'VALUE'".
std::string SafeRemark(std::string_view strLine)
{
    constexpr std::string_view BEFORE_VALUE = " == '";
    const std::size_t nMark = strLine.find(BEFORE_VALUE);
    if (!BeginsWith(strLine, "uses proxy env variable ") || nMark == std::string_view::npos) {
        return WithoutPasswords(strLine);
    }
    const std::size_t nValue = nMark + BEFORE_VALUE.size();
    return std::string(strLine.substr(0, nValue)) + WithoutPassword(strLine.substr(nValue));
}

std::string Safe(EKtsTrace ePart, std::string_view strLine)
{
    if (ePart == EKtsTrace::RequestBody || ePart == EKtsTrace::ReplyBody) {
        return EscapeUnsafe(strLine);
    }
    return EscapeUnsafe(IsHeader(ePart) ? SafeHeader(strLine) : SafeRemark(strLine));
}

} // namespace

WirePrinter::WirePrinter(std::function<void(const std::string& strLines)> fnPrint)
    : m_fnPrint(std::move(fnPrint))
{
}

void WirePrinter::Take(EKtsTrace ePart, std::string_view strBytes, const void* pExchange)
{
    Shown& shown = Find(pExchange);
    std::string& strBegun = shown.mapBegun[ePart];
    if (strBegun.empty()) {
        EndLines(shown, false);
    }
    for (std::size_t nEnd = 0; (nEnd = strBytes.find('\n')) != std::string_view::npos;) {
        AddLine(shown, ePart, strBegun.append(strBytes.substr(0, nEnd)));
        strBegun.clear();
        strBytes.remove_prefix(nEnd + 1);
    }
    strBegun.append(strBytes);
    const bool bWhole = ePart == EKtsTrace::Remark || ePart == EKtsTrace::End;
    if (bWhole) { // these need no line end
        EndLines(shown, ePart == EKtsTrace::End);
    }
    shown.bEnded = ePart == EKtsTrace::End;
    while (!m_lstShown.empty()) {
        Shown& first = m_lstShown.front();
        if (!first.strLines.empty()) {
            m_fnPrint(std::exchange(first.strLines, {}));
        }
        if (!first.bEnded) {
            return;
        }
        m_lstShown.pop_front();
    }
}

WirePrinter::Shown& WirePrinter::Find(const void* pExchange)
{
    const auto it = std::find_if(m_lstShown.begin(), m_lstShown.end(), [pExchange](const Shown& shown) {
        return shown.pExchange == pExchange && !shown.bEnded;
    });
    return it != m_lstShown.end() ? *it : m_lstShown.emplace_back(Shown{pExchange});
}

/// Ends the lines that were begun. A header line that was not sent or received in full yet may go on after a
/// remark, and only its beginning tells whether it carries a password.
void WirePrinter::EndLines(Shown& shown, bool bHeadersToo)
{
    for (auto& [ePart, strBegun] : shown.mapBegun) {
        if (!strBegun.empty() && (bHeadersToo || !IsHeader(ePart))) {
            AddLine(shown, ePart, std::exchange(strBegun, {}));
        }
    }
}

void WirePrinter::AddLine(Shown& shown, EKtsTrace ePart, std::string_view strLine)
{
    if (!strLine.empty() && strLine.back() == '\r') {
        strLine.remove_suffix(1);
    }
    shown.strLines += MarkOf(ePart);
    shown.strLines += strLine.empty() ? "\n" : ' ' + Safe(ePart, strLine) + '\n';
}
