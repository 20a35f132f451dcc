#include "Say.h"

#include <ktshttpagent/clog.h>

namespace outbox
{

void Say(int nLevel, int nLine, const std::string& strText) noexcept
{
    try {
        Log_Write(nLevel, "outbox::Outbox", nLine, "%s", strText.c_str());
    } catch (...) { // the line is lost
    }
}

void Say(int nLevel, int nLine, const char* szText, int nType, Verdict eVerdict, int nError) noexcept
{
    try {
        Say(nLevel, nLine, szText + ("type " + std::to_string(nType)) + ", " + Reason(eVerdict, nError));
    } catch (...) { // no memory for the line
    }
}

} // namespace outbox
