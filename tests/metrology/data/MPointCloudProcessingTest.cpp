#include "MAngle.h"
#include "MPlane.h"
#include "MPointCloud.h"
#include "PointCloudSamples.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fstream>
#include <limits>
#include <sstream>
#include <string>
#include <random>
#include <vector>

using namespace ZOLAR3D;

namespace {

const double Marker = 3.4028234663852886e38;
const double NaN = std::numeric_limits<double>::quiet_NaN();

// A rows x cols grid of the given spacing in the plane through origin spanned
// by the unit vectors u and v.
MPointCloud planeGrid(int rows, int cols, double spacing, const MVector3d &origin = MVector3d(0, 0, 0),
                      const MVector3d &u = MVector3d::XUnit, const MVector3d &v = MVector3d::YUnit)
{
    MPointCloud cloud;
    test::addGrid(cloud, rows, cols, spacing, origin, u, v);
    cloud.setOrganized2d(rows, cols);
    return cloud;
}

MPointCloud spherePoints(int n, double radius, const MVector3d &centre)
{
    MPointCloud cloud;
    test::addSphere(cloud, n, radius, centre);
    return cloud;
}

// A cylinder about the x axis, sampled in rings.
MPointCloud cylinderPoints(int rings, int perRing, double radius, double ringSpacing)
{
    MPointCloud cloud;
    for (int k = 0; k < rings; ++k)
        for (int j = 0; j < perRing; ++j) {
            const double a = MAngle::TwoPi * (j + 0.5 * (k % 2)) / perRing;
            cloud.add(k * ringSpacing, radius * std::cos(a), radius * std::sin(a));
        }
    return cloud;
}

MPointCloud randomCloud(int n, double size, unsigned seed)
{
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> coordinate(0.0, size);
    MPointCloud cloud;
    for (int i = 0; i < n; ++i)
        cloud.add(coordinate(random), coordinate(random), coordinate(random));
    return cloud;
}

// The analytic normal turned towards +Z, as the normals are oriented.
MVector3d upward(MVector3d n)
{
    n.normalize();
    return n.z() < 0.0 ? -n : n;
}

bool sameBits(const MPointCloud &a, const MPointCloud &b)
{
    return a.numPoints() == b.numPoints() &&
           std::memcmp(a.points(), b.points(), sizeof(MVector3d) * std::size_t(a.numPoints())) == 0;
}

double zRms(const MPointCloud &cloud)
{
    double sum = 0.0;
    for (int i = 0; i < cloud.numPoints(); ++i)
        sum += cloud.point(i).z() * cloud.point(i).z();
    return std::sqrt(sum / cloud.numPoints());
}

} // namespace

// ---- Spacing and density

TEST(MPointCloudSpacing, AveragePointDistanceMatchesBruteForceWhenEveryPointIsSampled)
{
    const MPointCloud cloud = randomCloud(600, 10.0, 3);
    double sum = 0.0;
    for (int i = 0; i < cloud.numPoints(); ++i) {
        double best = Marker;
        for (int j = 0; j < cloud.numPoints(); ++j)
            if (j != i)
                best = std::min(best, cloud.point(i).distance(cloud.point(j)));
        sum += best;
    }
    EXPECT_NEAR(cloud.averagePointDistance(5000), sum / cloud.numPoints(), 1e-12);
}

TEST(MPointCloudSpacing, AveragePointDistanceOfAGridIsItsSpacingWhateverCoincides)
{
    EXPECT_NEAR(planeGrid(40, 50, 0.25).averagePointDistance(1000), 0.25, 1e-12);
    EXPECT_NEAR(planeGrid(40, 50, 0.25).averagePointDistance(7), 0.25, 1e-12);
    // Coinciding points are no neighbours.
    MPointCloud doubled = planeGrid(20, 20, 2.0);
    doubled.integrate(planeGrid(20, 20, 2.0));
    EXPECT_NEAR(doubled.averagePointDistance(1000), 2.0, 1e-12);

    MPointCloud sameSpot;
    for (int i = 0; i < 100; ++i)
        sameSpot.add(1, 2, 3);
    EXPECT_EQ(sameSpot.averagePointDistance(1000), 0.0);
}

TEST(MPointCloudSpacing, AveragePointDistanceWithoutNeighboursIsZero)
{
    EXPECT_EQ(MPointCloud().averagePointDistance(1000), 0.0);
    EXPECT_EQ(MPointCloud(50).averagePointDistance(1000), 0.0);
    MPointCloud single;
    single.add(1, 1, 1);
    single.add(NaN, 0, 0);
    EXPECT_EQ(single.averagePointDistance(1000), 0.0);
    EXPECT_EQ(planeGrid(5, 5, 1.0).averagePointDistance(0), 0.0);
}

