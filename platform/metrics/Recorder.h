#pragma once

#include <ktshttpagent/KtsMetrics.h>

#include <chrono>
#include <string_view>

/// What the two interfaces report for the figures of `KtsMetrics`. All functions may be called from any
/// thread; without a failure they take no lock.
namespace metrics
{

/// The request type ids that are counted; others are left out.
inline constexpr int FIRST_TYPE = 3100;
inline constexpr int TYPES = 16;

/// What is counted separately.
struct Kind {
    int nType;
    bool bBlocking;
};

using Duration = std::chrono::steady_clock::duration;

void NoteSent(Kind kind) noexcept;

/// One of these follows each `NoteSent`.
/// @param duration  since the request was sent; less than nothing if that is not known
/// @param strWhy    in words, for `SKtsMetrics::strLastFailure`
void NoteSuccess(Kind kind, Duration duration) noexcept;
void NoteRefusal(Kind kind, Duration duration, std::string_view strWhy) noexcept;
void NoteFailure(Kind kind, EKtsFailure eFailure, Duration duration, std::string_view strWhy) noexcept;

/// The report is kept for later, and its sender answered.
void NoteStored(Kind kind, Duration duration) noexcept;

/// Sets the function that tells `SKtsMetrics::nQueued`; null for none.
void SetQueueSource(unsigned long long (*pfnQueued)()) noexcept;

/// The failure that an outcome of the transport is, see chttpclient.h; any number but 0.
EKtsFailure FailureOf(int nHttpError);

/// Whether this failure shows that the server can't be reached: it gave no answer.
bool IsUnreached(EKtsFailure eFailure);

} // namespace metrics
