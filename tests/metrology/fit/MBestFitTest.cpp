#include "FitTestSupport.h"
#include "MLineFit.h"
#include "MPlaneFit.h"
#include "MPointFit.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace ZOLAR3D;
using test::cloudOf;
using test::near;

namespace {

const double NaN = std::numeric_limits<double>::quiet_NaN();

MVector3d oriented(MVector3d v)
{
    MPointFit fit;
    fit.orient(v);
    return v;
}

// A fit that only counts how often it runs; its result is the origin.
class CountingFit : public MBestFit<MVector3d> {
public:
    void fit() override
    {
        ++fits;
        m_result = MVector3d(0, 0, 0);
    }
    int fits = 0;
};

} // namespace

TEST(MBestFit, OrientMakesTheDominantComponentPositive)
{
    EXPECT_EQ(oriented(MVector3d(0, 0, -2)), MVector3d(0, 0, 2));
    EXPECT_EQ(oriented(MVector3d(3, -1, 2)), MVector3d(3, -1, 2));
    EXPECT_EQ(oriented(MVector3d(-3, 1, 2)), MVector3d(3, -1, -2));
    EXPECT_EQ(oriented(MVector3d(0.1, -0.5, 0.4)), MVector3d(-0.1, 0.5, -0.4));
    EXPECT_EQ(oriented(MVector3d(0, 0, 0)), MVector3d(0, 0, 0));
    // The marker is the largest magnitude and positive: an invalid vector stays invalid.
    EXPECT_FALSE(oriented(MVector3d(MInvalid, -1, -2)).isValid());
}

TEST(MBestFit, OrientTieFlipsWhenAnyTiedComponentIsNegative)
{
    EXPECT_EQ(oriented(MVector3d(1, -1, 0)), MVector3d(-1, 1, 0));
    EXPECT_EQ(oriented(MVector3d(-1, 1, 0)), MVector3d(1, -1, 0));
    EXPECT_EQ(oriented(MVector3d(2, 0.5, -2)), MVector3d(-2, -0.5, 2));
    EXPECT_EQ(oriented(MVector3d(-3, -3, -3)), MVector3d(3, 3, 3));
    EXPECT_EQ(oriented(MVector3d(3, 3, 3)), MVector3d(3, 3, 3));
}

TEST(MBestFit, SetPointsCopiesTheValidPointsInOrder)
{
    MPointCloud cloud = cloudOf({{1, 2, 3}, {MInvalid, 0, 0}, {4, 5, 6}, {0, NaN, 0}, {0, 0, MInvalid}, {7, 8, 9}});
    cloud.setColors(std::vector<MColor>(6, MColor::Red).data(), 6);
    cloud.setNormals(std::vector<MVector3f>(6, MVector3f(0, 0, 1)).data(), 6);
    cloud.setOrganized2d(2, 3);

    MPointFit fit;
    fit.setPoints(cloud);
    ASSERT_EQ(fit.points().numPoints(), 3);
    EXPECT_EQ(fit.points().point(0), MVector3d(1, 2, 3));
    EXPECT_EQ(fit.points().point(1), MVector3d(4, 5, 6));
    EXPECT_EQ(fit.points().point(2), MVector3d(7, 8, 9));
    EXPECT_EQ(fit.points().numColors(), 0);
    EXPECT_EQ(fit.points().numNormals(), 0);
    EXPECT_FALSE(fit.points().isOrganized2d());

    // A second call replaces the points of the first.
    fit.setPoints(cloudOf({{-1, -1, -1}}));
    ASSERT_EQ(fit.points().numPoints(), 1);
    EXPECT_EQ(fit.points().point(0), MVector3d(-1, -1, -1));
    fit.setPoints(MPointCloud());
    EXPECT_EQ(fit.points().numPoints(), 0);
}

TEST(MBestFit, ComputeRunsOneOutlierPassOnlyWithAPositiveFactor)
{
    CountingFit fit;
    fit.setPoints(cloudOf({{0, 0, 0}, {1, 0, 0}}));
    fit.compute(0.0);
    EXPECT_EQ(fit.fits, 1);
    fit.compute(-1.0);
    fit.compute(NaN);
    EXPECT_EQ(fit.fits, 3);
    fit.compute(1.0);
    EXPECT_EQ(fit.fits, 5);
    // fitFast is the full fit unless a fit replaces it.
    fit.fitFast();
    EXPECT_EQ(fit.fits, 6);
}

TEST(MBestFit, OutlierPassDropsTheFarPointAndRefits)
{
    // A noisy plane z = +-0.01 and one point 10 above it.
    std::vector<MVector3d> points;
    for (int i = 0; i < 10; ++i)
        for (int j = 0; j < 10; ++j)
            points.emplace_back(i, j, (i + j) % 2 ? 0.01 : -0.01);
    points.emplace_back(4.5, 4.5, 10.0);

    MPlaneFit fit;
    fit.setPoints(cloudOf(points));
    fit.compute(2.0);
    EXPECT_EQ(fit.points().numPoints(), 100);
    EXPECT_TRUE(near(fit.result().normal(), MVector3d(0, 0, 1), 1e-12));
    EXPECT_NEAR(fit.result().position().z(), 0.0, 1e-15);

    // Without the pass the outlier lifts the plane.
    fit.setPoints(cloudOf(points));
    fit.compute(0.0);
    EXPECT_EQ(fit.points().numPoints(), 101);
    EXPECT_GT(fit.result().position().z(), 0.05);
}

