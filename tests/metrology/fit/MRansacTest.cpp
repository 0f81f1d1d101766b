#include "FitTestSupport.h"
#include "MAngle.h"
#include "MCircleRansac.h"
#include "MLineRansac.h"
#include "MPlaneRansac.h"
#include "MPointRansac.h"
#include "MSphereRansac.h"
#include "PointCloudSamples.h"
#include "TestSupport.h"
#include "metrology/fit/detail/MRansacSampling.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>

using namespace ZOLAR3D;
using test::near;
using test::parallel;

namespace {

const char *const NotEnoughPoints = "Ransac: not enough points for this type of geometry!";

// count points on the circle of radius r about centre in the plane z = centre.z.
void addRing(MPointCloud &cloud, const MVector3d &centre, double r, int count)
{
    for (int i = 0; i < count; ++i) {
        const double angle = MAngle::TwoPi * i / count;
        cloud.add(centre + MVector3d(r * std::cos(angle), r * std::sin(angle), 0.0));
    }
}

// count points from start along the unit direction, spaced step.
void addLine(MPointCloud &cloud, const MVector3d &start, const MVector3d &direction, int count, double step)
{
    for (int i = 0; i < count; ++i)
        cloud.add(start + direction * (step * i));
}

MPointCloud sphereCloud(const MVector3d &centre, double r, int count)
{
    MPointCloud cloud;
    cloud.from(MSphere(centre, r), count);
    cloud.clearNormals();
    return cloud;
}

// A plane ransac that accepts every hypothesis of three points, which has no
// in-plane axes, and refuses every refit, which has them.
class RefitRefusingRansac : public MPlaneRansac {
public:
    bool isValidModel(const MPlane &model) const override { return MPlaneRansac::isValidModel(model) && !model.u().isValid(); }
};

} // namespace

// ---- Sampling

TEST(MRansacSampling, SpreadIndexWrapsTheProductInThirtyTwoBits)
{
    // 65536 * 32768 = 2^31 wraps to -2^31; its remainder -3648 moves up by n.
    EXPECT_EQ(detail::ransacSpreadIndex(65536, 32768, 40000), 36352);
    // 65537² = 2^32 + 2^17 + 1 wraps to 131073.
    EXPECT_EQ(detail::ransacSpreadIndex(65537, 65537, 100000), 31073);
    EXPECT_EQ(detail::ransacSpreadIndex(3, 5, 40000), 15);
    // (2^31 - 1)(2^31 - 2) wraps to 2 - 2^31, whose remainder moves up to 1.
    EXPECT_EQ(detail::ransacSpreadIndex(2147483647, 2147483646, 2147483647), 1);
}

TEST(MRansacSampling, SpreadIndexAlwaysLiesInTheCloud)
{
    std::mt19937 engine(11);
    std::uniform_int_distribution<int> draw(0, 2147483647);
    for (int n : {32768, 40000, 1000003, 2147483647}) {
        for (int k = 0; k < 20000; ++k) {
            const int index = detail::ransacSpreadIndex(draw(engine), draw(engine) % n, n);
            ASSERT_GE(index, 0);
            ASSERT_LT(index, n);
        }
    }
}

TEST(MRansacSampling, SampleDrawsOncePerPlaceUpTo32767PointsAndTwiceBeyond)
{
    for (int n : {100, 32767, 32768, 100000}) {
        // An invalid first point is dropped, so valid point i has x = i + 1.
        MPointCloud cloud(1);
        for (int i = 0; i < n; ++i)
            cloud.add(i + 1.0, 0.0, 0.0);
        MSphereRansac ransac;
        ransac.setPoints(cloud);
        ASSERT_EQ(ransac.points().numPoints(), n);
        MPointCloud sample;
        std::srand(12345u);
        ransac.sample(sample);
        ASSERT_EQ(sample.numPoints(), 4);
        std::srand(12345u);
        for (int k = 0; k < 4; ++k) {
            int index = std::rand() % n;
            if (n > 32767)
                index = detail::ransacSpreadIndex(std::rand(), index, n);
            EXPECT_EQ(sample[k].x(), index + 1.0) << "n = " << n << ", place " << k;
        }
    }
}

TEST(MRansacSampling, EmptyCloudGivesEmptySample)
{
    MPlaneRansac ransac;
    MPointCloud sample(5);
    ransac.sample(sample);
    EXPECT_EQ(sample.numPoints(), 0);
}

