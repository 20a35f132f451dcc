#include "Recorder.h"

#include "platform/system/AtFork.h"
#include "platform/system/NeverDestroyed.h"

#include <algorithm>
#include <atomic>
#include <iterator>
#include <mutex>
#include <new>

namespace metrics
{
namespace
{

using std::chrono::system_clock;
using Counter = std::atomic<std::uint64_t>;

/// The figures of one kind of request.
struct Figures {
    Counter nSent{0};
    Counter nSucceeded{0};
    Counter nRefused{0};
    Counter nStored{0};
    std::array<Counter, KTS_FAILURES> arFailed{};
    std::array<Counter, KTS_DURATION_BOUNDS.size() + 1> arDurations{};
    Counter nMicroseconds{0};
};

/// Constant until the first request, and never destroyed: requests end until the process has ended.
Figures g_figures[TYPES][2];

std::atomic<system_clock::rep> g_nLastSuccess{0};
std::atomic<unsigned long long (*)()> g_pfnQueued{nullptr};

struct LastFailure {
    std::mutex mutex;
    int nType = 0;
    system_clock::time_point tp{};
    std::string strWhy;
};

LastFailure& TheLastFailure()
{
    static const NeverDestroyed<LastFailure> last;
    return *last;
}

// A fork while another thread writes it must not leave the child with a lock that stays taken.
const bool g_bForksKeptOut =
    AtFork([] { TheLastFailure().mutex.lock(); }, [] { TheLastFailure().mutex.unlock(); },
           [] { TheLastFailure().mutex.unlock(); });

/// Null for a type that is not one of ours.
Figures* FiguresOf(Kind kind) noexcept
{
    const int nIndex = kind.nType - FIRST_TYPE;
    return nIndex < 0 || nIndex >= TYPES ? nullptr : &g_figures[nIndex][kind.bBlocking ? 1 : 0];
}

void Increase(Counter& counter) noexcept
{
    counter.fetch_add(1, std::memory_order_relaxed);
}

std::uint64_t Value(const Counter& counter)
{
    return counter.load(std::memory_order_relaxed);
}

void NoteDuration(Figures& figures, Duration duration) noexcept
{
    if (duration < Duration::zero()) {
        return;
    }
    const auto nMicroseconds = std::chrono::duration_cast<std::chrono::microseconds>(duration).count();
    const auto* const pBound = std::find_if(
        KTS_DURATION_BOUNDS.begin(), KTS_DURATION_BOUNDS.end(),
        [nMicroseconds](std::uint32_t nBound) { return nMicroseconds <= std::int64_t{nBound} * 1'000; });
    Increase(figures.arDurations[static_cast<std::size_t>(pBound - KTS_DURATION_BOUNDS.begin())]);
    figures.nMicroseconds.fetch_add(static_cast<std::uint64_t>(nMicroseconds), std::memory_order_relaxed);
}

void NoteLastFailure(Kind kind, std::string_view strWhy) noexcept
{
    LastFailure& last = TheLastFailure();
    const std::lock_guard<std::mutex> lock(last.mutex);
    last.nType = kind.nType;
    last.tp = system_clock::now();
    try {
        last.strWhy = strWhy;
    } catch (const std::bad_alloc&) {
        last.strWhy.clear(); // rather no words than those of another failure
    }
}

template <std::size_t COUNT>
void Copy(const std::array<Counter, COUNT>& from, std::array<std::uint64_t, COUNT>& to)
{
    std::transform(from.begin(), from.end(), to.begin(), Value);
}

SKtsRequestMetrics Snapshot(int nType, bool bBlocking, const Figures& figures)
{
    SKtsRequestMetrics request;
    request.nType = nType;
    request.bBlocking = bBlocking;
    request.nSent = Value(figures.nSent);
    request.nSucceeded = Value(figures.nSucceeded);
    request.nRefused = Value(figures.nRefused);
    request.nStored = Value(figures.nStored);
    Copy(figures.arFailed, request.arFailed);
    Copy(figures.arDurations, request.arDurations);
    request.durations = std::chrono::microseconds(Value(figures.nMicroseconds));
    return request;
}

std::uint64_t Ended(const SKtsRequestMetrics& request)
{
    std::uint64_t nEnded = request.nSucceeded + request.nRefused + request.nStored;
    for (const std::uint64_t nFailed : request.arFailed) {
        nEnded += nFailed;
    }
    return nEnded;
}

} // namespace

void NoteSent(Kind kind) noexcept
{
    if (Figures* const pFigures = FiguresOf(kind)) {
        Increase(pFigures->nSent);
    }
}

void NoteSuccess(Kind kind, Duration duration) noexcept
{
    if (Figures* const pFigures = FiguresOf(kind)) {
        Increase(pFigures->nSucceeded);
        NoteDuration(*pFigures, duration);
        g_nLastSuccess.store(system_clock::now().time_since_epoch().count(), std::memory_order_relaxed);
    }
}

void NoteRefusal(Kind kind, Duration duration, std::string_view strWhy) noexcept
{
    if (Figures* const pFigures = FiguresOf(kind)) {
        Increase(pFigures->nRefused);
        NoteDuration(*pFigures, duration);
        NoteLastFailure(kind, strWhy);
    }
}

void NoteFailure(Kind kind, EKtsFailure eFailure, Duration duration, std::string_view strWhy) noexcept
{
    if (Figures* const pFigures = FiguresOf(kind)) {
        Increase(pFigures->arFailed[static_cast<std::size_t>(eFailure)]);
        NoteDuration(*pFigures, duration);
        NoteLastFailure(kind, strWhy);
    }
}

void NoteStored(Kind kind, Duration duration) noexcept
{
    if (Figures* const pFigures = FiguresOf(kind)) {
        Increase(pFigures->nStored);
        NoteDuration(*pFigures, duration);
    }
}

void SetQueueSource(unsigned long long (*pfnQueued)()) noexcept
{
    g_pfnQueued = pfnQueued;
}

} // namespace metrics

SKtsMetrics KtsMetrics()
{
    using namespace metrics;
    SKtsMetrics all;
    for (int nIndex = 0; nIndex < TYPES; ++nIndex) {
        for (const bool bBlocking : {false, true}) {
            const Figures& figures = g_figures[nIndex][bBlocking ? 1 : 0];
            if (Value(figures.nSent) == 0) {
                continue;
            }
            // What ended is read first: then it can't be more than what was sent.
            const SKtsRequestMetrics request = Snapshot(FIRST_TYPE + nIndex, bBlocking, figures);
            const std::uint64_t nEnded = Ended(request);
            all.nOutstanding += request.nSent > nEnded ? request.nSent - nEnded : 0;
            all.vecRequests.push_back(request);
        }
    }
    const auto pfnQueued = g_pfnQueued.load();
    all.nQueued = pfnQueued == nullptr ? 0 : pfnQueued();
    all.tpLastSuccess = system_clock::time_point(system_clock::duration(g_nLastSuccess.load()));
    LastFailure& last = TheLastFailure();
    const std::lock_guard<std::mutex> lock(last.mutex);
    all.tpLastFailure = last.tp;
    all.nLastFailureType = last.nType;
    all.strLastFailure = last.strWhy;
    return all;
}
