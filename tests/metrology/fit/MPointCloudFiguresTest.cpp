#include "FitTestSupport.h"
#include "MCircle.h"
#include "MCone.h"
#include "MCylinder.h"
#include "MInvalid.h"
#include "MLine.h"
#include "MLineSegment.h"
#include "MPlane.h"
#include "MSphere.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

using namespace ZOLAR3D;
using test::cloudOf;

namespace {

const char *const PlaneFitMessage = "PlaneFit: not enough valid points given (minimum required: 3)";

// A square grid of (2 half + 1)^2 points at height z, spacing 1, centred at the origin.
std::vector<MVector3d> grid(int half, double z)
{
    std::vector<MVector3d> points;
    for (int i = -half; i <= half; ++i)
        for (int j = -half; j <= half; ++j)
            points.push_back(MVector3d(i, j, z));
    return points;
}

std::vector<MVector3d> with(std::vector<MVector3d> points, const std::vector<MVector3d> &more)
{
    points.insert(points.end(), more.begin(), more.end());
    return points;
}

// Points on a circle of radius r about the axis, at axial offsets, starting
// at angle 0 along `radial`.
void addRing(std::vector<MVector3d> &points, const MVector3d &centre, const MVector3d &radial, const MVector3d &binormal,
             double r, int count)
{
    for (int k = 0; k < count; ++k) {
        const double angle = 2 * M_PI * k / count;
        points.push_back(centre + radial * (r * std::cos(angle)) + binormal * (r * std::sin(angle)));
    }
}

} // namespace

// ---- Refits

TEST(MPointCloudFigures, RefitByCountDropsExactlyTheFarthestPoints)
{
    const std::vector<MVector3d> clean = with(grid(3, 0.0), {{0.5, 0.5, 0.8}});
    const MPointCloud cloud = cloudOf(with(clean, {{1, 1, 5}, {-1, 2, -3}}));
    const MPlane rough = cloud.fitPlane();
    EXPECT_EQ(cloud.refitWithOutlierRemoval(rough, 2), cloudOf(clean).fitPlane());
    EXPECT_NE(cloud.refitWithOutlierRemoval(rough, 1), cloudOf(clean).fitPlane());

    EXPECT_FALSE(cloud.refitWithOutlierRemoval(rough, 1000).isValid());
    test::ScopedExceptions on;
    EXPECT_MEXCEPTION(cloud.refitWithOutlierRemoval(rough, 1000), PlaneFitMessage);
}

TEST(MPointCloudFigures, RefitByStandardDeviationIsCentredOnTheMeanDistance)
{
    // All but one point lie 1 above the given plane: a range about 0 would
    // keep none of them, the range about the mean keeps exactly those.
    const std::vector<MVector3d> level = grid(2, 1.0);
    const MPointCloud cloud = cloudOf(with(level, {{0.5, 0.5, 3.0}}));
    const MPlane given(MVector3d(0, 0, 0), MVector3d(0, 0, 1));
    EXPECT_EQ(cloud.refitWithOutlierRemoval(given, -1), cloudOf(level).fitPlane());
    EXPECT_EQ(cloud.refitWithOutlierRemoval(given, -6), cloud.fitPlane());
}

