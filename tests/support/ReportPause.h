#pragma once

/// How long a blocking report that failed holds its caller back, as CUIAgentReq.h promises it.
constexpr int REPORT_PAUSE_MS = 2'000;
