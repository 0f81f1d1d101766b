#include "GeometryTestSupport.h"
#include "MBox.h"
#include "MCircle.h"
#include "MColormap.h"
#include "MCone.h"
#include "MCylinder.h"
#include "MLine.h"
#include "MLineSegment.h"
#include "MPlane.h"
#include "MPointCloud.h"
#include "MRangeImage.h"
#include "MSphere.h"
#include "PointCloudSamples.h"
#include "RegionsSupport.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

using namespace ZOLAR3D;

namespace {

const double Marker = 3.4028234663852886e38;
const double NaN = std::numeric_limits<double>::quiet_NaN();

// Random points within +-extent, with some invalid ones and one NaN point.
MPointCloud mixedCloud(unsigned seed, int n, double extent)
{
    std::mt19937 rng(seed);
    MPointCloud cloud = test::randomPointCloud(rng, 1, n, false);
    for (int i = 0; i < n; ++i)
        if (cloud[i].isValid())
            cloud[i] = cloud[i] * (extent / 1000.0);
    cloud[n / 2] = MVector3d(NaN, 0.0, 0.0);
    return cloud;
}

// A flat image at height 2 over 10 x 10 pixels of size 1, identity pose.
MRangeImage flatImage()
{
    MRangeImage image(10, 10);
    image.init(2.0);
    return image;
}

// The distances of the cloud against the shape's own distance, with the cut.
template <class Shape>
void expectDistancesFollowShape(const MPointCloud &cloud, const Shape &shape, double maxDistance)
{
    std::vector<double> out(cloud.numPoints(), -1.0);
    cloud.computeDistancesTo(shape, maxDistance, out.data());
    int kept = 0;
    for (int i = 0; i < cloud.numPoints(); ++i) {
        const double d = cloud[i].isValid() ? shape.distance(cloud[i]) : Marker;
        const double expected = std::fabs(d) <= maxDistance ? d : Marker;
        ASSERT_EQ(out[i], expected) << "point " << i;
        kept += expected != Marker;
    }
    EXPECT_GT(kept, 0);
    EXPECT_LT(kept, cloud.numValidPoints());
}

template <class Shape>
double distanceOfOnePoint(const Shape &shape, const MVector3d &p)
{
    MPointCloud cloud;
    cloud.add(p);
    double d = 0.0;
    cloud.computeDistancesTo(shape, Marker, &d);
    return d;
}

} // namespace

TEST(MPointCloudMeasures, ColorizeMapsValuesInRangeAndPaintsTheRest)
{
    MPointCloud cloud(4);
    const MColormap map = MColormap::Rainbow(1.0, -1.0);
    const double values[] = {-1.0, 0.25, 1.5, NaN};
    cloud.colorize(values, map, MColor::Red);
    ASSERT_EQ(cloud.numColors(), 4);
    EXPECT_EQ(cloud.color(0), map.color(-1.0));
    EXPECT_EQ(cloud.color(1), map.color(0.25));
    EXPECT_EQ(cloud.color(2), MColor::Red);
    EXPECT_EQ(cloud.color(3), MColor::Red);
}

TEST(MPointCloudMeasures, ColorizeWithTransparentKeepsOldColours)
{
    MPointCloud cloud(3);
    cloud.resizeColors(2, MColor::Blue);
    const MColormap map = MColormap::Rainbow(1.0, 0.0);
    const double values[] = {2.0, 0.5, -3.0};
    cloud.colorize(values, map, MColor::Transparent);
    ASSERT_EQ(cloud.numColors(), 3);
    EXPECT_EQ(cloud.color(0), MColor::Blue);
    EXPECT_EQ(cloud.color(1), map.color(0.5));
    // The third colour is new: it is Gray, and the transparent colour leaves it so.
    EXPECT_EQ(cloud.color(2), MColor::Gray);

    MPointCloud untouched = cloud;
    untouched.colorize(nullptr, map, MColor::Red);
    EXPECT_EQ(untouched, cloud);
}