TEST(MPointCloudFigures, EveryShapeRefitsWithoutItsFarthestPoint)
{
    std::vector<MVector3d> circle, sphere, cylinder, cone, line;
    const MVector3d x(1, 0, 0), y(0, 1, 0), z(0, 0, 1);
    addRing(circle, MVector3d(1, 2, 3), x, y, 2.0, 24);
    MPointCloud ball;
    ball.from(MSphere(MVector3d(-1, 0, 2), 3.0), 200);
    sphere.assign(ball.points(), ball.points() + ball.numPoints());
    for (int h = 1; h <= 4; ++h) {
        addRing(cylinder, z * h, x, y, 1.5, 12);
        addRing(cone, z * h, x, y, 0.5 * h, 12);
    }
    for (int i = 0; i < 10; ++i)
        line.push_back(MVector3d(i, 2 * i, -i));
    const MVector3d outlier(20, -30, 40);
    const auto full = [&](const std::vector<MVector3d> &points) { return cloudOf(with(points, {outlier})); };

    EXPECT_EQ(full(circle).refitWithOutlierRemoval(cloudOf(circle).fitCircle(0), 1), cloudOf(circle).fitCircle(0));
    EXPECT_EQ(full(circle).refitWithOutlierRemoval(cloudOf(circle).fitCircle(0), 2.5, 1), cloudOf(circle).fitCircle(2.5));
    EXPECT_EQ(full(sphere).refitWithOutlierRemoval(cloudOf(sphere).fitSphere(0), 1), cloudOf(sphere).fitSphere(0));
    EXPECT_DOUBLE_EQ(full(sphere).refitWithOutlierRemoval(cloudOf(sphere).fitSphere(0), 2.0, 1).radius(), 2.0);
    EXPECT_EQ(full(cylinder).refitWithOutlierRemoval(cloudOf(cylinder).fitCylinder(0), 1), cloudOf(cylinder).fitCylinder(0));
    EXPECT_EQ(full(cylinder).refitWithOutlierRemoval(cloudOf(cylinder).fitCylinder(0), 1.0, 1),
              cloudOf(cylinder).fitCylinder(1.0));
    EXPECT_EQ(full(cone).refitWithOutlierRemoval(cloudOf(cone).fitCone(), 1), cloudOf(cone).fitCone());
    EXPECT_EQ(full(line).refitWithOutlierRemoval(cloudOf(line).fitLine(), 1), cloudOf(line).fitLine());
    EXPECT_EQ(full(line).refitWithOutlierRemoval(cloudOf(line).fitLineSegment(), 1), cloudOf(line).fitLineSegment());
    EXPECT_TRUE(cloudOf(sphere).fitSphere(0).isValid());
    EXPECT_TRUE(cloudOf(cone).fitCone().isValid());
}

// ---- Flat form and probing

TEST(MPointCloudFigures, FlatFormOfAPerfectPlaneIsZero)
{
    EXPECT_EQ(cloudOf(grid(4, 2.5)).computeFlatFormMeasurementError(0, nullptr), 0.0);
    EXPECT_EQ(cloudOf(grid(4, 2.5)).computeFlatFormMeasurementErrorFast(0, nullptr), 0.0);
    test::RandomGeometry random(9);
    const MMatrix4 pose = random.rigidMotion(50);
    std::vector<MVector3d> tilted;
    for (const MVector3d &p : grid(4, 0.0))
        tilted.push_back(pose * p);
    EXPECT_NEAR(cloudOf(tilted).computeFlatFormMeasurementError(0, nullptr), 0.0, 1e-12);
}

TEST(MPointCloudFigures, FlatFormTiesDropTheHighEndFirst)
{
    // Distances 0 (x25), +2 and -2 about the plane z = 0: a tie of magnitudes.
    const MPointCloud cloud = cloudOf(with(grid(2, 0.0), {{0, 0, 2}, {0, 0, -2}}));
    MPlane plane;
    EXPECT_DOUBLE_EQ(cloud.computeFlatFormMeasurementError(0, &plane), 4.0);
    EXPECT_NEAR(plane.position().z(), 0.0, 1e-15);
    EXPECT_DOUBLE_EQ(cloud.computeFlatFormMeasurementError(1, &plane), 2.0);
    EXPECT_DOUBLE_EQ(plane.position().z(), -1.0);
    EXPECT_DOUBLE_EQ(cloud.computeFlatFormMeasurementError(2, &plane), 0.0);
    EXPECT_DOUBLE_EQ(cloud.computeFlatFormMeasurementError(1000, &plane), 0.0);
    EXPECT_DOUBLE_EQ(cloud.computeFlatFormMeasurementErrorFast(1, &plane), 2.0);
    EXPECT_DOUBLE_EQ(std::abs(plane.position().z()), 1.0);
    EXPECT_DOUBLE_EQ(cloud.computeFlatFormMeasurementErrorFast(2, nullptr), 0.0);
    EXPECT_DOUBLE_EQ(cloud.computeFlatFormMeasurementErrorFast(1000, nullptr), 0.0);
}

TEST(MPointCloudFigures, FastFlatFormMatchesTheSortedOne)
{
    test::RandomGeometry random(12);
    std::vector<MVector3d> points;
    for (int i = 0; i < 300; ++i)
        points.push_back(MVector3d(random.uniform(-5, 5), random.uniform(-5, 5), random.uniform(-0.1, 0.3)));
    const MPointCloud cloud = cloudOf(points);
    for (int excluded : {-2, 0, 1, 7, 299}) {
        MPlane sorted, fast;
        EXPECT_DOUBLE_EQ(cloud.computeFlatFormMeasurementErrorFast(excluded, &fast),
                         cloud.computeFlatFormMeasurementError(excluded, &sorted));
        EXPECT_EQ(fast, sorted);
    }
}

