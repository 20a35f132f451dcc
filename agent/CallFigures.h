#pragma once

struct FinishedCall;

/// Counts a blocking call that begins, for the figures of KtsMetrics.h. Follow it by one `CountCallEnd`.
void CountCallBegin(int nType) noexcept;

/// Counts how the call ended, and notes whether its server could be reached.
void CountCallEnd(const FinishedCall& call) noexcept;