// ---- Frame

TEST(MRansac, SampleSizesAndSettersThatIgnoreNonPositiveCounts)
{
    MLineRansac line;
    EXPECT_EQ(line.sampleSize(), 2);
    EXPECT_EQ(MPlaneRansac().sampleSize(), 3);
    EXPECT_EQ(MCircleRansac().sampleSize(), 3);
    EXPECT_EQ(MSphereRansac().sampleSize(), 4);
    EXPECT_EQ(MPointRansac().sampleSize(), 1);

    line.setMaxModels(0);
    line.setMaxModels(-3);
    line.setNumIterations(0);
    line.setNumIterations(-1);
    EXPECT_EQ(line.maxModels(), 1);
    EXPECT_EQ(line.numIterations(), 1000);
    line.setMaxModels(4);
    line.setNumIterations(7);
    EXPECT_EQ(line.maxModels(), 4);
    EXPECT_EQ(line.numIterations(), 7);
}

TEST(MRansac, TooFewValidPointsFailWithTheirTextOrAnEmptyResult)
{
    MPointCloud cloud;
    cloud.add(0, 0, 0);
    cloud.add(1, 0, 0);
    cloud.add(MVector3d::Infinity);
    cloud.add(std::numeric_limits<double>::quiet_NaN(), 1, 1);
    cloud.add(0, 1, MInvalid);
    MPlane planes[2] = {MPlane::X, MPlane::X};
    MSphere spheres[1] = {MSphere(MVector3d(1, 2, 3), 4)};
    {
        test::ScopedExceptions off(false);
        MPlaneRansac ransac;
        ransac.setPoints(cloud);
        EXPECT_EQ(ransac.points().numPoints(), 2);
        ransac.run();
        EXPECT_TRUE(ransac.models().empty());
        EXPECT_FALSE(cloud.ransacBestPlane(0.1).isValid());
        EXPECT_FALSE(cloud.ransacBestCircle(0, 10, 0.1).isValid());
        EXPECT_FALSE(cloud.ransacBestSphere(0, 10, 0.1).isValid());
        EXPECT_EQ(cloud.ransacAllPlanes(0.1, planes, 2, 10), 0);
        EXPECT_EQ(cloud.ransacAllSpheres(0, 10, 0.1, spheres, 1, 10), 0);
        EXPECT_TRUE(planes[0] == MPlane::X && planes[1] == MPlane::X);
        EXPECT_TRUE(spheres[0] == MSphere(MVector3d(1, 2, 3), 4));
        // Two points make a line.
        EXPECT_TRUE(cloud.ransacBestLine(0.1).isValid());
    }
    test::ScopedExceptions on;
    EXPECT_MEXCEPTION(cloud.ransacBestPlane(0.1), NotEnoughPoints);
    EXPECT_MEXCEPTION(cloud.ransacAllCircles(0, 10, 0.1, nullptr, 2, 10), NotEnoughPoints);
    EXPECT_MEXCEPTION(cloud.ransacBestSphere(0, 10, 0.1), NotEnoughPoints);
    EXPECT_MEXCEPTION(MPointCloud().ransacBestLine(0.1), NotEnoughPoints);
    MPointRansac points;
    EXPECT_MEXCEPTION(points.run(), NotEnoughPoints);
}

TEST(MRansac, ModelWhoseRefitFailsIsValidModelKeepsCountZeroAndNeverComesBack)
{
    MPointCloud cloud;
    test::addGrid(cloud, 10, 10, 1.0, MVector3d(0, 0, 0), MVector3d(1, 0, 0), MVector3d(0, 1, 0));
    RefitRefusingRansac ransac;
    ransac.setPoints(cloud);
    ransac.setNumIterations(50);
    ransac.run();
    EXPECT_TRUE(ransac.models().empty());
    ransac.setMaxModels(3);
    ransac.run();
    EXPECT_TRUE(ransac.models().empty());
}

// ---- Planes