TEST(MPointCloudSpacing, DensityOfAUnitGridIsAboutOnePointPerUnitArea)
{
    const double density = planeGrid(300, 300, 1.0).density();
    EXPECT_GT(density, 0.9);
    EXPECT_LT(density, 1.02);
    EXPECT_NEAR(planeGrid(300, 300, 0.5).density(), 4.0 * density, 1e-9);
    EXPECT_EQ(MPointCloud().density(), 0.0);
}

TEST(MPointCloudSpacing, DensityIsTheMeanDensityWithinFourSpacings)
{
    // Up to 1000 valid points every point is a sample.
    MPointCloud cloud = randomCloud(700, 10.0, 12);
    cloud.invalidatePoint(3);
    const double radius = 4.0 * cloud.averagePointDistance(1000);
    double sum = 0.0;
    for (int i = 0; i < cloud.numPoints(); ++i) {
        if (!cloud.point(i).isValid())
            continue;
        for (int j = 0; j < cloud.numPoints(); ++j) {
            const MVector3d d = cloud.point(j) - cloud.point(i);
            sum += cloud.point(j).isValid() && d.dot(d) <= radius * radius ? 1.0 : 0.0;
        }
    }
    EXPECT_NEAR(cloud.density(), sum / (699 * MAngle::Pi * radius * radius), 1e-12);
}

TEST(MPointCloudSpacing, NeighbourCountsAndDensitiesMatchBruteForce)
{
    MPointCloud cloud = randomCloud(1500, 10.0, 11);
    cloud.setPoint(7, MVector3d(NaN, 1, 1));
    cloud.invalidatePoint(8);
    cloud.setPoint(9, cloud.point(10)); // a duplicate
    const double radius = 1.3;
    std::vector<int> counts(cloud.numPoints());
    std::vector<double> densities(cloud.numPoints());
    cloud.computeNumNeighbors(counts.data(), radius);
    cloud.computePointDensities(densities.data(), radius);
    for (int i = 0; i < cloud.numPoints(); ++i) {
        const MVector3d p = cloud.point(i);
        if (!p.isValid()) {
            EXPECT_EQ(counts[i], 0);
            EXPECT_EQ(densities[i], Marker);
            continue;
        }
        int inBall = 0;
        for (int j = 0; j < cloud.numPoints(); ++j) {
            const MVector3d d = cloud.point(j) - p;
            inBall += cloud.point(j).isValid() && d.dot(d) <= radius * radius ? 1 : 0;
        }
        ASSERT_EQ(counts[i], inBall - 1) << i;
        ASSERT_DOUBLE_EQ(densities[i], inBall / (MAngle::Pi * radius * radius)) << i;
    }
}

TEST(MPointCloudSpacing, NegativeRadiiCountInPointSpacings)
{
    const MPointCloud grid = planeGrid(30, 30, 0.5);
    std::vector<int> relative(grid.numPoints()), absolute(grid.numPoints());
    grid.computeNumNeighbors(relative.data(), -2.1);
    grid.computeNumNeighbors(absolute.data(), 1.05);
    EXPECT_EQ(relative, absolute);
    EXPECT_EQ(relative[15 * 30 + 15], 12); // the 3x3 block and the four at distance 2
}

TEST(MPointCloudSpacing, ZeroRadiusCountsCoincidingPointsAndHasNoDensity)
{
    MPointCloud cloud = planeGrid(4, 4, 1.0);
    cloud.add(cloud.point(5));
    std::vector<int> counts(cloud.numPoints());
    std::vector<double> densities(cloud.numPoints());
    cloud.computeNumNeighbors(counts.data(), 0.0);
    cloud.computePointDensities(densities.data(), 0.0);
    EXPECT_EQ(counts[5], 1);
    EXPECT_EQ(counts[16], 1);
    EXPECT_EQ(counts[0], 0);
    for (double d : densities)
        EXPECT_EQ(d, Marker);
    cloud.computeNumNeighbors(counts.data(), NaN);
    EXPECT_EQ(counts[5], 0);
}

// ---- Normals

