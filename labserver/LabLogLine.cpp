#include "labserver/LabLogLine.h"

#include "labserver/LabSeenJson.h"
#include "labserver/LabText.h"

#include "platform/text/Escaping.h"

#include <algorithm>
#include <iomanip>
#include <sstream>

namespace
{

/// A field of the line: never empty, and without blanks.
std::string LogField(const std::string& strText)
{
    std::string strField;
    for (const char c : EscapeUnsafe(strText)) {
        strField += c == ' ' ? std::string("\\x20") : std::string(1, c);
    }
    return strField.empty() ? "-" : strField;
}

/// The key of a report, without its quotes; empty if there is none.
std::string KeyIn(const LabSeen& seen)
{
    const auto it =
        std::find_if(seen.vecRequestHeaders.begin(), seen.vecRequestHeaders.end(),
                     [](const auto& header) { return LowerCase(header.first) == "idempotency-key"; });
    const std::string strKey = it == seen.vecRequestHeaders.end() ? "" : it->second;
    const bool bQuoted = strKey.size() > 1 && strKey.front() == '"' && strKey.back() == '"';
    return bQuoted ? strKey.substr(1, strKey.size() - 2) : strKey;
}

} // namespace

std::string LogLineOf(const LabSeen& seen)
{
    std::ostringstream line;
    line << TimeText(seen.arrived) << ' ' << LogField(seen.strHost) << ':' << seen.nPort << ' '
         << LogField(seen.strMethod) << ' ' << LogField(seen.strTarget) << ' ' << seen.nStatus << ' '
         << NameOf(OutcomeOf(seen)) << ' ' << seen.strRequestBody.size() << ' ' << seen.strReplyBody.size()
         << ' ' << std::fixed << std::setprecision(3)
         << std::chrono::duration<double, std::milli>(seen.duration).count() << ' ' << LogField(KeyIn(seen));
    return line.str();
}
