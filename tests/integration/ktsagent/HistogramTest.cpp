#include "Histogram.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <utility>
#include <vector>

namespace
{

using std::chrono::microseconds;

/// The value that a part of the sorted values does not exceed.
std::int64_t Exact(const std::vector<std::int64_t>& vecSorted, double dPart)
{
    const double dRank = std::ceil(dPart * static_cast<double>(vecSorted.size()));
    return vecSorted.at(std::max<std::size_t>(static_cast<std::size_t>(dRank), 1) - 1);
}

} // namespace

TEST(LatencyHistogram, IsEmptyAtFirst)
{
    const Histogram histogram;
    EXPECT_EQ(histogram.Count(), 0U);
    EXPECT_EQ(histogram.Max().count(), 0);
    EXPECT_EQ(histogram.Percentile(0.5).count(), 0);
}

TEST(LatencyHistogram, KeepsShortDurationsExactly)
{
    Histogram histogram;
    for (int nValue = 0; nValue < 256; ++nValue) {
        histogram.Add(microseconds(nValue));
    }
    EXPECT_EQ(histogram.Count(), 256U);
    for (int nValue = 0; nValue < 256; ++nValue) {
        EXPECT_EQ(histogram.Percentile((nValue + 1) / 256.0).count(), nValue);
    }
}

TEST(LatencyHistogram, HasClassesOfTwoAboveThat)
{
    Histogram histogram;
    const std::pair<int, int> VALUES_AND_KEPT[] = {
        {255, 255}, {256, 257}, {257, 257}, {258, 259}, {259, 259}};
    for (const auto& [nValue, nKept] : VALUES_AND_KEPT) {
        histogram.Add(microseconds(nValue));
    }
    histogram.Add(microseconds(1000)); // no percentile is above the longest duration
    double dRank = 0;
    for (const auto& [nValue, nKept] : VALUES_AND_KEPT) {
        ++dRank;
        EXPECT_EQ(histogram.Percentile(dRank / 6).count(), nKept) << nValue;
    }
}

TEST(LatencyHistogram, IsNeverBelowAndAtMostOnePerCentAboveTheExactPercentile)
{
    const auto nSeed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(nSeed));
    std::mt19937_64 random(nSeed);
    Histogram histogram;
    std::vector<std::int64_t> vecValues;
    for (int i = 0; i < 20'000; ++i) {
        vecValues.push_back(static_cast<std::int64_t>(random() >> (22 + random() % 42)));
        histogram.Add(microseconds(vecValues.back()));
    }
    std::sort(vecValues.begin(), vecValues.end());
    for (const double dPart : {0.0, 0.01, 0.25, 0.5, 0.75, 0.9, 0.99, 0.999, 0.9999, 1.0}) {
        const std::int64_t nExact = Exact(vecValues, dPart);
        const std::int64_t nKept = histogram.Percentile(dPart).count();
        EXPECT_GE(nKept, nExact) << dPart;
        EXPECT_LE(static_cast<double>(nKept), static_cast<double>(nExact) * 1.01) << dPart;
    }
    EXPECT_EQ(histogram.Max().count(), vecValues.back());
    EXPECT_EQ(histogram.Percentile(1.0), histogram.Max());
}

TEST(LatencyHistogram, HoldsTheEdgesOfItsClasses)
{
    for (int nBit = 0; nBit < 42; ++nBit) {
        for (const std::int64_t nOff : {-1, 0, 1}) {
            const std::int64_t nValue = (std::int64_t{1} << nBit) + nOff;
            Histogram histogram;
            histogram.Add(microseconds(nValue));
            histogram.Add(Histogram::LONGEST);
            const std::int64_t nKept = histogram.Percentile(0.5).count();
            EXPECT_GE(nKept, nValue);
            EXPECT_LE(nKept, nValue + nValue / 128);
        }
    }
}

TEST(LatencyHistogram, CutsWhatIsTooLongOrLessThanNothing)
{
    Histogram histogram;
    histogram.Add(microseconds(-5));
    EXPECT_EQ(histogram.Percentile(1.0).count(), 0);
    histogram.Add(Histogram::LONGEST + microseconds(1));
    EXPECT_EQ(histogram.Max(), Histogram::LONGEST);
    EXPECT_EQ(histogram.Percentile(1.0), Histogram::LONGEST);
    EXPECT_EQ(histogram.Count(), 2U);
}
