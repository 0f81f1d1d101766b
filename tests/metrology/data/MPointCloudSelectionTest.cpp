#include "GeometryTestSupport.h"
#include "MBox.h"
#include "MCircle.h"
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
#include <functional>
#include <limits>
#include <random>
#include <vector>

using namespace ZOLAR3D;

namespace {

const double Marker = 3.4028234663852886e38;
const double NaN = std::numeric_limits<double>::quiet_NaN();

// Random points within +-10, some invalid, one with a NaN coordinate.
MPointCloud mixedCloud(unsigned seed, int height, int width)
{
    std::mt19937 rng(seed);
    MPointCloud cloud = test::randomPointCloud(rng, height, width, false);
    for (int i = 0; i < cloud.size(); ++i)
        if (cloud[i].isValid())
            cloud[i] = cloud[i] / 100.0;
    cloud[cloud.size() / 2] = MVector3d(0.0, NaN, 0.0);
    return cloud;
}

// Region 0 holds exactly the valid points for which selected(p) holds.
void expectOneRegion(const MRegions &regions, const MPointCloud &cloud, const std::function<bool(const MVector3d &)> &selected)
{
    ASSERT_EQ(regions.size(), cloud.numPoints());
    ASSERT_EQ(regions.numRegions(), 1);
    int count = 0;
    for (int i = 0; i < cloud.numPoints(); ++i) {
        const bool expected = cloud[i].isValid() && selected(cloud[i]);
        ASSERT_EQ(regions[i], expected ? 0 : -1) << "point " << i;
        count += expected;
    }
    EXPECT_GT(count, 0);
    EXPECT_LT(count, cloud.numValidPoints());
}

template <class Shape>
void expectDistanceSelection(const MPointCloud &cloud, const Shape &shape, double min, double max)
{
    expectOneRegion(cloud.selectDistanceRange(shape, min, max), cloud, [&](const MVector3d &p) {
        const double d = shape.distance(p);
        return min <= d && d <= max;
    });
}

} // namespace

TEST(MPointCloudSelection, CoordinateSelectionsAreInclusiveAndKeepTheGrid)
{
    const MPointCloud cloud = mixedCloud(1, 20, 30);
    const MRegions x = cloud.selectX(-3.0, 4.0);
    EXPECT_EQ(x.width(), 30);
    EXPECT_EQ(x.height(), 20);
    expectOneRegion(x, cloud, [](const MVector3d &p) { return -3.0 <= p.x() && p.x() <= 4.0; });
    expectOneRegion(cloud.selectY(0.0, 20.0), cloud, [](const MVector3d &p) { return p.y() >= 0.0; });
    expectOneRegion(cloud.selectZ(-20.0, -1.0), cloud, [](const MVector3d &p) { return p.z() <= -1.0; });

    MPointCloud exact;
    exact.add(1.0, 0.0, 0.0);
    exact.add(2.0, 0.0, 0.0);
    exact.add(2.5, 0.0, 0.0);
    const MRegions bounds = exact.selectX(1.0, 2.0);
    EXPECT_EQ(bounds.regionSize(0), 2);
    EXPECT_EQ(bounds.width(), 0);

    const MRegions none = MPointCloud(4).selectZ(-Marker, Marker);
    EXPECT_EQ(none.numRegions(), 1);
    EXPECT_EQ(none.regionSize(0), 0);
}

TEST(MPointCloudSelection, DistanceRangeSelectsByEveryShape)
{
    const MPointCloud cloud = mixedCloud(2, 1, 3000);
    test::RandomGeometry random(3);
    expectDistanceSelection(cloud, MBox(MVector3d(4.0, 6.0, 8.0), random.rigidMotion(2.0)), -1.0, 1.5);
    expectDistanceSelection(cloud, MCircle(random.point(1.0), random.unitVector(), 5.0), 0.0, 3.0);
    expectDistanceSelection(cloud, MCone(random.point(1.0), random.unitVector(), 3.0, 0.8, 6.0), -2.0, 0.5);
    expectDistanceSelection(cloud, MCylinder(random.point(1.0), random.unitVector(), 4.0, 5.0), -1.0, 1.0);
    expectDistanceSelection(cloud, MLine(random.point(1.0), random.unitVector()), 1.0, 4.0);
    expectDistanceSelection(cloud, MLineSegment(random.point(5.0), random.point(5.0)), 0.0, 4.0);
    expectDistanceSelection(cloud, MPlane(random.point(1.0), random.unitVector()), -2.0, 3.0);
    expectDistanceSelection(cloud, MSphere(random.point(1.0), 6.0), -1.0, 1.0);
    expectDistanceSelection(cloud, random.point(1.0), 3.0, 9.0);

    MRangeImage image(10, 10);
    image.init(2.0);
    expectDistanceSelection(cloud, image, -3.0, 1.0);

    // Points without a distance are never selected, however wide the range.
    MPointCloud offImage;
    offImage.add(4.5, 3.5, 0.0);
    offImage.add(40.0, 3.5, 0.0);
    EXPECT_EQ(test::labelsOf(offImage.selectDistanceRange(image, -Marker, Marker)), (std::vector<int>{0, -1}));
    EXPECT_EQ(offImage.selectDistanceRange(MSphere(), -Marker, Marker).regionSize(0), 0);
}