TEST(MRansacPlane, FindsThePlaneAmongOutliersAsTheFitOfItsInliers)
{
    const MVector3d a = MVector3d(1, 0, 0.1).normalized(), b = MVector3d(0, 1, -0.2).normalized();
    const MVector3d normal = a.cross(b).normalized();
    MPointCloud grid;
    test::addGrid(grid, 25, 25, 1.0, MVector3d(-3, 2, 5), a * 0.5, b * 0.5);
    MPointCloud cloud = grid;
    test::RandomGeometry random(3);
    while (cloud.numPoints() < 625 + 300) {
        const MVector3d p = MVector3d(-3, 2, 5) + random.point(15.0);
        if (std::fabs((p - grid[0]).dot(normal)) > 1.0)
            cloud.add(p);
    }

    const MPlane plane = cloud.ransacBestPlane(0.05);
    EXPECT_TRUE(plane == grid.fitPlane());
    EXPECT_TRUE(parallel(plane.normal(), normal, 1e-12));
    EXPECT_EQ(cloud.selectDistanceRange(plane, -0.05, 0.05).regionSize(0), 625);

    MPlaneRansac ransac;
    ransac.setThreshold(0.05);
    ransac.setPoints(cloud);
    ransac.run();
    ASSERT_EQ(ransac.models().size(), 1u);
    EXPECT_EQ(ransac.models().front().count, 625);
}

TEST(MRansacPlane, NegativeThresholdCountsInPointSpacings)
{
    // Two layers of spacing 1, 1.9 apart: a band of 2 holds both layers
    // around either of them, a band of 1.8 cannot hold all points around any
    // plane through three of them.
    MPointCloud cloud;
    test::addGrid(cloud, 20, 20, 1.0, MVector3d(0, 0, 0), MVector3d(1, 0, 0), MVector3d(0, 1, 0));
    test::addGrid(cloud, 20, 20, 1.0, MVector3d(0, 0, 1.9), MVector3d(1, 0, 0), MVector3d(0, 1, 0));
    ASSERT_EQ(cloud.averagePointDistance(1000), 1.0);
    const MPlane all = cloud.fitPlane();
    EXPECT_TRUE(cloud.ransacBestPlane(-2.0) == all);
    EXPECT_TRUE(cloud.ransacBestPlane(2.0) == all);
    EXPECT_FALSE(cloud.ransacBestPlane(-1.8) == all);
    EXPECT_FALSE(cloud.ransacBestPlane(1.8) == all);
    MPlane planes[1];
    EXPECT_EQ(cloud.ransacAllPlanes(-2.0, planes, 1, 100), 1);
    EXPECT_TRUE(planes[0] == all);
}

namespace {

// A floor of 400 points at z = 0, a wall of 324 at x = 60 and a shelf of
// 300 parallel to the floor at the given height. The wall lies well below
// the floor, so that no plane close to the floor or the shelf meets it.
MPointCloud floorWallAndShelf(double shelfHeight)
{
    MPointCloud cloud;
    test::addGrid(cloud, 20, 20, 1.0, MVector3d(0, 0, 0), MVector3d(1, 0, 0), MVector3d(0, 1, 0));
    test::addGrid(cloud, 18, 18, 1.0, MVector3d(60, 0, -30), MVector3d(0, 1, 0), MVector3d(0, 0, 1));
    test::addGrid(cloud, 20, 15, 1.0, MVector3d(2.5, 2.5, shelfHeight), MVector3d(1, 0, 0), MVector3d(0, 1, 0));
    return cloud;
}

} // namespace

TEST(MRansacPlane, ParallelPlanesCloserThanTwentyBandsComeBackAsOne)
{
    MPlane planes[3];
    const MPointCloud near = floorWallAndShelf(3.0);
    ASSERT_EQ(near.ransacAllPlanes(0.5, planes, 2, 300), 2);
    EXPECT_TRUE(parallel(planes[0].normal(), MVector3d(0, 0, 1), 1e-12));
    EXPECT_NEAR(planes[0].position().z(), 0.0, 1e-12);
    EXPECT_TRUE(parallel(planes[1].normal(), MVector3d(1, 0, 0), 1e-12));

    const MPointCloud apart = floorWallAndShelf(15.0);
    ASSERT_EQ(apart.ransacAllPlanes(0.5, planes, 3, 300), 3);
    EXPECT_NEAR(planes[0].position().z(), 0.0, 1e-12);
    EXPECT_NEAR(planes[1].position().x(), 60.0, 1e-12);
    EXPECT_TRUE(parallel(planes[2].normal(), MVector3d(0, 0, 1), 1e-12));
    EXPECT_NEAR(planes[2].position().z(), 15.0, 1e-12);
}