TEST(MPointCloudNormals, PlaneNormalsAreTheUpwardPlaneNormal)
{
    const MVector3d u = MVector3d(1, 0, 0.5).normalized();
    const MVector3d v = MVector3d(0.3, 1, -0.2).normalized();
    struct Case {
        MPointCloud plane;
        double radius;
        MVector3d normal;
    } cases[] = {{planeGrid(20, 20, 1.0), 1.0, MVector3d::ZUnit},
                 {planeGrid(30, 30, 0.1, MVector3d(100, -50, 20), v, u), 0.0, upward(u.cross(v))}};
    for (Case &c : cases) {
        c.plane.computeNormals(c.radius);
        ASSERT_EQ(c.plane.numNormals(), c.plane.numPoints());
        for (int i = 0; i < c.plane.numPoints(); ++i)
            ASSERT_NEAR(MVector3d(c.plane.normal(i)).dot(c.normal), 1.0, 1e-6) << i;
    }
}

TEST(MPointCloudNormals, SphereNormalsAreRadial)
{
    const MVector3d centre(5, -3, 2);
    MPointCloud sphere = spherePoints(4000, 10.0, centre);
    sphere.computeNormals(0.0);
    for (int i = 0; i < sphere.numPoints(); ++i) {
        const MVector3d radial = (sphere.point(i) - centre) / 10.0;
        const MVector3d n(sphere.normal(i));
        ASSERT_TRUE(n.isValid()) << i;
        EXPECT_NEAR(std::fabs(n.dot(radial)), 1.0, 2e-3) << i;
        if (std::fabs(radial.z()) > 0.05) {
            EXPECT_GT(n.z(), 0.0) << i;
        }
    }
}

TEST(MPointCloudNormals, CylinderNormalsAreRadialAndAcrossTheAxis)
{
    MPointCloud cylinder = cylinderPoints(60, 90, 4.0, 0.25);
    cylinder.computeNormals(0.0);
    int checked = 0;
    for (int i = 0; i < cylinder.numPoints(); ++i) {
        const MVector3d p = cylinder.point(i);
        if (p.x() < 2.0 || p.x() > 12.5)
            continue; // the open ends see half a neighbourhood
        const MVector3d n(cylinder.normal(i));
        const MVector3d radial = MVector3d(0, p.y(), p.z()) / 4.0;
        EXPECT_NEAR(std::fabs(n.dot(radial)), 1.0, 1e-3) << i;
        EXPECT_NEAR(n.x(), 0.0, 0.03) << i;
        if (std::fabs(radial.z()) > 0.05) {
            EXPECT_GT(n.z(), 0.0) << i;
        }
        ++checked;
    }
    EXPECT_GT(checked, 3000);
}

TEST(MPointCloudNormals, StraightLineHasNoNormals)
{
    MPointCloud line;
    for (int i = 0; i < 200; ++i)
        line.add(i * 0.5, i * 0.25, 3.0);
    line.computeNormals(0.5);
    ASSERT_EQ(line.numNormals(), 200);
    for (int i = 0; i < 200; ++i)
        EXPECT_FALSE(line.normal(i).isValid()) << i;
}

TEST(MPointCloudNormals, SearchReachesSixtyFourRadiiAndNoFurther)
{
    // A centre with nine points on a circle around it: the radii tried are
    // 4, 8, 16, 32 and 64 times the given one, and only a circle within the
    // last gives the centre its ten points.
    auto ring = [](double circle) {
        MPointCloud cloud;
        cloud.add(0, 0, 0);
        for (int k = 0; k < 9; ++k)
            cloud.add(circle * std::cos(MAngle::TwoPi * k / 9), circle * std::sin(MAngle::TwoPi * k / 9), 0.0);
        cloud.computeNormals(1.0);
        return cloud;
    };
    const MPointCloud near = ring(63.9);
    EXPECT_TRUE(near.normal(0).equals(MVector3f::ZUnit, 1e-6));
    for (int k = 1; k < 10; ++k)
        EXPECT_FALSE(near.normal(k).isValid()) << k;
    EXPECT_FALSE(ring(64.1).normal(0).isValid());
}

TEST(MPointCloudNormals, BadPointsAndRadiiLeaveInvalidNormalsWithoutFailing)
{
    MPointCloud grid = planeGrid(10, 10, 1.0);
    grid.setPoint(3, MVector3d(NaN, 0, 0));
    grid.invalidatePoint(4);
    grid.computeNormals(1.0);
    EXPECT_FALSE(grid.normal(3).isValid());
    EXPECT_FALSE(grid.normal(4).isValid());
    EXPECT_TRUE(grid.normal(5).isValid());

    grid.computeNormals(NaN);
    for (int i = 0; i < grid.numPoints(); ++i)
        EXPECT_FALSE(grid.normal(i).isValid());

    MPointCloud empty;
    empty.computeNormals(0.0);
    EXPECT_EQ(empty.numNormals(), 0);
    MPointCloud invalid(20);
    invalid.computeNormals(0.0);
    EXPECT_EQ(invalid.numNormals(), 20);
}

