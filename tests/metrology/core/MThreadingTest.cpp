#include "MThreading.h"

#include <gtest/gtest.h>

#include <omp.h>

using namespace ZOLAR3D;

TEST(MThreading, PositiveLimitsAreSetAndOthersIgnored)
{
    const int previous = omp_get_max_threads();
    MThreading::SetMaxNumThreads(3);
    EXPECT_EQ(omp_get_max_threads(), 3);
    MThreading::SetMaxNumThreads(0);
    MThreading::SetMaxNumThreads(-2);
    EXPECT_EQ(omp_get_max_threads(), 3);
    MThreading::SetMaxNumThreads(1);
    EXPECT_EQ(omp_get_max_threads(), 1);
    MThreading::SetMaxNumThreads(previous);
}
