#include "Backoff.h"

#include <algorithm>

namespace outbox
{

Milliseconds Backoff(unsigned nFailures, Milliseconds longest, Random& random)
{
    constexpr unsigned MOST_DOUBLINGS = 20; // beyond every longest wait
    const unsigned nDoublings = std::min(nFailures - 1, MOST_DOUBLINGS);
    const Milliseconds bound = std::min(longest, FIRST_BACKOFF * (1U << nDoublings));
    return Milliseconds(
        static_cast<Milliseconds::rep>(static_cast<double>(bound.count()) * random.Fraction()));
}

} // namespace outbox