TEST(MPointCloudSelection, SeveralShapesLabelEachPointWithTheLastShapeInRange)
{
    MPointCloud cloud;
    for (int i = 0; i < 10; ++i)
        cloud.add(0.0, 0.0, i);
    cloud.add(MVector3d::Infinity);
    // Planes at z = 2 and z = 3 with a tolerance of 1: points 2 and 3 are near both.
    const MPlane planes[] = {MPlane(MVector3d(0, 0, 2), MVector3d(0, 0, 1)), MPlane(MVector3d(0, 0, 3), MVector3d(0, 0, 1)),
                             MPlane(MVector3d(0, 0, 20), MVector3d(0, 0, 1))};
    const MRegions regions = cloud.selectDistanceRange(planes, 3, -1.0, 1.0);
    EXPECT_EQ(test::labelsOf(regions), (std::vector<int>{-1, 0, 1, 1, 1, -1, -1, -1, -1, -1, -1}));
    EXPECT_EQ(test::sizesOf(regions), (std::vector<int>{1, 3, 0}));

    const MVector3d centres[] = {MVector3d(0, 0, 0), MVector3d(0, 0, 9)};
    EXPECT_EQ(test::sizesOf(cloud.selectDistanceRange(centres, 2, 0.0, 5.0)), (std::vector<int>{4, 6}));

    EXPECT_EQ(cloud.selectDistanceRange(static_cast<const MSphere *>(nullptr), 4, 0.0, 1.0).numRegions(), 0);
    EXPECT_EQ(cloud.selectDistanceRange(planes, 0, 0.0, 1.0).numRegions(), 0);
    EXPECT_EQ(cloud.selectDistanceRange(planes, 0, 0.0, 1.0).size(), cloud.size());
}

TEST(MPointCloudSelection, SeveralShapesAgreeWithSingleShapeSelections)
{
    const MPointCloud cloud = mixedCloud(4, 1, 2000);
    test::RandomGeometry random(5);
    std::vector<MCylinder> cylinders;
    for (int k = 0; k < 4; ++k)
        cylinders.emplace_back(random.point(3.0), random.unitVector(), 3.0, 4.0);
    const MRegions all = cloud.selectDistanceRange(cylinders.data(), 4, -1.0, 1.0);
    std::vector<MRegions> single;
    for (const MCylinder &c : cylinders)
        single.push_back(cloud.selectDistanceRange(c, -1.0, 1.0));
    for (int i = 0; i < cloud.size(); ++i) {
        int last = -1;
        for (int k = 0; k < 4; ++k)
            if (single[k][i] == 0)
                last = k;
        ASSERT_EQ(all[i], last) << i;
    }
}

TEST(MPointCloudSelection, CloudDistanceSelectionIgnoresTheInnerBound)
{
    MPointCloud cloud;
    for (int i = 0; i < 10; ++i)
        cloud.add(i, 0.0, 0.0);
    cloud.add(MVector3d::Infinity);
    MPointCloud other;
    other.add(0.0, 0.0, 0.0);
    other.add(9.0, 1.0, 0.0);
    const MRegions inner = cloud.selectDistanceRange(other, 0.5, 2.0);
    // Point 0 coincides with a point of other and is selected all the same.
    EXPECT_EQ(test::labelsOf(inner), (std::vector<int>{0, 0, 0, -1, -1, -1, -1, -1, 0, 0, -1}));
    EXPECT_EQ(cloud.selectDistanceRange(other, -1e9, 2.0), inner);
    EXPECT_EQ(cloud.selectDistanceRange(other, 0.0, NaN).regionSize(0), 0);
    EXPECT_EQ(cloud.selectDistanceRange(other, 0.0, -1.0).regionSize(0), 0);
    EXPECT_EQ(cloud.selectDistanceRange(MPointCloud(), 0.0, 5.0).regionSize(0), 0);
}

