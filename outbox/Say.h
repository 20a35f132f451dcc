#pragma once

#include "Judge.h"

namespace outbox
{

/// Writes a line to the log if possible. Memory may have run out, and a site's own log may throw; what the
/// outbox promises must be kept all the same.
/// @param szMore  follows the text
void Say(int nLevel, int nLine, const char* szText, const char* szMore = "") noexcept;

/// The same for an attempt: the text, the report's type, and why it did not get through.
void Say(int nLevel, int nLine, const char* szText, int nType, Verdict eVerdict, int nError) noexcept;

} // namespace outbox