TEST(MPointCloudNormals, NegativeRadiusCountsInPointSpacings)
{
    MPointCloud automatic = spherePoints(1500, 3.0, MVector3d(0, 0, 0));
    MPointCloud relative = automatic;
    MPointCloud doubled = automatic;
    automatic.computeNormals(0.0);
    relative.computeNormals(-1.0);
    EXPECT_EQ(automatic, relative);
    doubled.computeNormals(-2.0);
    EXPECT_NE(automatic, doubled);
}

TEST(MPointCloudNormals, RealScanAgreesWithItsReferenceNormals)
{
    const std::string path = test::dataFile("pcl_test/sac_plane_test.pcd");
    if (path.empty())
        GTEST_SKIP() << "shared data absent";
    MPointCloud scan;
    ASSERT_TRUE(scan.loadPcd(path.c_str()));
    // The ASCII body carries a normal after each point.
    std::ifstream file(path);
    std::string line;
    while (std::getline(file, line) && line.rfind("DATA", 0) != 0) {
    }
    std::vector<MVector3d> reference;
    for (double x, y, z, nx, ny, nz; std::getline(file, line);) {
        std::istringstream(line) >> x >> y >> z >> nx >> ny >> nz;
        reference.push_back(MVector3d(nx, ny, nz).normalized());
    }
    ASSERT_EQ(int(reference.size()), scan.numPoints());

    scan.computeNormals(0.0);
    // A noisy scene of several surfaces: the reference came from smaller
    // neighbourhoods, so agreement is close for most points, not for all.
    std::vector<double> degrees;
    for (int i = 0; i < scan.numPoints(); ++i) {
        const MVector3d n(scan.normal(i));
        ASSERT_TRUE(n.isValid()) << i;
        EXPECT_GE(n.z(), 0.0) << i;
        degrees.push_back(MAngle::RadToDeg(std::acos(std::min(1.0, std::fabs(n.dot(reference[i]))))));
    }
    std::sort(degrees.begin(), degrees.end());
    EXPECT_LT(degrees[degrees.size() / 2], 9.0);
    EXPECT_LT(degrees[degrees.size() * 8 / 10], 20.0);
}

// ---- Curvature

TEST(MPointCloudCurvature, PlaneHasNone)
{
    MPointCloud plane = planeGrid(30, 30, 0.5, MVector3d(1, 2, 3), MVector3d(0.6, 0, 0.8), MVector3d(0, 1, 0));
    std::vector<double> curvature(plane.numPoints());
    plane.computePointCurvatures(curvature.data(), -3.0);
    EXPECT_TRUE(plane.hasNormals());
    for (double c : curvature)
        EXPECT_NEAR(c, 0.0, 1e-6);
}

TEST(MPointCloudCurvature, SphereOfRadiusRHasOneOverR)
{
    for (double radius : {5.0, 20.0}) {
        MPointCloud sphere = spherePoints(6000, radius, MVector3d(1, 1, 1));
        std::vector<double> curvature(sphere.numPoints());
        sphere.computePointCurvatures(curvature.data(), -4.0);
        for (int i = 0; i < sphere.numPoints(); i += 7)
            EXPECT_NEAR(curvature[i] * radius, 1.0, 0.05) << i;
    }
}

TEST(MPointCloudCurvature, GivenNormalsAreUsedAndLoneOrInvalidPointsGetTheMarker)
{
    MPointCloud cloud;
    cloud.add(0, 0, 0);
    cloud.add(1, 0, 0);
    cloud.add(50, 0, 0);
    cloud.add(NaN, 0, 0);
    cloud.addNormal(MVector3f(0, 0, 1));
    cloud.addNormal(MVector3f(0, 0.1f, -1)); // opposite side: flipped for the comparison
    cloud.addNormal(MVector3f(0, 0, 1));
    cloud.addNormal(MVector3f(0, 0, 1));
    std::vector<double> curvature(4);
    cloud.computePointCurvatures(curvature.data(), 2.0);
    EXPECT_NEAR(curvature[0], std::atan(0.1), 1e-7);
    EXPECT_NEAR(curvature[1], std::atan(0.1), 1e-7);
    EXPECT_EQ(curvature[2], Marker);
    EXPECT_EQ(curvature[3], Marker);
    cloud.computePointCurvatures(curvature.data(), 0.0);
    EXPECT_EQ(curvature[0], Marker);
}

