#include "MStatistics.h"
#include "MStatisticsArray.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace ZOLAR3D;

TEST(MStatistics, HandComputedValues)
{
    const double values[] = {2, 4, 4, 4, 5, 5, 7, 9};
    const MStatistics s(values, 8);
    EXPECT_EQ(s.count, 8);
    EXPECT_EQ(s.minimum, 2.0);
    EXPECT_EQ(s.maximum, 9.0);
    EXPECT_DOUBLE_EQ(s.mean, 5.0);
    EXPECT_DOUBLE_EQ(s.standardDeviation, 2.0);
    EXPECT_DOUBLE_EQ(s.rms, std::sqrt(232.0 / 8.0));
}

TEST(MStatistics, RmsIsAboutZeroNotAboutTheMean)
{
    const double values[] = {-1, 1};
    const MStatistics s(values, 2);
    EXPECT_EQ(s.mean, 0.0);
    EXPECT_EQ(s.rms, 1.0);
    EXPECT_EQ(s.standardDeviation, 1.0);
}

TEST(MStatistics, InvalidDistancesAreLeftOut)
{
    const double values[] = {1, 1e30, 2, 3.4028234663852886e38, std::numeric_limits<double>::quiet_NaN(),
                             std::numeric_limits<double>::infinity()};
    const MStatistics s(values, 6);
    EXPECT_EQ(s.count, 2);
    EXPECT_EQ(s.maximum, 2.0);
    EXPECT_EQ(s.mean, 1.5);
    EXPECT_EQ(s.standardDeviation, 0.5);
    EXPECT_EQ(s.rms, std::sqrt(2.5));
    // Just below the limit still counts.
    const double below[] = {std::nextafter(1e30, 0.0)};
    EXPECT_EQ(MStatistics(below, 1).count, 1);
}

TEST(MStatistics, NothingTakenKeepsTheStartValues)
{
    const double onlyInvalid[] = {1e30, 5e30};
    for (const MStatistics &s : {MStatistics(), MStatistics(MDoubleArray()), MStatistics(onlyInvalid, 2),
                                 MStatistics(nullptr, 4), MStatistics(onlyInvalid, -1)}) {
        EXPECT_EQ(s.minimum, 3.4028234663852886e38);
        EXPECT_EQ(s.maximum, -3.4028234663852886e38);
        EXPECT_EQ(s.mean, 0.0);
        EXPECT_EQ(s.standardDeviation, 0.0);
        EXPECT_EQ(s.rms, 0.0);
        EXPECT_EQ(s.count, 0);
    }
}

TEST(MStatistics, SpreadFarFromZeroKeepsItsDigits)
{
    MDoubleArray values;
    for (int i = 0; i < 1000; ++i)
        values.add(1e9 + (i % 3));
    const MStatistics s(values);
    EXPECT_EQ(s.count, 1000);
    EXPECT_NEAR(s.mean, 1e9 + 0.999, 1e-6);
    // Population deviation of 334 zeros, 333 ones and 333 twos.
    const double m = 0.999;
    const double variance = (334 * m * m + 333 * (1 - m) * (1 - m) + 333 * (2 - m) * (2 - m)) / 1000;
    EXPECT_NEAR(s.standardDeviation, std::sqrt(variance), 1e-6);
}

TEST(MStatisticsArray, HoldsStatisticsAtTheirStartValues)
{
    MStatisticsArray array(3);
    EXPECT_EQ(array.size(), 3);
    EXPECT_EQ(array[2], MStatistics());
    const double values[] = {3, 4};
    array.add(MStatistics(values, 2));
    EXPECT_TRUE(array.contains(MStatistics(values, 2)));
    EXPECT_EQ(array.last().mean, 3.5);
}