TEST(MRansacPlane, AllPlanesCountRules)
{
    const MPointCloud cloud = floorWallAndShelf(15.0);
    MPlane planes[3];
    // k x c = 0 keeps 1000 hypotheses; k = 2 shapes are wanted.
    EXPECT_EQ(cloud.ransacAllPlanes(0.5, planes, 2, 0), 2);
    EXPECT_NEAR(planes[0].position().z(), 0.0, 1e-12);
    EXPECT_NEAR(planes[1].position().x(), 60.0, 1e-12);

    // k = 0 keeps one shape wanted, and that one is written.
    planes[0] = planes[1] = MPlane::X;
    EXPECT_EQ(cloud.ransacAllPlanes(0.5, planes, 0, 500), 1);
    EXPECT_NEAR(planes[0].position().z(), 0.0, 1e-12);
    EXPECT_TRUE(planes[1] == MPlane::X);
    // A positive product of two negative counts sets the hypotheses alone.
    EXPECT_EQ(cloud.ransacAllPlanes(0.5, planes, -2, -500), 1);
    // Without an array the shapes are only counted.
    EXPECT_EQ(cloud.ransacAllPlanes(0.5, nullptr, 3, 300), 3);
}

TEST(MRansacPlane, SimilarityByDistanceAndAngle)
{
    MPlaneRansac ransac;
    ransac.setThreshold(0.5);
    const MPlane floor(MVector3d(0, 0, 0), MVector3d(0, 0, 1));
    EXPECT_TRUE(ransac.isSimilar(floor, MPlane(MVector3d(50, 0, 9.9), MVector3d(0, 0, -1))));
    EXPECT_FALSE(ransac.isSimilar(floor, MPlane(MVector3d(0, 0, 10.1), MVector3d(0, 0, 1))));
    EXPECT_TRUE(ransac.isSimilar(floor, MPlane(MVector3d(0, 0, 0), MVector3d(0, std::sin(0.17), std::cos(0.17)))));
    EXPECT_FALSE(ransac.isSimilar(floor, MPlane(MVector3d(0, 0, 0), MVector3d(0, std::sin(0.18), std::cos(0.18)))));
}

// ---- Lines

namespace {

struct ThreeLines {
    MPointCloud cloud, first, second, third;
};

// 101 points along x, 61 at 30 degrees to it, 41 parallel to the first at
// distance 2, and outliers at least 1 away from the plane z = 0 of the lines.
ThreeLines threeLines()
{
    ThreeLines lines;
    addLine(lines.first, MVector3d(0, 0, 0), MVector3d(1, 0, 0), 101, 0.1);
    const MVector3d slanted(std::cos(MAngle::Pi / 6), std::sin(MAngle::Pi / 6), 0);
    addLine(lines.second, MVector3d(5, 3, 0) - slanted * 3.0, slanted, 61, 0.1);
    addLine(lines.third, MVector3d(1, -2, 0), MVector3d(1, 0, 0), 41, 0.1);
    lines.cloud = lines.first + lines.second + lines.third;
    test::RandomGeometry random(5);
    for (int i = 0; i < 60; ++i) {
        MVector3d p = MVector3d(5, 0, 0) + random.point(6.0);
        p.setZ(p.z() < 0 ? p.z() - 1.0 : p.z() + 1.0);
        lines.cloud.add(p);
    }
    return lines;
}

} // namespace

TEST(MRansacLine, BestLineAndLinesAtAnAngleToAReference)
{
    const ThreeLines lines = threeLines();
    EXPECT_TRUE(lines.cloud.ransacBestLine(0.05) == lines.first.fitLine());

    const MLine reference(MVector3d(0, 0, 0), MVector3d(1, 0, 0));
    const double deg = MAngle::DegToRad(1.0);
    EXPECT_TRUE(lines.cloud.ransacBestRelativeLine(reference, 20 * deg, 40 * deg, 0.05) == lines.second.fitLine());
    // The reference itself is refused; the parallel line 2 away is not similar.
    EXPECT_TRUE(lines.cloud.ransacBestRelativeLine(reference, 0.0, 10 * deg, 0.05) == lines.third.fitLine());
    // Directions count with their signs: no line points against the reference.
    const MLine backwards(MVector3d(0, 0, 0), MVector3d(-1, 0, 0));
    EXPECT_FALSE(lines.cloud.ransacBestRelativeLine(backwards, 0.0, 10 * deg, 0.05).isValid());
    EXPECT_TRUE(lines.cloud.ransacBestRelativeLine(backwards, 170 * deg, 180 * deg, 0.05) == lines.first.fitLine());

    MLine found[4];
    ASSERT_EQ(lines.cloud.ransacAllLines(0.05, found, 3, 300), 3);
    EXPECT_TRUE(found[0] == lines.first.fitLine());
    EXPECT_TRUE(found[1] == lines.second.fitLine());
    EXPECT_TRUE(found[2] == lines.third.fitLine());
}