// ---- Cleaning

TEST(MPointCloudCleaning, CleanOutliersTakesOutIsolatedPointsOnly)
{
    MPointCloud cloud = planeGrid(20, 20, 1.0);
    cloud.add(50, 50, 50);
    cloud.add(-30, 0, 5);
    cloud.add(-30, 0.5, 5); // a pair: one neighbour each
    cloud.add(NaN, 0, 0);
    MPointCloud pairKept = cloud;
    EXPECT_EQ(cloud.cleanOutliers(1.5, 2), 3);
    EXPECT_EQ(cloud.numPoints(), 404);
    EXPECT_EQ(cloud.numValidPoints(), 400);
    EXPECT_EQ(pairKept.cleanOutliers(1.5, 1), 1);
    EXPECT_TRUE(pairKept.point(401).isValid());
    EXPECT_FALSE(pairKept.point(400).isValid());
    EXPECT_EQ(pairKept.cleanOutliers(1.5, 1), 0);
}

TEST(MPointCloudCleaning, CleanSparsePointsTakesOutThinRegions)
{
    MPointCloud cloud = planeGrid(20, 20, 0.5);
    const MPointCloud sparse = planeGrid(5, 5, 3.0, MVector3d(30, 0, 0));
    cloud.integrate(sparse);
    // Density within 1.6: interior grid points hold at least 21 points in
    // 8.04 area, sparse points only themselves.
    EXPECT_EQ(cloud.cleanSparsePoints(0.5, 1.6), 25);
    for (int i = 0; i < 400; ++i)
        EXPECT_TRUE(cloud.point(i).isValid());
    EXPECT_EQ(cloud.numValidPoints(), 400);
    EXPECT_EQ(cloud.cleanSparsePoints(100.0, 0.0), 0);
}

TEST(MPointCloudCleaning, CleanSteepPointsComparesNormalsWithTheViewBothWays)
{
    MPointCloud cloud;
    const double angles[] = {0, 30, 44, 46, 80, 100, 136, 150, 180};
    for (double degrees : angles) {
        const double a = MAngle::DegToRad(degrees);
        cloud.add(degrees, 0, 0);
        cloud.addNormal(MVector3f(float(std::sin(a)), 0.0f, float(std::cos(a))));
    }
    cloud.add(NaN, 0, 0);
    cloud.addNormal(MVector3f(1, 0, 0));
    MPointCloud untouched = cloud;
    EXPECT_EQ(cloud.cleanSteepPoints(MAngle::DegToRad(45.0), MVector3d(0, 0, -7)), 3);
    const bool expected[] = {true, true, true, false, false, false, true, true, true, false};
    for (int i = 0; i < cloud.numPoints(); ++i)
        EXPECT_EQ(cloud.point(i).isValid(), expected[i]) << i;

    EXPECT_EQ(untouched.cleanSteepPoints(MAngle::DegToRad(90.0), MVector3d::ZUnit), 0);
    EXPECT_EQ(untouched.cleanSteepPoints(MAngle::DegToRad(45.0), MVector3d(0, 0, 0)), 0);
    EXPECT_EQ(untouched.cleanSteepPoints(MAngle::DegToRad(45.0), MVector3d::Invalid), 0);
    EXPECT_EQ(untouched.cleanSteepPoints(NaN, MVector3d::ZUnit), 0);
    EXPECT_EQ(untouched.numValidPoints(), 9);
}

TEST(MPointCloudCleaning, CleanSteepPointsComputesMissingNormals)
{
    MPointCloud cloud = planeGrid(15, 15, 1.0);
    cloud.integrate(planeGrid(15, 15, 1.0, MVector3d(40, 0, 0), MVector3d::ZUnit, MVector3d::YUnit));
    EXPECT_EQ(cloud.cleanSteepPoints(MAngle::DegToRad(60.0), MVector3d::ZUnit), 225);
    EXPECT_TRUE(cloud.hasNormals());
    EXPECT_TRUE(cloud.point(0).isValid());
    EXPECT_FALSE(cloud.point(225).isValid());
}

// ---- Smoothing

namespace {

MPointCloud noisyPlane(int side, double noise, unsigned seed)
{
    std::mt19937 random(seed);
    std::normal_distribution<double> jitter(0.0, noise);
    MPointCloud cloud = planeGrid(side, side, 1.0);
    for (int i = 0; i < cloud.numPoints(); ++i)
        cloud[i].setZ(jitter(random));
    return cloud;
}

} // namespace