TEST(MPointCloudMeasures, BoundingBoxSpansTheValidPoints)
{
    const MPointCloud cloud = mixedCloud(3, 500, 20.0);
    MVector3d low(Marker, Marker, Marker), high(-Marker, -Marker, -Marker);
    for (int i = 0; i < cloud.size(); ++i) {
        if (!cloud[i].isValid())
            continue;
        for (int k = 0; k < 3; ++k) {
            low[k] = std::min(low[k], cloud[i][k]);
            high[k] = std::max(high[k], cloud[i][k]);
        }
    }
    EXPECT_EQ(cloud.boundingBox(), MBox(low, high));

    MPointCloud invalidOnly(3);
    invalidOnly[1] = MVector3d(NaN, NaN, NaN);
    EXPECT_EQ(invalidOnly.boundingBox(), MBox());
    EXPECT_EQ(MPointCloud().boundingBox(), MBox());
}

TEST(MPointCloudMeasures, BoundingSphereIsTheSmallestEnclosingSphere)
{
    // The ends of a diameter decide it; the other points lie inside.
    MPointCloud cloud = mixedCloud(6, 300, 1.0);
    cloud.add(-5.0, 1.0, 2.0);
    cloud.add(5.0, 1.0, 2.0);
    const MSphere sphere = cloud.boundingSphere();
    EXPECT_TRUE(test::near(sphere.position(), MVector3d(0.0, 1.0, 2.0), 1e-12));
    EXPECT_NEAR(sphere.radius(), 5.0, 1e-12);
    EXPECT_FALSE(MPointCloud(4).boundingSphere().isValid());
}

TEST(MPointCloudMeasures, CentroidIsTheMeanOfTheValidPointsFarFromTheOrigin)
{
    // Offsets of whole multiples of 2^-10 about a point 1e12 away: the points
    // and the mean of the offsets are exact, so only the final sum rounds,
    // while a plain sum of the points would round off the offsets.
    const MVector3d far(1e12, -2e12, 3e12);
    MPointCloud cloud;
    std::mt19937 rng(8);
    std::uniform_int_distribution<int> step(-1000, 1000);
    MVector3d sum(0.0, 0.0, 0.0);
    const int n = 10001;
    for (int i = 0; i < n; ++i) {
        const MVector3d offset(step(rng) / 1024.0, step(rng) / 1024.0, step(rng) / 1024.0);
        sum += offset;
        cloud.add(far + offset);
        cloud.add(MVector3d::Infinity);
    }
    EXPECT_TRUE(test::near(cloud.centroid(), far + sum / n, 5e-4));

    EXPECT_FALSE(MPointCloud(5).centroid().isValid());
}

TEST(MPointCloudMeasures, PoseBoundingBoxFitsAnOrientedBlock)
{
    // A 2 x 6 x 12 grid block, turned and moved: its box in the principal
    // frame is the block itself.
    test::RandomGeometry random(5);
    const MMatrix4 motion = random.rigidMotion(50.0);
    MPointCloud cloud;
    for (int i = 0; i <= 2; ++i)
        for (int j = 0; j <= 6; ++j)
            for (int k = 0; k <= 12; ++k)
                cloud.add(motion * MVector3d(i - 1.0, j - 3.0, k - 6.0));
    const MBox box = cloud.poseBoundingBox();
    ASSERT_TRUE(box.isValid());
    EXPECT_NEAR(box.volume(), 2.0 * 6.0 * 12.0, 1e-9);
    EXPECT_TRUE(test::near(box.position(), motion * MVector3d(0.0, 0.0, 0.0), 1e-9));
    for (int i = 0; i < cloud.size(); ++i)
        EXPECT_LE(box.distance(cloud[i]), 1e-9);

    EXPECT_EQ(MPointCloud().poseBoundingBox(), MBox());
}