TEST(MPointCloudSelection, CloudDistanceSelectionMatchesBruteForce)
{
    const MPointCloud cloud = mixedCloud(6, 1, 1500);
    const MPointCloud other = mixedCloud(7, 1, 300);
    const double max = 1.5;
    expectOneRegion(cloud.selectDistanceRange(other, 0.0, max), cloud, [&](const MVector3d &p) {
        for (int j = 0; j < other.size(); ++j)
            if (other[j].isValid() && (other[j] - p).norm() <= max)
                return true;
        return false;
    });
}

TEST(MPointCloudSelection, NormalSelectionUsesStoredNormalsAndBothSides)
{
    MPointCloud cloud;
    const double angles[] = {0.0, 0.3, 0.6, 1.0, M_PI - 0.3, M_PI / 2};
    for (const double a : angles) {
        cloud.add(a, 0.0, 0.0);
        cloud.addNormal(MVector3f(float(std::sin(a)), 0.0f, float(std::cos(a))));
    }
    cloud.add(9.0, 0.0, 0.0);
    cloud.addNormal(MVector3f::Infinity);
    cloud.add(MVector3d::Infinity);
    cloud.addNormal(MVector3f(0.0f, 0.0f, 1.0f));

    EXPECT_EQ(test::labelsOf(cloud.selectNormalZ(0.2, 0.7, false)), (std::vector<int>{-1, 0, 0, -1, -1, -1, -1, -1}));
    EXPECT_EQ(test::labelsOf(cloud.selectNormal(MVector3d(0, 0, 1), 0.2, 0.7, true)),
              (std::vector<int>{-1, 0, 0, -1, 0, -1, -1, -1}));
    EXPECT_EQ(cloud.selectNormalX(0.0, 0.1, false)[5], 0);
    EXPECT_EQ(cloud.selectNormalY(M_PI / 2 - 1e-6, M_PI / 2 + 1e-6, false).regionSize(0), 6);
    EXPECT_EQ(cloud.selectNormal(MVector3d::Infinity, 0.0, M_PI, true).regionSize(0), 0);
}

TEST(MPointCloudSelection, NormalSelectionComputesNormalsOnACopy)
{
    MPointCloud cloud;
    for (int i = 0; i < 400; ++i)
        cloud.add(i % 20, i / 20, 0.0);
    const MPointCloud before = cloud;
    const MRegions up = cloud.selectNormalZ(0.0, 0.01, false);
    EXPECT_EQ(cloud, before);
    EXPECT_EQ(up.regionSize(0), cloud.size());
    EXPECT_EQ(cloud.selectNormalX(0.0, 1.5, true).regionSize(0), 0);
}

TEST(MPointCloudSelection, NeighbourCountSelectionFollowsComputeNumNeighbors)
{
    const MPointCloud cloud = mixedCloud(8, 1, 2000);
    std::vector<int> counts(cloud.size());
    cloud.computeNumNeighbors(counts.data(), 2.0);
    const MRegions regions = cloud.selectNumNeighbors(2.0, 3, 5);
    int selected = 0;
    for (int i = 0; i < cloud.size(); ++i) {
        const bool expected = cloud[i].isValid() && counts[i] >= 3 && counts[i] <= 5;
        ASSERT_EQ(regions[i], expected ? 0 : -1) << i;
        selected += expected;
    }
    EXPECT_GT(selected, 0);
    // Invalid points count 0 neighbours but are never selected.
    EXPECT_EQ(MPointCloud(3).selectNumNeighbors(1.0, 0, 0).regionSize(0), 0);
}

TEST(MPointCloudSelection, SingleRegionByNumberOfPointsTakesTheFirstOnATie)
{
    MPointCloud cloud(8);
    const MRegions regions = test::regionsOf({1, 1, 2, 2, 0, -1, -1, -1}, 3);
    EXPECT_EQ(cloud.selectSingleRegionByNumberOfPoints(regions, true), regions.region(1));
    EXPECT_EQ(cloud.selectSingleRegionByNumberOfPoints(regions, false), regions.region(0));
    EXPECT_EQ(cloud.selectSingleRegionByNumberOfPoints(MRegions(8), true), MRegions());
}