TEST(MBestFit, OutlierPassRunsExactlyOnce)
{
    // Far outlier at 100 and a moderate one at 3: the first pass, measured on
    // a plane lifted by the far one, keeps the moderate one; a second pass
    // would drop it.
    std::vector<MVector3d> points;
    for (int i = 0; i < 30; ++i)
        for (int j = 0; j < 30; ++j)
            points.emplace_back(i, j, 0.0);
    points.emplace_back(14.5, 14.5, 100.0);
    points.emplace_back(14.5, 14.5, 3.0);

    MPlaneFit fit;
    fit.setPoints(cloudOf(points));
    fit.compute(1.0);
    ASSERT_EQ(fit.points().numPoints(), 901);
    EXPECT_EQ(fit.points().point(900), MVector3d(14.5, 14.5, 3.0));
    EXPECT_NEAR(fit.result().position().z(), 3.0 / 901, 1e-12);
}

TEST(MBestFit, OutlierBandIsCentredAtZeroNotAtTheMeanDistance)
{
    // Unsigned distances 1 and 2 from the x axis: mean 1.5, deviation 0.5.
    // A band of two deviations about the mean would keep every point; the
    // band about 0 keeps only those at distance 1.
    std::vector<MVector3d> points;
    for (int i = 0; i < 10; ++i) {
        const double r = i % 2 ? 2.0 : 1.0;
        points.emplace_back(i, r, 0.0);
        points.emplace_back(i, -r, 0.0);
        points.emplace_back(i, 0.0, r);
        points.emplace_back(i, 0.0, -r);
    }
    MLineFit fit;
    fit.setPoints(cloudOf(points));
    fit.compute(2.5);
    EXPECT_EQ(fit.points().numPoints(), 20);
    for (int i = 0; i < fit.points().numPoints(); ++i)
        EXPECT_NEAR(fit.result().distance(fit.points().point(i)), 1.0, 1e-12);

    // Points all at one distance leave a band of width 0: nothing survives,
    // and the second fit fails.
    std::vector<MVector3d> tube;
    for (int i = 0; i < 6; ++i)
        for (const MVector3d &radial : {MVector3d(0, 1, 0), MVector3d(0, -1, 0), MVector3d(0, 0, 1), MVector3d(0, 0, -1)})
            tube.push_back(MVector3d(i, 0, 0) + radial);
    fit.setPoints(cloudOf(tube));
    fit.compute(1.0);
    EXPECT_EQ(fit.points().numPoints(), 0);
    EXPECT_FALSE(fit.result().isValid());
    test::ScopedExceptions on;
    fit.setPoints(cloudOf(tube));
    EXPECT_MEXCEPTION(fit.compute(1.0), "LineFit: not enough valid points given (minimum required: 2)");
}

TEST(MBestFit, InvalidResultEndsComputeBeforeTheOutlierPass)
{
    test::ScopedExceptions on;
    MLineFit fit;
    fit.setPoints(cloudOf({{1, 2, 3}, {1, 2, 3}}));
    fit.compute(2.0);
    EXPECT_FALSE(fit.result().isValid());
    EXPECT_EQ(fit.points().numPoints(), 2);
}

TEST(MPointFit, CentroidOfTheValidPointsFarFromTheOrigin)
{
    const MVector3d offset(1e6, -2e6, 3e6);
    MPointFit fit;
    fit.setPoints(cloudOf({offset + MVector3d(0.1, 0.2, 0.3), MVector3d(), offset + MVector3d(0.3, -0.2, 0.6),
                           MVector3d(NaN, 0, 0), offset + MVector3d(0.2, 0.3, 0.0)}));
    fit.compute(0.0);
    EXPECT_TRUE(near(fit.result(), offset + MVector3d(0.2, 0.1, 0.3), 1e-9));

    // One or two points: the point itself, the midpoint.
    fit.setPoints(cloudOf({offset}));
    fit.compute(0.0);
    EXPECT_EQ(fit.result(), offset);
    fit.setPoints(cloudOf({MVector3d(1, 2, 3), MVector3d(3, 2, 1)}));
    fit.compute(0.0);
    EXPECT_EQ(fit.result(), MVector3d(2, 2, 2));
}

TEST(MPointFit, NoValidPointMarksOnlyTheFirstWordOfTheLastResult)
{
    MPointFit fit;
    fit.setPoints(cloudOf({{1, 1, 1}}));
    fit.compute(0.0);
    fit.setPoints(cloudOf({MVector3d(), MVector3d(0, NaN, 0)}));
    fit.compute(0.0);
    EXPECT_FALSE(fit.result().isValid());
    EXPECT_EQ(fit.result().y(), 1.0); // only the first word is marked
}