TEST(MPointCloudMeasures, RegionPointsTakesValidPointsOfARegionInOrder)
{
    MPointCloud cloud;
    for (int i = 0; i < 6; ++i) {
        cloud.add(i, 0.0, 0.0);
        cloud.addColor(MColor(i % 256, i / 256, 7));
        cloud.addNormal(MVector3f(0.0f, 0.0f, float(i)));
    }
    cloud.setOrganized2d(2, 3);
    cloud.invalidatePoint(4);
    // Five labels for six points: the last point has no region.
    const MRegions regions = test::regionsOf({-1, 1, 0, 1, 1}, 2);

    const MPointCloud one = cloud.regionPoints(regions, 1);
    ASSERT_EQ(one.numPoints(), 2);
    EXPECT_FALSE(one.isOrganized2d());
    EXPECT_EQ(one[0], MVector3d(1.0, 0.0, 0.0));
    EXPECT_EQ(one[1], MVector3d(3.0, 0.0, 0.0));
    EXPECT_EQ(one.color(1), cloud.color(3));
    EXPECT_EQ(one.normal(1), cloud.normal(3));

    const MPointCloud all = cloud.regionPoints(regions, -1);
    ASSERT_EQ(all.numPoints(), 3);
    EXPECT_EQ(all[0].x(), 1.0);
    EXPECT_EQ(all[1].x(), 2.0);
    EXPECT_EQ(all[2].x(), 3.0);

    EXPECT_EQ(cloud.regionPoints(regions, 2).numPoints(), 0);
}

TEST(MPointCloudMeasures, DistancesFollowEveryShapeAndItsCut)
{
    const MPointCloud cloud = mixedCloud(11, 2000, 10.0);
    test::RandomGeometry random(12);
    const MMatrix4 motion = random.rigidMotion(3.0);
    expectDistancesFollowShape(cloud, MBox(MVector3d(4.0, 6.0, 8.0), motion), 2.0);
    expectDistancesFollowShape(cloud, MCircle(random.point(2.0), random.unitVector(), 5.0), 3.0);
    expectDistancesFollowShape(cloud, MCone(random.point(2.0), random.unitVector(), 3.0, 0.8, 6.0), 2.0);
    expectDistancesFollowShape(cloud, MCylinder(random.point(2.0), random.unitVector(), 4.0, 5.0), 2.0);
    expectDistancesFollowShape(cloud, MLine(random.point(2.0), random.unitVector()), 4.0);
    expectDistancesFollowShape(cloud, MLineSegment(random.point(5.0), random.point(5.0)), 4.0);
    expectDistancesFollowShape(cloud, MPlane(random.point(2.0), random.unitVector()), 3.0);
    expectDistancesFollowShape(cloud, MSphere(random.point(2.0), 6.0), 2.0);
    expectDistancesFollowShape(cloud, random.point(2.0), 8.0);
}

TEST(MPointCloudMeasures, DistancesAgreeWithHandComputedValues)
{
    EXPECT_DOUBLE_EQ(distanceOfOnePoint(MPlane(MVector3d(0, 0, 1), MVector3d(0, 0, -2)), MVector3d(5, 7, 4)), -3.0);
    EXPECT_DOUBLE_EQ(distanceOfOnePoint(MSphere(MVector3d(1, 1, 1), 2.0), MVector3d(1, 1, 6)), 3.0);
    EXPECT_DOUBLE_EQ(distanceOfOnePoint(MCylinder(MVector3d(0, 0, 0), MVector3d(0, 0, 1), 1.0, 2.0), MVector3d(3, 4, 70)), 4.0);
    EXPECT_DOUBLE_EQ(distanceOfOnePoint(MBox(MVector3d(2, 4, 6), MMatrix4()), MVector3d(0, 0, 0)), -1.0);
    EXPECT_DOUBLE_EQ(distanceOfOnePoint(MBox(MVector3d(2, 4, 6), MMatrix4()), MVector3d(4, 6, 3)), std::sqrt(9.0 + 16.0));
    EXPECT_DOUBLE_EQ(distanceOfOnePoint(MLine(MVector3d(9, 0, 0), MVector3d(1, 0, 0)), MVector3d(-2, 3, 4)), 5.0);
    EXPECT_DOUBLE_EQ(distanceOfOnePoint(MLineSegment(MVector3d(0, 0, 0), MVector3d(1, 0, 0)), MVector3d(4, 4, 0)), 5.0);
    EXPECT_DOUBLE_EQ(distanceOfOnePoint(MCircle(MVector3d(0, 0, 0), MVector3d(0, 0, 1), 1.0), MVector3d(0, 0, 1)), std::sqrt(2.0));
    // Half angle 45 degrees, radius 1 at the position: the point (2, 0, 0)
    // lies 1 outside the mantle horizontally, sin 45 degrees normal to it.
    EXPECT_NEAR(distanceOfOnePoint(MCone(MVector3d(0, 0, 0), MVector3d(0, 0, 1), 1.0, M_PI / 2, 1.0), MVector3d(2, 0, 0)),
                std::sqrt(0.5), 1e-15);
    EXPECT_DOUBLE_EQ(distanceOfOnePoint(MVector3d(1, 2, 3), MVector3d(4, 6, 3)), 5.0);
    EXPECT_DOUBLE_EQ(distanceOfOnePoint(flatImage(), MVector3d(4.5, 3.25, 7.0)), 5.0);
}