TEST(MPointCloudFigures, FiguresOfInvalidFitsAreMinusOne)
{
    const MPointCloud two = cloudOf({{0, 0, 0}, {1, 0, 0}, MVector3d()});
    EXPECT_EQ(two.computeFlatFormMeasurementError(0, nullptr), -1.0);
    EXPECT_EQ(two.computeFlatFormMeasurementErrorFast(0, nullptr), -1.0);
    EXPECT_EQ(two.gdtFlatness(0, nullptr), -1.0);
    const MPointCloud onePoint = cloudOf({{1, 2, 3}});
    EXPECT_EQ(onePoint.computeProbingDispersionValue(0, nullptr), -1.0);
    EXPECT_EQ(onePoint.computeProbingSizeErrorAll(10.0, nullptr), -1.0);
    EXPECT_EQ(cloudOf(grid(2, 0)).gdtSurfaceParallelism(MPlane(), 0), -1.0);
    EXPECT_EQ(cloudOf(grid(2, 0)).gdtAxisPerpendicularity(MPlane(), 0), -1.0);
    test::ScopedExceptions on;
    EXPECT_MEXCEPTION(two.computeFlatFormMeasurementError(0, nullptr), PlaneFitMessage);
}

TEST(MPointCloudFigures, ProbingFiguresOfASampledSphere)
{
    MPointCloud cloud;
    cloud.from(MSphere(MVector3d(10, -4, 7), 12.5), 500);
    MSphere sphere;
    EXPECT_NEAR(cloud.computeProbingDispersionValue(0, &sphere), 0.0, 1e-9);
    EXPECT_NEAR(sphere.radius(), 12.5, 1e-9);
    EXPECT_NEAR(cloud.computeProbingSizeErrorAll(25.4, &sphere), 0.4, 1e-9);
    EXPECT_NEAR(sphere.radius(), 12.5, 1e-9);
    EXPECT_NEAR(cloud.computeProbingSizeErrorAll(24.6, nullptr), 0.4, 1e-9);

    // One point pushed 0.1 outward: the dispersion sees it, and loses it
    // when it is the one left out.
    MVector3d p = cloud.point(17);
    cloud.setPoint(17, p + (p - MVector3d(10, -4, 7)).normalized() * 0.1);
    EXPECT_NEAR(cloud.computeProbingDispersionValue(0, &sphere), 0.1, 2e-3);
    EXPECT_LT(cloud.computeProbingDispersionValue(1, &sphere), 2e-3);
    EXPECT_NEAR(sphere.radius(), 12.5, 1e-3);
}

// ---- Geometric tolerances

TEST(MPointCloudFigures, FlatnessIsTheZoneWidthAndDropsOutliers)
{
    EXPECT_NEAR(cloudOf(grid(3, 1.0)).gdtFlatness(0, nullptr), 0.0, 1e-12);
    // A point 1 above the centre of a wide grid: the grid face bounds the zone.
    const MPointCloud cloud = cloudOf(with(grid(10, 0.0), {{0.5, 0.5, 1.0}}));
    MPlane plane;
    EXPECT_DOUBLE_EQ(cloud.gdtFlatness(0, &plane), 1.0);
    EXPECT_NEAR(std::abs(plane.distance(MVector3d(0, 0, 0))), 0.5, 1e-12);
    // By standard deviation about the mean distance, the lone point goes.
    EXPECT_NEAR(cloud.gdtFlatness(-1, &plane), 0.0, 1e-12);
    EXPECT_NEAR(std::abs(plane.normal().z()), 1.0, 1e-12);
}

TEST(MPointCloudFigures, FlatnessTiesDropTheHighEndFirst)
{
    // A triangle of grid points and one apex 1 above it: the zone lies at
    // +-0.5 with the grid on the positive side. On the tie the grid loses a
    // point and the apex stays, so the width stays 1.
    std::vector<MVector3d> points;
    for (int i = 0; i <= 40; i += 4)
        for (int j = 0; j <= 40 - i; j += 4)
            points.push_back(MVector3d(i, j, 0));
    points.push_back(MVector3d(10, 10, 1));
    const MPointCloud cloud = cloudOf(points);
    EXPECT_DOUBLE_EQ(cloud.gdtFlatness(0, nullptr), 1.0);
    EXPECT_DOUBLE_EQ(cloud.gdtFlatness(1, nullptr), 1.0);
}

