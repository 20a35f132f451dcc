#include "Say.h"

#include <ktshttpagent/clog.h>

#include <string>

namespace outbox
{

void Say(int nLevel, int nLine, const char* szText, const char* szMore) noexcept
{
    try {
        Log_Write(nLevel, "outbox::Outbox", nLine, "%s%s", szText, szMore);
    } catch (...) { // the line is lost
    }
}

void Say(int nLevel, int nLine, const char* szText, int nType, Verdict eVerdict, int nError) noexcept
{
    try {
        const std::string strWhy = "type " + std::to_string(nType) + ", " + Reason(eVerdict, nError);
        Say(nLevel, nLine, szText, strWhy.c_str());
    } catch (...) { // no memory for the line
    }
}

} // namespace outbox