TEST(MPointCloudMeasures, DistanceCutIsInclusiveOnTheMagnitude)
{
    MPointCloud cloud;
    for (const double z : {-3.0, -2.0, 0.0, 2.0, 2.5})
        cloud.add(0.0, 0.0, z);
    cloud.add(MVector3d::Infinity);
    cloud.add(0.0, NaN, 0.0);
    double out[7], absolute[7];
    cloud.computeDistancesTo(MPlane::Z, 2.0, out);
    cloud.computeAbsDistancesTo(MPlane::Z, 2.0, absolute);
    const double expected[] = {Marker, -2.0, 0.0, 2.0, Marker, Marker, Marker};
    const double expectedAbsolute[] = {Marker, 2.0, 0.0, 2.0, Marker, Marker, Marker};
    for (int i = 0; i < 7; ++i) {
        EXPECT_EQ(out[i], expected[i]) << i;
        EXPECT_EQ(absolute[i], expectedAbsolute[i]) << i;
    }
    // The widest cut lets every real distance through.
    cloud.computeDistancesTo(MPlane::Z, Marker, out);
    EXPECT_EQ(out[0], -3.0);
    EXPECT_EQ(out[5], Marker);
}

TEST(MPointCloudMeasures, DistancesToInvalidShapesOrWithoutOutputAreHarmless)
{
    const MPointCloud cloud = mixedCloud(4, 50, 5.0);
    const MPointCloud before = cloud;
    cloud.computeDistancesTo(MPlane::Z, 1.0, nullptr);
    cloud.computeAbsDistancesTo(MPlane::Z, 1.0, nullptr);
    cloud.computeDistancesTo(flatImage(), 1.0, nullptr);
    EXPECT_EQ(cloud, before);

    std::vector<double> out(50, 0.0);
    auto expectAllMarkers = [&] {
        for (const double d : out)
            ASSERT_EQ(d, Marker);
    };
    cloud.computeDistancesTo(MSphere(MVector3d(0, 0, 0), 0.0), Marker, out.data());
    expectAllMarkers();
    cloud.computeDistancesTo(MPlane(), Marker, out.data());
    expectAllMarkers();
    cloud.computeDistancesTo(MVector3d::Infinity, Marker, out.data());
    expectAllMarkers();
    cloud.computeDistancesTo(MBox(), Marker, out.data());
    expectAllMarkers();
    // A point of the marker in z would read as a height to the image.
    MPointCloud high;
    high.add(4.5, 3.5, Marker);
    high.computeDistancesTo(flatImage(), Marker, out.data());
    EXPECT_EQ(out[0], Marker);
}

TEST(MPointCloudMeasures, ProjectOntoReplacesValidPointsOnlyAndAnInvalidShapeInvalidatesAll)
{
    const MPointCloud source = mixedCloud(21, 300, 10.0);
    const MCylinder cylinder(MVector3d(1, 2, 3), MVector3d(1, 1, 0), 2.0, 8.0);
    MPointCloud cloud = source;
    cloud.projectOnto(cylinder);
    for (int i = 0; i < cloud.size(); ++i) {
        if (source[i].isValid()) {
            ASSERT_EQ(cloud[i], cylinder.projection(source[i]));
        } else {
            ASSERT_TRUE(test::samePoint(cloud[i], source[i]));
        }
    }

    MPointCloud onImage;
    onImage.add(4.5, 3.5, -1.0);
    onImage.add(40.0, 3.5, -1.0);
    onImage.projectOnto(flatImage());
    EXPECT_EQ(onImage[0], MVector3d(4.5, 3.5, 2.0));
    EXPECT_FALSE(onImage[1].isValid());

    // An invalid shape invalidates every point.
    cloud.projectOnto(MSphere());
    EXPECT_EQ(cloud.numValidPoints(), 0);
    EXPECT_EQ(cloud.numPoints(), 300);
}

