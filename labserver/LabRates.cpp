#include "labserver/LabRates.h"

#include <algorithm>
#include <cmath>

namespace
{

constexpr std::size_t MOST_IN_SAMPLE = 1000;

double Quantile(std::vector<float>& vecSample, double fShare)
{
    const auto nAt =
        static_cast<std::ptrdiff_t>(std::ceil(fShare * static_cast<double>(vecSample.size() - 1)));
    std::nth_element(vecSample.begin(), vecSample.begin() + nAt, vecSample.end());
    return vecSample[static_cast<std::size_t>(nAt)];
}

} // namespace

std::int64_t LabRates::Now()
{
    using namespace std::chrono;
    return duration_cast<seconds>(system_clock::now().time_since_epoch()).count();
}

void LabRates::Add(std::int64_t nSecond, std::chrono::microseconds duration, bool bFailed)
{
    const float fMs = std::chrono::duration<float, std::milli>(duration).count();
    const std::lock_guard lock(m_mutex);
    Bucket& bucket = m_mapBuckets[nSecond];
    ++bucket.nCount;
    bucket.nFailed += bFailed ? 1 : 0;
    bucket.most = std::max(bucket.most, duration);
    if (bucket.vecSample.size() < MOST_IN_SAMPLE) {
        bucket.vecSample.push_back(fMs);
    } else { // each request of the second is as likely as any other to stay in the sample
        const std::uint64_t nAt =
            std::uniform_int_distribution<std::uint64_t>(0, bucket.nCount - 1)(m_random);
        if (nAt < MOST_IN_SAMPLE) {
            bucket.vecSample[static_cast<std::size_t>(nAt)] = fMs;
        }
    }
    m_mapBuckets.erase(m_mapBuckets.begin(), m_mapBuckets.lower_bound(nSecond - KEPT.count()));
}

LabSecond LabRates::Second(std::int64_t nSecond) const
{
    const std::lock_guard lock(m_mutex);
    const auto it = m_mapBuckets.find(nSecond);
    return Summed(nSecond, it == m_mapBuckets.end() ? Bucket() : it->second);
}

std::vector<LabSecond> LabRates::All(std::int64_t nNow) const
{
    std::vector<LabSecond> vecSeconds;
    for (std::int64_t nSecond = nNow - KEPT.count(); nSecond < nNow; ++nSecond) {
        vecSeconds.push_back(Second(nSecond));
    }
    return vecSeconds;
}

LabSecond LabRates::Summed(std::int64_t nSecond, const Bucket& bucket)
{
    LabSecond second;
    second.nSecond = nSecond;
    if (bucket.nCount > 0) {
        std::vector<float> vecSample = bucket.vecSample;
        second.nCount = bucket.nCount;
        second.nFailed = bucket.nFailed;
        second.fMedianMs = Quantile(vecSample, 0.5);
        second.f99Ms = Quantile(vecSample, 0.99);
        second.fMostMs = std::chrono::duration<double, std::milli>(bucket.most).count();
    }
    return second;
}