TEST(MPointCloudSmoothing, GaussFilterCalmsNoiseAndKeepsThePlane)
{
    MPointCloud cloud = noisyPlane(60, 0.05, 5);
    const double before = zRms(cloud);
    cloud.setPoint(10, MVector3d(NaN, 0, 0));
    // 2.5 spacings: no grid neighbour lies near the rim, where the noise
    // would decide whether it counts.
    cloud.filterGauss(-2.5, 1.0);
    EXPECT_EQ(cloud.numPoints(), 3600);
    EXPECT_TRUE(cloud.point(10) == MVector3d::Infinity);
    cloud.setPoint(10, MVector3d(0, 0, 0));
    EXPECT_LT(zRms(cloud), 0.3 * before);
    // Interior points stay in place across the plane.
    EXPECT_NEAR(cloud.point(30 * 60 + 30).x(), 30.0, 0.02);
    EXPECT_NEAR(cloud.point(30 * 60 + 30).y(), 30.0, 0.02);
}

TEST(MPointCloudSmoothing, GaussStrengthBlendsAndIsCappedAtOne)
{
    const MPointCloud original = noisyPlane(20, 0.05, 8);
    MPointCloud negative = original, zero = original, one = original, five = original, half = original;
    negative.filterGauss(2.0, -0.1);
    EXPECT_TRUE(sameBits(negative, original));
    zero.filterGauss(2.0, 0.0);
    EXPECT_TRUE(sameBits(zero, original));
    one.filterGauss(2.0, 1.0);
    five.filterGauss(2.0, 5.0);
    EXPECT_TRUE(sameBits(one, five));
    half.filterGauss(2.0, 0.5);
    for (int i = 0; i < original.numPoints(); ++i)
        ASSERT_TRUE(half.point(i).equals((original.point(i) + one.point(i)) * 0.5, 1e-12)) << i;
    MPointCloud zeroSigma = original;
    zeroSigma.filterGauss(0.0, 1.0);
    EXPECT_TRUE(sameBits(zeroSigma, original));
}

TEST(MPointCloudSmoothing, GaussWeightsFollowTheKernelOfHalfSigma)
{
    MPointCloud cloud;
    cloud.add(0, 0, 0);
    cloud.add(1, 0, 0);
    cloud.filterGauss(2.0, 1.0);
    // s = 1: each point takes weight 1 for itself and exp(-1/2) for the other.
    const double w = std::exp(-0.5);
    EXPECT_NEAR(cloud.point(0).x(), w / (1 + w), 1e-15);
    EXPECT_NEAR(cloud.point(1).x(), 1 / (1 + w), 1e-15);
}

TEST(MPointCloudSmoothing, BilateralFilterCalmsNoiseAndKeepsAStep)
{
    std::mt19937 random(21);
    std::normal_distribution<double> jitter(0.0, 0.02);
    MPointCloud step = planeGrid(40, 40, 0.5);
    for (int i = 0; i < step.numPoints(); ++i)
        step[i].setZ((step.point(i).x() >= 10.0 ? 1.0 : 0.0) + jitter(random));
    std::vector<MVector3f> up(step.numPoints(), MVector3f::ZUnit);
    step.setNormals(up.data(), step.numPoints());
    MPointCloud gauss = step;

    double before = 0.0, after = 0.0, worstStep = 0.0;
    step.filterBilateral(2.0, 0.1);
    gauss.filterGauss(2.0, 1.0);
    double gaussWorst = 0.0;
    for (int i = 0; i < step.numPoints(); ++i) {
        const double level = step.point(i).x() >= 10.0 ? 1.0 : 0.0;
        const MVector3d original = planeGrid(40, 40, 0.5).point(i);
        EXPECT_EQ(step.point(i).x(), original.x());
        before += 0.02 * 0.02;
        after += (step.point(i).z() - level) * (step.point(i).z() - level);
        worstStep = std::max(worstStep, std::fabs(step.point(i).z() - level));
        gaussWorst = std::max(gaussWorst, std::fabs(gauss.point(i).z() - level));
    }
    EXPECT_LT(after, 0.3 * before);
    EXPECT_LT(worstStep, 0.08);
    EXPECT_GT(gaussWorst, 0.2); // the plain filter rounds the step off
}