TEST(MPointCloudSelection, SingleRegionByBoundingBoxSkipsRegionsWithoutValidPoints)
{
    MPointCloud cloud;
    cloud.add(0.0, 0.0, 0.0);
    cloud.add(3.0, 4.0, 0.0); // region 0: diagonal 5
    cloud.add(0.0, 0.0, 0.0);
    cloud.add(0.0, 0.0, 2.0); // region 1: diagonal 2
    cloud.add(MVector3d::Infinity); // region 2: no valid point
    cloud.add(1.0, 1.0, 1.0); // region 3: one point, diagonal 0
    cloud.add(0.0, 0.0, 0.0);
    cloud.add(0.0, 5.0, 0.0); // region 4: diagonal 5, after region 0
    const MRegions regions = test::regionsOf({0, 0, 1, 1, 2, 3, 4, 4}, 5);
    EXPECT_EQ(cloud.selectSingleRegionByBoundingBoxSize(regions, true), regions.region(0));
    EXPECT_EQ(cloud.selectSingleRegionByBoundingBoxSize(regions, false), regions.region(3));

    EXPECT_EQ(cloud.selectSingleRegionByBoundingBoxSize(test::regionsOf({-1, -1, -1, -1, 0, -1, -1, -1}, 1), true), MRegions());
}

TEST(MPointCloudSelection, RegionEditsInvalidateByLabel)
{
    MPointCloud cloud;
    for (int i = 0; i < 6; ++i)
        cloud.add(i, 0.0, 0.0);
    // Four labels for six points: the last two have no region.
    const MRegions regions = test::regionsOf({-1, 0, 0, -1}, 1);

    MPointCloud reduced = cloud;
    reduced.reduceToRegions(regions);
    MPointCloud removed = cloud;
    removed.removeRegions(regions);
    for (int i = 0; i < cloud.size(); ++i) {
        const bool inRegion = i == 1 || i == 2;
        EXPECT_EQ(reduced[i].isValid(), inRegion) << i;
        EXPECT_EQ(removed[i].isValid(), !inRegion) << i;
    }
    EXPECT_EQ(reduced.numPoints(), 6);

    MPointCloud untouched = cloud;
    untouched.removeRegions(MRegions());
    EXPECT_EQ(untouched, cloud);
    untouched.reduceToRegions(MRegions());
    EXPECT_EQ(untouched.numValidPoints(), 0);
}

TEST(MPointCloudSelection, CleanSmallSegmentsDropsSmallGroups)
{
    MPointCloud cloud;
    for (int i = 0; i < 5; ++i)
        cloud.add(i, 0.0, 0.0);
    for (int i = 0; i < 30; ++i)
        cloud.add(i, 100.0, 0.0);
    cloud.add(MVector3d::Infinity);
    cloud.add(50.0, 50.0, 50.0);
    MPointCloud cleaned = cloud;
    EXPECT_EQ(cleaned.cleanSmallSegments(10, 1.5), 6);
    EXPECT_EQ(cleaned.numValidPoints(), 30);
    EXPECT_EQ(cleaned.numPoints(), cloud.numPoints());
    for (int i = 5; i < 35; ++i)
        EXPECT_EQ(cleaned[i], cloud[i]);

    MPointCloud refused = cloud;
    EXPECT_EQ(refused.cleanSmallSegments(10, NaN), 0);
    EXPECT_EQ(refused, cloud);
    test::ScopedExceptions on;
    EXPECT_MEXCEPTION(refused.cleanSmallSegments(10, NaN), "MPointCloud::connectivitySegmentation: invalid radius!");
}

TEST(MPointCloudSelection, BadParametersGiveEmptyRegionsWithoutHarm)
{
    const MPointCloud cloud = mixedCloud(9, 1, 200);
    const MPointCloud empty;
    const MPointCloud invalidOnly(5);
    for (const MPointCloud *c : {&cloud, &empty, &invalidOnly}) {
        EXPECT_EQ(c->selectNumNeighbors(NaN, 0, 100).size(), c->size());
        EXPECT_EQ(c->selectNumNeighbors(-Marker, 0, 100).size(), c->size());
        EXPECT_EQ(c->selectDistanceRange(cloud, 0.0, std::numeric_limits<double>::infinity()).size(), c->size());
        EXPECT_EQ(c->selectDistanceRange(MPlane::Z, NaN, NaN).regionSize(0), 0);
        EXPECT_EQ(c->selectX(NaN, Marker).regionSize(0), 0);
        EXPECT_EQ(c->selectNormalZ(NaN, 1.0, true).regionSize(0), 0);
        EXPECT_EQ(c->selectDistanceRange(MCone(MVector3d(0, 0, 0), MVector3d(0, 0, 1), 1.0, NaN, NaN), -1.0, 1.0).size(), c->size());
        MPointCloud copy = *c;
        EXPECT_EQ(copy.cleanSmallSegments(-4, -1.0), 0);
        copy.cleanSmallSegments(3, Marker);
        copy.reduceToRegions(c->selectZ(0.0, 1.0));
        EXPECT_EQ(copy.numPoints(), c->numPoints());
    }
    EXPECT_EQ(invalidOnly.selectNumNeighbors(NaN, 0, 100).regionSize(0), 0);
}
