#include "MAngle.h"
#include "MPointCloud.h"
#include "MRegions.h"
#include "PointCloudSamples.h"
#include "RegionsSupport.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

using namespace ZOLAR3D;

namespace {

const double NaN = std::numeric_limits<double>::quiet_NaN();

using test::addGrid;
using test::addSphere;
using test::expectRegionInvariants;
using test::labelsOf;

// Regions numbered largest first, never growing.
void expectLargestFirst(const MRegions &regions)
{
    for (int r = 1; r < regions.numRegions(); ++r)
        EXPECT_GE(regions.regionSize(r - 1), regions.regionSize(r));
}

// Connected groups the slow way: union-find over all pairs within radius,
// with the ball test of the tree; numbered by size, ties by first point.
std::vector<int> modelGroups(const MPointCloud &cloud, double radius, int minSize)
{
    const int n = cloud.numPoints();
    test::UnionFind groups(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i)
        for (int j = i + 1; j < n; ++j) {
            const MVector3d &a = cloud.points()[i], &b = cloud.points()[j];
            if (!a.isValid() || !b.isValid())
                continue;
            const double dx = a.x() - b.x(), dy = a.y() - b.y(), dz = a.z() - b.z();
            if (radius * radius >= dx * dx + dy * dy + dz * dz)
                groups.join(i, j);
        }
    const auto find = [&groups](int i) { return groups.find(i); };
    std::vector<int> size(std::size_t(n), 0), first(std::size_t(n), n);
    for (int i = 0; i < n; ++i)
        if (cloud.points()[i].isValid()) {
            ++size[std::size_t(find(i))];
            first[std::size_t(find(i))] = std::min(first[std::size_t(find(i))], i);
        }
    std::vector<int> roots;
    for (int i = 0; i < n; ++i)
        if (cloud.points()[i].isValid() && find(i) == i && size[std::size_t(i)] >= minSize)
            roots.push_back(i);
    std::sort(roots.begin(), roots.end(), [&](int a, int b) {
        return size[std::size_t(a)] != size[std::size_t(b)] ? size[std::size_t(a)] > size[std::size_t(b)]
                                                            : first[std::size_t(a)] < first[std::size_t(b)];
    });
    std::vector<int> number(std::size_t(n), -1);
    for (std::size_t k = 0; k < roots.size(); ++k)
        number[std::size_t(roots[k])] = int(k);
    std::vector<int> labels(std::size_t(n), -1);
    for (int i = 0; i < n; ++i)
        if (cloud.points()[i].isValid())
            labels[std::size_t(i)] = number[std::size_t(find(i))];
    return labels;
}

// A small plane first in the arrays, a large one after it, 5 apart.
MPointCloud twoSeparatedPlanes()
{
    MPointCloud cloud;
    addGrid(cloud, 10, 10, 1.0, MVector3d(0, 0, 5), MVector3d::XUnit, MVector3d::YUnit);
    addGrid(cloud, 20, 30, 1.0, MVector3d(0, 0, 0), MVector3d::XUnit, MVector3d::YUnit);
    return cloud;
}

TEST(MPointCloudSegmentation, ConnectivityNumbersSeparatedPlanesLargestFirst)
{
    const MPointCloud cloud = twoSeparatedPlanes();
    for (double radius : {1.5, -1.5}) {
        const MRegions regions = cloud.connectivitySegmentation(1, radius);
        ASSERT_EQ(regions.numRegions(), 2);
        EXPECT_EQ(regions.size(), 700);
        EXPECT_EQ(regions.regionSize(0), 600);
        EXPECT_EQ(regions.regionSize(1), 100);
        for (int i = 0; i < 700; ++i)
            EXPECT_EQ(regions[i], i < 100 ? 1 : 0);
    }
    // Both planes within reach of each other.
    EXPECT_EQ(cloud.connectivitySegmentation(1, 5.0).numRegions(), 1);
    // The small plane is dropped below its size.
    const MRegions large = cloud.connectivitySegmentation(101, 1.5);
    ASSERT_EQ(large.numRegions(), 1);
    EXPECT_EQ(large[0], -1);
    EXPECT_EQ(large[100], 0);
}

TEST(MPointCloudSegmentation, ConnectivityMatchesUnionFind)
{
    std::mt19937 rng(31);
    std::uniform_real_distribution<double> coordinate(0.0, 10.0);
    for (int round = 0; round < 6; ++round) {
        MPointCloud cloud;
        for (int i = 0; i < 400; ++i)
            cloud.add(coordinate(rng), coordinate(rng), coordinate(rng));
        // Holes and a few points lying on others.
        for (int i = 0; i < 400; i += 37)
            cloud.invalidatePoint(i);
        cloud.setPoint(5, MVector3d(NaN, 1.0, 1.0));
        for (int i = 10; i < 40; i += 3)
            cloud.setPoint(i, cloud.point(i + 1));
        for (int minSize : {0, 3}) {
            const double radius = 0.9 + 0.1 * round;
            const MRegions regions = cloud.connectivitySegmentation(minSize, radius);
            expectRegionInvariants(regions);
            EXPECT_EQ(labelsOf(regions), modelGroups(cloud, radius, minSize)) << "radius " << radius;
        }
    }
}

TEST(MPointCloudSegmentation, CrowdedBallsLoseNoNeighbour)
{
    // Far more coinciding points than a first neighbour buffer holds, and a
    // chain leading away from them.
    MPointCloud cloud;
    for (int i = 0; i < 500; ++i)
        cloud.add(1.0, 2.0, 3.0);
    for (int k = 1; k <= 5; ++k)
        cloud.add(1.0 + k, 2.0, 3.0);
    cloud.add(20.0, 2.0, 3.0);
    const MRegions regions = cloud.connectivitySegmentation(1, 1.0);
    ASSERT_EQ(regions.numRegions(), 2);
    EXPECT_EQ(regions.regionSize(0), 505);
    EXPECT_EQ(regions[505], 1);
}

TEST(MPointCloudSegmentation, OrganisedCloudGivesGridRegions)
{
    MPointCloud cloud;
    addGrid(cloud, 4, 6, 1.0, MVector3d(0, 0, 0), MVector3d::XUnit, MVector3d::YUnit);
    cloud.setOrganized2d(4, 6);
    const MRegions regions = cloud.connectivitySegmentation(1, 1.0);
    EXPECT_EQ(regions.width(), 6);
    EXPECT_EQ(regions.height(), 4);
    EXPECT_EQ(regions.regionSize(0), 24);

    cloud.setOrganized2d(1, 24); // a single row counts as unorganised
    EXPECT_EQ(cloud.connectivitySegmentation(1, 1.0).width(), 0);
}

TEST(MPointCloudSegmentation, CloudsWithoutValidPointsGiveNoRegions)
{
    MPointCloud invalid(7);
    for (double radius : {-2.0, 0.0, 1.0}) {
        const MRegions regions = invalid.connectivitySegmentation(1, radius);
        EXPECT_EQ(regions.size(), 7);
        EXPECT_EQ(regions.numRegions(), 0);
        EXPECT_EQ(invalid.normalSegmentation(1, 0.1, radius).numRegions(), 0);
        EXPECT_EQ(invalid.curvatureSegmentation(1, 0.1, radius).numRegions(), 0);
    }
    MPointCloud empty;
    EXPECT_EQ(empty.connectivitySegmentation(1, -4.0).size(), 0);
    EXPECT_EQ(empty.normalSegmentation(1, 0.1).size(), 0);
    EXPECT_EQ(empty.curvatureSegmentation(1, 0.1).size(), 0);
}

TEST(MPointCloudSegmentation, NaNParametersFail)
{
    MPointCloud cloud = twoSeparatedPlanes();
    {
        test::ScopedExceptions on;
        EXPECT_MEXCEPTION(cloud.connectivitySegmentation(1, NaN), "MPointCloud::connectivitySegmentation: invalid radius!");
        EXPECT_MEXCEPTION(cloud.normalSegmentation(1, 0.1, NaN), "MPointCloud::normalSegmentation: invalid radius!");
        EXPECT_MEXCEPTION(cloud.normalSegmentation(1, NaN), "MPointCloud::normalSegmentation: invalid angle!");
        EXPECT_MEXCEPTION(cloud.curvatureSegmentation(1, 0.1, NaN), "MPointCloud::curvatureSegmentation: invalid radius!");
        EXPECT_MEXCEPTION(cloud.curvatureSegmentation(1, NaN), "MPointCloud::curvatureSegmentation: invalid curvature difference!");
    }
    test::ScopedExceptions off(false);
    const MRegions regions = cloud.connectivitySegmentation(1, NaN);
    EXPECT_EQ(regions.size(), 700);
    EXPECT_EQ(regions.numRegions(), 0);
    EXPECT_EQ(cloud.normalSegmentation(1, NaN).numRegions(), 0);
    EXPECT_EQ(cloud.curvatureSegmentation(1, 0.1, NaN).numRegions(), 0);
    // Minus infinity times a spacing of zero is no radius either.
    MPointCloud one;
    one.add(1.0, 1.0, 1.0);
    EXPECT_EQ(one.connectivitySegmentation(1, -std::numeric_limits<double>::infinity()).numRegions(), 0);
}

// A floor and a wall meeting at a right angle along the y axis, 0.1 apart,
// with the wall's normals pointing either way.
MPointCloud floorAndWall()
{
    MPointCloud cloud;
    addGrid(cloud, 21, 21, 0.1, MVector3d(0, 0, 0), MVector3d::XUnit, MVector3d::YUnit);
    addGrid(cloud, 20, 21, 0.1, MVector3d(0, 0, 0.1), MVector3d::YUnit, MVector3d::ZUnit);
    for (int i = 0; i < cloud.numPoints(); ++i)
        cloud.addNormal(i < 441 ? MVector3f(0, 0, 1) : MVector3f(i % 2 ? 1.0f : -1.0f, 0, 0));
    return cloud;
}

TEST(MPointCloudSegmentation, NormalsSeparateFloorFromWall)
{
    MPointCloud cloud = floorAndWall();
    EXPECT_EQ(cloud.connectivitySegmentation(1, 0.15).numRegions(), 1);
    const MRegions regions = cloud.normalSegmentation(1, 0.2, 0.15);
    expectRegionInvariants(regions);
    ASSERT_EQ(regions.numRegions(), 2);
    for (int i = 0; i < cloud.numPoints(); ++i)
        EXPECT_EQ(regions[i], i < 441 ? 0 : 1);
    // The angle counts by its magnitude, and up to a right angle.
    EXPECT_EQ(cloud.normalSegmentation(1, -0.2, 0.15), regions);
    EXPECT_EQ(cloud.normalSegmentation(1, 5.0, 0.15), cloud.connectivitySegmentation(1, 0.15));
    EXPECT_EQ(cloud.normalSegmentation(1, MAngle::Pi / 2, 0.15).numRegions(), 1);
}

TEST(MPointCloudSegmentation, PointsWithoutNormalDirectionHaveNoRegion)
{
    MPointCloud cloud = floorAndWall();
    cloud.setNormal(0, MVector3f::Infinity);
    cloud.setNormal(1, MVector3f(0, 0, 0));
    const MRegions regions = cloud.normalSegmentation(1, MAngle::Pi / 2, 0.15);
    EXPECT_EQ(regions[0], -1);
    EXPECT_EQ(regions[1], -1);
    EXPECT_EQ(regions.regionSize(-1), cloud.numPoints() - 2);
}

// Share of the points of `part` (a predicate on the index) that lie in
// region r, and share of region r that belongs to `part`.
template <class Part>
void expectRegionIsPart(const MRegions &regions, int r, int numPoints, Part part, double minCover, double minPurity)
{
    int inPart = 0, inRegion = 0, both = 0;
    for (int i = 0; i < numPoints; ++i) {
        inPart += part(i);
        inRegion += regions[i] == r;
        both += part(i) && regions[i] == r;
    }
    EXPECT_GE(double(both) / inPart, minCover) << "region " << r;
    EXPECT_GE(double(both) / std::max(inRegion, 1), minPurity) << "region " << r;
}

TEST(MPointCloudSegmentation, ComputedNormalsSeparateRoofFaces)
{
    // Two faces at a right angle: z = |x| over a square, no normals given.
    MPointCloud cloud;
    for (int r = 0; r <= 40; ++r)
        for (int c = -20; c <= 20; ++c)
            cloud.add(0.05 * c, 0.05 * r, 0.05 * std::abs(c));
    const MRegions regions = cloud.normalSegmentation(20, MAngle::DegToRad(10.0));
    EXPECT_TRUE(cloud.hasNormals());
    expectRegionInvariants(regions);
    expectLargestFirst(regions);
    ASSERT_GE(regions.numRegions(), 2);
    const auto left = [&cloud](int i) { return cloud.point(i).x() < -1e-9; };
    const auto right = [&cloud](int i) { return cloud.point(i).x() > 1e-9; };
    // The faces are of one size, so either may come first.
    const int leftRegion = regions[0] == 1 ? 1 : 0;
    expectRegionIsPart(regions, leftRegion, cloud.numPoints(), left, 0.85, 0.97);
    expectRegionIsPart(regions, 1 - leftRegion, cloud.numPoints(), right, 0.85, 0.97);
}

TEST(MPointCloudSegmentation, CurvatureSeparatesSphereFromTouchingPlane)
{
    // A plane of 3721 points and a ball of radius 0.5 resting on it.
    MPointCloud cloud;
    addGrid(cloud, 61, 61, 0.05, MVector3d(0, 0, 0), MVector3d::XUnit, MVector3d::YUnit);
    const int planePoints = cloud.numPoints();
    addSphere(cloud, 1257, 0.5, MVector3d(1.5, 1.5, 0.5));
    EXPECT_EQ(cloud.connectivitySegmentation(1, 0.08).numRegions(), 1);

    // Curvature 0 against 2. Where the ball comes close to the plane, the
    // neighbourhoods hold both and the estimates blend: those points form
    // small pieces of their own or none, but never mix the two large ones.
    const MRegions regions = cloud.curvatureSegmentation(30, 1.0, 0.15);
    EXPECT_TRUE(cloud.hasNormals());
    expectRegionInvariants(regions);
    expectLargestFirst(regions);
    ASSERT_GE(regions.numRegions(), 2);
    const auto plane = [planePoints](int i) { return i < planePoints; };
    const auto sphere = [planePoints](int i) { return i >= planePoints; };
    expectRegionIsPart(regions, 0, cloud.numPoints(), plane, 0.9, 0.99);
    expectRegionIsPart(regions, 1, cloud.numPoints(), sphere, 0.75, 0.99);
}

TEST(MPointCloudSegmentation, CurvatureKeepsAPlaneWhole)
{
    MPointCloud cloud;
    addGrid(cloud, 30, 30, 0.1, MVector3d(0, 0, 0), MVector3d::XUnit, MVector3d::YUnit);
    const MRegions regions = cloud.curvatureSegmentation(1, 0.5);
    ASSERT_EQ(regions.numRegions(), 1);
    EXPECT_EQ(regions.regionSize(0), 900);
    // A negative difference counts by its magnitude.
    EXPECT_EQ(cloud.curvatureSegmentation(1, -0.5), regions);
}

} // namespace