TEST(MPointCloudFigures, FlatnessWithTooManyExcludedKeepsOnePoint)
{
    const MPointCloud cloud = cloudOf(with(grid(2, 0.0), {{0, 0, 1}, MVector3d()}));
    EXPECT_EQ(cloud.gdtFlatness(1000, nullptr), -1.0);
    test::ScopedExceptions on;
    EXPECT_MEXCEPTION(cloud.gdtFlatness(1000, nullptr), PlaneFitMessage);
}

TEST(MPointCloudFigures, ParallelismLeavesOutTheOutlierOnEitherSide)
{
    test::RandomGeometry random(14);
    std::vector<MVector3d> points;
    double low = 1e300, high = -1e300;
    for (int i = 0; i < 60; ++i) {
        points.push_back(MVector3d(random.uniform(-9, 9), random.uniform(-9, 9), random.uniform(2.0, 2.3)));
        low = std::min(low, points.back().z());
        high = std::max(high, points.back().z());
    }
    const MPlane datum(MVector3d(3, 3, 0), MVector3d(0, 0, 1));
    for (double outlier : {9.0, -9.0}) {
        const MPointCloud cloud = cloudOf(with(points, {{1, 1, outlier}, MVector3d()}));
        EXPECT_NEAR(cloud.gdtSurfaceParallelism(datum, 0), std::max(high, outlier) - std::min(low, outlier), 1e-12);
        EXPECT_NEAR(cloud.gdtSurfaceParallelism(datum, 1), high - low, 1e-12);
        EXPECT_EQ(cloud.gdtSurfaceParallelism(datum, 500), 0.0);
    }
    // Two on one side: the window slides past the farther one, then past both.
    const MPointCloud cloud = cloudOf(with(points, {{1, 1, 9.0}, {2, 2, 8.0}}));
    EXPECT_NEAR(cloud.gdtSurfaceParallelism(datum, 1), 8.0 - low, 1e-12);
    EXPECT_NEAR(cloud.gdtSurfaceParallelism(datum, 2), high - low, 1e-12);
}

TEST(MPointCloudFigures, PerpendicularityOfTiltedCylinders)
{
    // A cylinder of radius 1 and length 10 tilted by 30 degrees from the
    // datum's normal: its shadow spans L sin(30) + 2 r cos(30) along the
    // tilt, the diameter of the smallest circle around it.
    const double angle = M_PI / 6;
    const MVector3d axis(std::sin(angle), 0, std::cos(angle)), radial(std::cos(angle), 0, -std::sin(angle)), side(0, 1, 0);
    std::vector<MVector3d> points;
    for (int k = -5; k <= 5; ++k)
        addRing(points, MVector3d(4, -2, 20) + axis * k, radial, side, 1.0, 36);
    const MPointCloud cloud = cloudOf(points);
    const MPlane datum(MVector3d(0, 0, 0), MVector3d(0, 0, 1));
    const double diameter = cloud.gdtAxisPerpendicularity(datum, 0);
    EXPECT_NEAR(diameter, 10 * std::sin(angle) + 2 * std::cos(angle), 1e-9);
    const double narrower = cloud.gdtAxisPerpendicularity(datum, 1);
    EXPECT_LT(narrower, diameter - 1e-3);
    EXPECT_GT(narrower, 5.0);
    EXPECT_EQ(cloud.gdtAxisPerpendicularity(datum, 10000), 0.0);

    // Upright, the shadow is the circle itself.
    std::vector<MVector3d> upright;
    for (int k = 0; k < 5; ++k)
        addRing(upright, MVector3d(1, 1, k), MVector3d(1, 0, 0), side, 2.0, 36);
    EXPECT_NEAR(cloudOf(upright).gdtAxisPerpendicularity(datum, 0), 4.0, 1e-9);
    // Two points left: their distance.
    const MPointCloud three = cloudOf({{0, 0, 0}, {3, 0, 5}, {0, 4, -2}});
    const double pair = three.gdtAxisPerpendicularity(datum, 1);
    EXPECT_TRUE(pair == 3.0 || pair == 4.0 || pair == 5.0) << pair;
}
