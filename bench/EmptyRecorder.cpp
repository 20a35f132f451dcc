// Takes the place of platform/metrics/Recorder.cpp in a library that only the benchmark has, to measure what
// recording the figures costs. What their callers do, such as reading the clock, is not left out.

#include "platform/metrics/Recorder.h"

namespace metrics
{

void NoteSent(Kind /*kind*/) noexcept {}

void NoteSuccess(Kind /*kind*/, Duration /*duration*/) noexcept {}

void NoteStored(Kind /*kind*/, Duration /*duration*/) noexcept {}

void NoteRefusal(Kind /*kind*/, Duration /*duration*/, std::string_view /*strWhy*/) noexcept {}

void NoteFailure(Kind /*kind*/, EKtsFailure /*eFailure*/, Duration /*duration*/,
                 std::string_view /*strWhy*/) noexcept
{
}

void SetQueueSource(unsigned long long (* /*pfnQueued*/)()) noexcept {}

} // namespace metrics

SKtsMetrics KtsMetrics()
{
    return {};
}
