#include "StartLine.h"

#include "platform/system/LogLevel.h"
#include "platform/text/Escaping.h"
#include "platform/text/LogWords.h"

#include <ktshttpagent/KtsSettings.h>
#include <ktshttpagent/clog.h>

#include <string>

namespace
{

bool IsOfTheTransport(const SKtsSetting& setting)
{
    return setting.strName.rfind("CHTTPCLIENT_", 0) == 0;
}

/// "NAME=VALUE", and where the value comes from unless it is built in.
std::string TextOf(const SKtsSetting& setting)
{
    std::string strText = setting.strName + '=';
    strText += setting.strValue.empty() ? "none" : WithoutPassword(setting.strValue);
    return setting.strOrigin == "built in" ? strText : strText + " (" + setting.strOrigin + ')';
}

std::string StartLine()
{
    std::string strLine = "started:";
    const char* szBefore = " ";
    for (const SKtsVersion& version : KtsVersions()) {
        strLine += szBefore + version.strLibrary + ' ' + version.strVersion;
        szBefore = ", ";
    }
    szBefore = "; settings in force: ";
    for (const SKtsSetting& setting : KtsSettingsInForce()) {
        if (!IsOfTheTransport(setting)) {
            strLine += szBefore + EscapeUnsafe(TextOf(setting));
            szBefore = ", ";
        }
    }
    return strLine;
}

} // namespace

void LogStart() noexcept
{
    try {
        if (LogLevelOfEnvironment() >= LOG_LIFE) {
            Log_Write(LOG_LIFE, "CUIAgentReq::Instance", 1, "%s", StartLine().c_str());
        }
    } catch (...) { // not enough memory for the line, or the log threw: the agent works all the same
    }
}