TEST(MPointCloudMeasures, IntersectionKeepsThePointsInsideTheSolid)
{
    MPointCloud cloud = mixedCloud(31, 3000, 10.0);
    cloud.resizeColors(cloud.size(), MColor::Gray);
    for (int i = 0; i < cloud.size(); ++i)
        cloud.colors()[i] = MColor(i % 256, i / 256, 7);
    auto expectInside = [&](const MPointCloud &inside, auto isInside) {
        int k = 0;
        for (int i = 0; i < cloud.size(); ++i) {
            if (!cloud[i].isValid() || !isInside(cloud[i]))
                continue;
            ASSERT_LT(k, inside.size());
            EXPECT_EQ(inside[k], cloud[i]);
            EXPECT_EQ(inside.color(k), cloud.color(i));
            ++k;
        }
        EXPECT_EQ(k, inside.size());
        EXPECT_GT(k, 0);
    };
    const MVector3d axis(0, 0, 1);
    expectInside(cloud.intersection(MSphere(MVector3d(1, 1, 1), 5.0)),
                 [](const MVector3d &p) { return (p - MVector3d(1, 1, 1)).norm() <= 5.0; });
    expectInside(cloud.intersection(MBox(MVector3d(-2, -3, -4), MVector3d(6, 5, 4))), [](const MVector3d &p) {
        return p.x() >= -2 && p.x() <= 6 && p.y() >= -3 && p.y() <= 5 && p.z() >= -4 && p.z() <= 4;
    });
    expectInside(cloud.intersection(MCylinder(MVector3d(0, 0, 0), axis, 6.0, 8.0)),
                 [](const MVector3d &p) { return std::hypot(p.x(), p.y()) <= 6.0 && std::fabs(p.z()) <= 4.0; });
    expectInside(cloud.intersection(MCylinder(MVector3d(0, 0, 0), axis, 3.0, Marker)),
                 [](const MVector3d &p) { return std::hypot(p.x(), p.y()) <= 3.0; });
    // Apex at z = 4; the radius is 4 - z, between z = -3 and z = 3.
    expectInside(cloud.intersection(MCone(MVector3d(0, 0, 0), axis, 4.0, M_PI / 2, 6.0)), [](const MVector3d &p) {
        return std::hypot(p.x(), p.y()) <= 4.0 - p.z() && std::fabs(p.z()) <= 3.0;
    });
    expectInside(cloud.intersection(MCone(MVector3d(0, 0, 0), axis, 4.0, M_PI / 2, Marker)),
                 [](const MVector3d &p) { return std::hypot(p.x(), p.y()) <= 4.0 - p.z(); });

    EXPECT_EQ(cloud.intersection(MSphere()).numPoints(), 0);
    EXPECT_EQ(MPointCloud().intersection(MBox(MVector3d(0, 0, 0), MVector3d(1, 1, 1))).numPoints(), 0);
}

TEST(MPointCloudMeasures, EmptyCloudsAnswerWithEmptyResults)
{
    MPointCloud empty;
    empty.colorize(nullptr, MColormap(), MColor::Red);
    const double none = 0.0;
    empty.colorize(&none, MColormap(), MColor::Red);
    EXPECT_EQ(empty.numColors(), 0);
    empty.computeDistancesTo(MPlane::Z, 1.0, nullptr);
    empty.projectOnto(MPlane::Z);
    EXPECT_EQ(empty.regionPoints(MRegions(), -1).numPoints(), 0);
    EXPECT_EQ(empty.intersection(MSphere::UnitSphere).numPoints(), 0);
    EXPECT_FALSE(empty.centroid().isValid());

    // Labels beyond the cloud do not reach past its end.
    MPointCloud two(2);
    two[0] = MVector3d(1, 2, 3);
    const MRegions wide = test::regionsOf({0, 0, 0, 0, 0}, 1);
    EXPECT_EQ(two.regionPoints(wide, 0).numPoints(), 1);
    EXPECT_EQ(two.regionPoints(wide, -1).numPoints(), 1);
}