TEST(MRansacLine, SimilarityByDistanceInBandsOrAbsoluteAndByAngle)
{
    MLineRansac ransac;
    ransac.setThreshold(0.1);
    const MLine x(MVector3d(0, 0, 0), MVector3d(1, 0, 0));
    EXPECT_TRUE(ransac.isSimilar(x, MLine(MVector3d(0, 0.49, 0), MVector3d(1, 0, 0))));
    EXPECT_FALSE(ransac.isSimilar(x, MLine(MVector3d(0, 0.51, 0), MVector3d(1, 0, 0))));
    EXPECT_TRUE(ransac.isSimilar(x, MLine(MVector3d(0, 0, 0), MVector3d(1, 0.17, 0))));
    EXPECT_FALSE(ransac.isSimilar(x, MLine(MVector3d(0, 0, 0), MVector3d(1, 0.18, 0))));
    ransac.setSimilarDistance(2.0);
    EXPECT_TRUE(ransac.isSimilar(x, MLine(MVector3d(0, 0, 1.99), MVector3d(1, 0, 0))));
    ransac.setSimilarAngle(MAngle::DegToRad(20.0));
    EXPECT_TRUE(ransac.isSimilar(x, MLine(MVector3d(0, 0, 0), MVector3d(1, 0.35, 0))));
}

// ---- Circles and spheres

TEST(MRansacCircle, CircleAndSphereSearchesKeepTheBandOfHalfWhateverTheThreshold)
{
    // Rings 0.45 inside and outside the middle one: a band of 0.5 around the
    // middle ring holds all three, and a far line of outliers joins only a
    // band of 100.
    MPointCloud rings;
    const MVector3d centre(1, 2, 3);
    for (double r : {7.0, 6.55, 7.45})
        addRing(rings, centre, r, 60);
    MPointCloud cloud = rings;
    addLine(cloud, centre + MVector3d(-20, 0, 20), MVector3d(1, 0, 0), 40, 1.0);
    const MCircle expected = rings.fitCircle(0.0);
    ASSERT_NEAR(expected.radius(), 7.0, 0.01);
    EXPECT_TRUE(cloud.ransacBestCircle(5, 10, 100) == expected);
    EXPECT_TRUE(cloud.ransacBestCircle(5, 10, -3.0) == expected);
    EXPECT_TRUE(cloud.ransacBestCircle(5, 10, 0.01) == expected);

    MPointCloud shells = sphereCloud(centre, 4.0, 200) + sphereCloud(centre, 3.6, 200) + sphereCloud(centre, 4.4, 200);
    const MSphere sphere = shells.fitSphere(0.0);
    shells += sphereCloud(centre + MVector3d(0, 0, 30), 6.0, 100);
    EXPECT_TRUE(shells.ransacBestSphere(3, 5, 100) == sphere);
    EXPECT_TRUE(shells.ransacBestSphere(3, 5, -2.0) == sphere);
}

TEST(MRansacCircle, RadiusBoundsChooseTheCircle)
{
    MPointCloud large, small;
    addRing(large, MVector3d(0, 0, 0), 7.0, 90);
    addRing(small, MVector3d(30, 0, 0), 2.0, 45);
    const MPointCloud cloud = large + small;
    EXPECT_TRUE(cloud.ransacBestCircle(5, 10, 0) == large.fitCircle(0.0));
    EXPECT_TRUE(cloud.ransacBestCircle(1, 3, 0) == small.fitCircle(0.0));

    MCircle circles[3];
    ASSERT_EQ(cloud.ransacAllCircles(1, 10, 0, circles, 2, 300), 2);
    EXPECT_TRUE(circles[0] == large.fitCircle(0.0));
    EXPECT_TRUE(circles[1] == small.fitCircle(0.0));
}