TEST(MPointCloudSmoothing, BilateralNeedsAPositiveNormalRangeAndComputesMissingNormals)
{
    const MPointCloud original = noisyPlane(20, 0.05, 9);
    MPointCloud cloud = original;
    cloud.filterBilateral(2.0, 0.0);
    cloud.filterBilateral(2.0, -1.0);
    cloud.filterBilateral(2.0, NaN);
    EXPECT_TRUE(sameBits(cloud, original));
    EXPECT_FALSE(cloud.hasNormals());
    cloud.filterBilateral(-2.0, 0.2);
    EXPECT_TRUE(cloud.hasNormals());
    EXPECT_LT(zRms(cloud), zRms(original));
}

// ---- Extremes and merging

TEST(MPointCloudExtremes, ExtremePointAveragesAfterSkipping)
{
    MPointCloud cloud;
    const double z[] = {5, 1, 9, 7, 3, 9, 8};
    for (int i = 0; i < 7; ++i)
        cloud.add(i, -i, z[i]);
    cloud.add(NaN, 0, 100);
    // Highest z: 9 (index 2), 9 (index 5), 8, 7, 5...
    EXPECT_TRUE(cloud.extremePoint(2, true, 1, 0) == MVector3d(2, -2, 9));
    EXPECT_TRUE(cloud.extremePoint(2, true, 2, 1).equals(MVector3d(5.5, -5.5, 8.5), 1e-15));
    EXPECT_TRUE(cloud.extremePoint(2, false, 3, 0).equals(MVector3d(5.0 / 3, -5.0 / 3, 3), 1e-15));
    EXPECT_TRUE(cloud.extremePoint(0, true, 1, 0) == MVector3d(6, -6, 8));
    EXPECT_TRUE(cloud.extremePoint(1, true, 1, 0) == MVector3d(0, 0, 5));
    // More than there are: what is left is averaged; nothing left is invalid.
    EXPECT_TRUE(cloud.extremePoint(2, false, 100, 5).equals(MVector3d(3.5, -3.5, 9), 1e-15));
    EXPECT_FALSE(cloud.extremePoint(2, false, 1, 7).isValid());
    EXPECT_FALSE(MPointCloud(4).extremePoint(0, true, 1, 0).isValid());
    EXPECT_TRUE(cloud.extremePoint(2, true, 0x7fffffff, 0x7fffffff) == MVector3d::Infinity);
}

TEST(MPointCloudExtremes, ExtremePointRefusesBadParameters)
{
    const MPointCloud cloud = planeGrid(3, 3, 1.0);
    EXPECT_FALSE(cloud.extremePoint(3, true, 1, 0).isValid());
    EXPECT_FALSE(cloud.extremePoint(0, true, 0, 0).isValid());
    EXPECT_FALSE(cloud.extremePoint(0, true, 1, -1).isValid());
    test::ScopedExceptions on;
    EXPECT_MEXCEPTION(cloud.extremePoint(3, true, 1, 0),
                      "MPointCloud::extremePoint: invalid parameter \"coordinate\" (must be 0, 1 or 2)!");
    EXPECT_MEXCEPTION(cloud.extremePoint(-1, true, 0, -1),
                      "MPointCloud::extremePoint: invalid parameter \"coordinate\" (must be 0, 1 or 2)!");
    EXPECT_MEXCEPTION(cloud.extremePoint(1, false, 0, -1),
                      "MPointCloud::extremePoint: invalid parameter \"numPointsToAverage\" (must be at least 1)!");
    EXPECT_MEXCEPTION(
        cloud.extremePoint(2, false, 1, -1),
        "MPointCloud::extremePoint: invalid parameter \"numPointsToIgnore\" (must be greater or equal to zero)!");
}

TEST(MPointCloudMerging, IntegrateAppendsValidPointsWithSharedAttributes)
{
    MPointCloud a = planeGrid(2, 3, 1.0);
    std::vector<MColor> red(6, MColor::Red);
    a.setColors(red.data(), 6);
    MPointCloud b;
    b.add(7, 7, 7);
    b.add(NaN, 0, 0);
    b.add(8, 8, 8);
    b.addColor(MColor::Blue);
    b.addColor(MColor::Green);
    b.addColor(MColor::Yellow);
    b.addNormal(MVector3f::XUnit);

    MPointCloud both = a;
    both.integrate(b);
    ASSERT_EQ(both.numPoints(), 8);
    EXPECT_TRUE(both.point(7) == MVector3d(8, 8, 8));
    ASSERT_EQ(both.numColors(), 8);
    EXPECT_EQ(both.color(6), MColor::Blue);
    EXPECT_EQ(both.color(7), MColor::Yellow);
    EXPECT_EQ(both.numNormals(), 0);
    EXPECT_FALSE(both.isOrganized2d());

    MPointCloud colourless = planeGrid(2, 2, 1.0);
    colourless += b;
    EXPECT_EQ(colourless.numPoints(), 6);
    EXPECT_EQ(colourless.numColors(), 0);
    b.integrate(a); // b's normals do not match its points: none are added
    EXPECT_EQ(b.numNormals(), 1);
    EXPECT_EQ(b.numColors(), 9);
}

TEST(MPointCloudMerging, IntegratingItselfDoublesTheValidPoints)
{
    MPointCloud cloud = planeGrid(3, 3, 1.0);
    cloud.invalidatePoint(4);
    (cloud += cloud) += MPointCloud();
    ASSERT_EQ(cloud.numPoints(), 17);
    EXPECT_TRUE(cloud.point(9) == cloud.point(0));
    EXPECT_TRUE(cloud.point(16) == cloud.point(8));
    EXPECT_EQ(cloud.numValidPoints(), 16);
}

// ---- Bad input

TEST(MPointCloudCrossSection, KeepsTheSlabAndTheGridAndCountsNegativeThicknessInSpacings)
{
    // A unit grid cut across its columns: the slab |x - 4.5| <= 0.6 holds
    // columns 4 and 5 only, with closed bounds at exactly 0.5 away.
    MPointCloud cloud = planeGrid(6, 10, 1.0);
    cloud.invalidatePoint(2, 4);
    const MPlane cut(MVector3d(4.5, 0, 0), MVector3d(1, 0, 0));
    for (double thickness : {0.6, -0.6}) {
        const MPointCloud section = cloud.crossSection(cut, thickness);
        ASSERT_EQ(section.numPoints(), cloud.numPoints());
        EXPECT_EQ(section.height(), 6);
        EXPECT_EQ(section.width(), 10);
        EXPECT_EQ(section.numValidPoints(), 11);
        for (int r = 0; r < 6; ++r)
            for (int c = 0; c < 10; ++c)
                EXPECT_EQ(section.point(r, c).isValid(), (c == 4 || c == 5) && !(r == 2 && c == 4));
    }
    EXPECT_EQ(cloud.crossSection(cut, 0.5).numValidPoints(), 11);
    EXPECT_EQ(cloud.crossSection(cut, 0.4).numValidPoints(), 0);
    EXPECT_EQ(cloud.crossSection(MPlane(), 1.0).numValidPoints(), 0);
}

TEST(MPointCloudBadInput, EveryOperationTakesEmptyInvalidAndNaNCloudsAndOddRadii)
{
    MPointCloud nanLaden = planeGrid(12, 12, 1.0);
    for (int i = 0; i < nanLaden.numPoints(); i += 5)
        nanLaden.setPoint(i, MVector3d(i % 2 ? NaN : 1.0, NaN, 2.0));
    const MPointCloud clouds[] = {MPointCloud(), MPointCloud(30), nanLaden};
    const double radii[] = {0.0, -1.0, 2.0, NaN, std::numeric_limits<double>::infinity()};
    for (const MPointCloud &source : clouds) {
        for (double radius : radii) {
            MPointCloud cloud = source;
            const int n = cloud.numPoints();
            std::vector<double> values(n);
            std::vector<int> counts(n);
            cloud.computeNormals(radius);
            EXPECT_EQ(cloud.numNormals(), n);
            cloud.computePointCurvatures(values.data(), radius);
            cloud.computePointDensities(values.data(), radius);
            cloud.computeNumNeighbors(counts.data(), radius);
            cloud.cleanOutliers(radius, 3);
            cloud.cleanSparsePoints(0.1, radius);
            cloud.cleanSteepPoints(0.5, MVector3d::ZUnit);
            cloud.filterGauss(radius, 0.5);
            cloud.filterBilateral(radius, 0.1);
            for (int i = 0; i < cloud.numPoints(); ++i) {
                const MVector3d p = cloud.point(i);
                if (p.isValid()) {
                    ASSERT_TRUE(std::isfinite(p.x() + p.y() + p.z()));
                }
            }
            cloud.extremePoint(2, true, 3, 1);
            cloud.integrate(source);
            cloud.decimateByMinimumPointDistance(radius, radius < 0, 1);
            cloud.decimateVoxelBased(radius, radius > 0, 2);
            EXPECT_LE(cloud.numValidPoints(), 2 * source.numValidPoints());
        }
        EXPECT_GE(source.averagePointDistance(1000), 0.0);
        EXPECT_GE(source.density(), 0.0);
    }
}