TEST(MRansacCircle, SimilarityComparesRadiiPlanesAndCentresAsGiven)
{
    MCircleRansac ransac;
    const MCircle a(MVector3d(0, 0, 0), MVector3d(0, 0, 1), 10.0);
    EXPECT_TRUE(ransac.isSimilar(a, MCircle(MVector3d(0, 0, 0), MVector3d(0, 0, 1), 11.0)));
    EXPECT_FALSE(ransac.isSimilar(a, MCircle(MVector3d(0, 0, 0), MVector3d(0, 0, 1), 12.5)));
    // The squared offset in the plane is held against 0.5 m: 2.2² = 4.84 <= 5.
    EXPECT_TRUE(ransac.isSimilar(a, MCircle(MVector3d(2.2, 0, 0), MVector3d(0, 0, 1), 10.0)));
    EXPECT_FALSE(ransac.isSimilar(a, MCircle(MVector3d(2.3, 0, 0), MVector3d(0, 0, 1), 10.0)));
    // The plane distance is signed: a centre 5 below the plane passes that
    // test both ways when the normals face away from the other centre.
    EXPECT_TRUE(ransac.isSimilar(a, MCircle(MVector3d(0, 0, -5), MVector3d(0, 0, -1), 10.0)));
    EXPECT_FALSE(ransac.isSimilar(a, MCircle(MVector3d(0, 0, 5), MVector3d(0, 0, 1), 10.0)));
    EXPECT_FALSE(ransac.isSimilar(a, MCircle(MVector3d(0, 0, 0), MVector3d(0, std::sin(0.18), std::cos(0.18)), 10.0)));
}

TEST(MRansacSphere, SpheresWithinTheRadiusBoundsMostPointsFirst)
{
    const MPointCloud large = sphereCloud(MVector3d(0, 0, 0), 4.0, 300);
    const MPointCloud small = sphereCloud(MVector3d(20, 0, 0), 1.5, 200);
    const MPointCloud cloud = large + small;
    EXPECT_TRUE(cloud.ransacBestSphere(3, 5, 0) == large.fitSphere(0.0));
    EXPECT_TRUE(cloud.ransacBestSphere(1, 2, 0) == small.fitSphere(0.0));
    MSphere spheres[2];
    ASSERT_EQ(cloud.ransacAllSpheres(1, 5, 0, spheres, 2, 300), 2);
    EXPECT_TRUE(spheres[0] == large.fitSphere(0.0));
    EXPECT_TRUE(spheres[1] == small.fitSphere(0.0));

    MSphereRansac ransac;
    const MSphere a(MVector3d(0, 0, 0), 10.0);
    EXPECT_TRUE(ransac.isSimilar(a, MSphere(MVector3d(0, 0, 4.9), 11.0)));
    EXPECT_FALSE(ransac.isSimilar(a, MSphere(MVector3d(0, 0, 5.6), 11.0)));
    EXPECT_FALSE(ransac.isSimilar(a, MSphere(MVector3d(0, 0, 0), 12.5)));
}

// ---- Points

TEST(MPointRansac, EachClusterComesBackOnceMostPointsFirst)
{
    const MVector3d centres[3] = {MVector3d(0, 0, 0), MVector3d(5, 0, 0), MVector3d(0, 5, 1)};
    const int sizes[3] = {100, 60, 30};
    test::RandomGeometry random(9);
    MPointCloud cloud, clusters[3];
    for (int k = 0; k < 3; ++k)
        for (int i = 0; i < sizes[k]; ++i)
            clusters[k].add(centres[k] + random.point(0.05));
    cloud = clusters[2] + clusters[0] + clusters[1];

    MPointRansac ransac;
    ransac.setThreshold(0.5);
    ransac.setMaxModels(5);
    ransac.setNumIterations(200);
    ransac.setPoints(cloud);
    ransac.run();
    ASSERT_EQ(ransac.models().size(), 3u);
    for (int k = 0; k < 3; ++k) {
        EXPECT_EQ(ransac.models()[k].count, sizes[k]);
        EXPECT_TRUE(near(ransac.models()[k].shape, clusters[k].centroid(), 1e-12));
    }
    EXPECT_TRUE(ransac.isSimilar(MVector3d(0, 0, 0), MVector3d(0.99, 0, 0)));
    EXPECT_FALSE(ransac.isSimilar(MVector3d(0, 0, 0), MVector3d(1.0, 0, 0)));
}
