#include "MPointCloud.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <map>
#include <random>
#include <tuple>
#include <vector>

using namespace ZOLAR3D;

namespace {

const double NaN = std::numeric_limits<double>::quiet_NaN();

// Random points with colours and normals; every 17th point is invalid.
MPointCloud attributedCloud(int n, double size, unsigned seed)
{
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> coordinate(-size / 2, size);
    std::uniform_int_distribution<int> byte(0, 255);
    MPointCloud cloud;
    for (int i = 0; i < n; ++i) {
        MVector3d p(coordinate(random), coordinate(random), coordinate(random));
        if (i % 17 == 3)
            p.setZ(i % 2 ? NaN : 3.4028234663852886e38);
        cloud.add(p);
        cloud.addColor(MColor(byte(random), byte(random), byte(random), byte(random)));
        cloud.addNormal(MVector3d(coordinate(random), coordinate(random), size).normalized().toVector3f());
    }
    return cloud;
}

MVector3d minimumCorner(const MPointCloud &cloud)
{
    MVector3d corner;
    for (int i = 0; i < cloud.numPoints(); ++i)
        corner = MVector3d::minimum(corner, cloud.point(i));
    return corner;
}

using Cell = std::tuple<double, double, double>;

// Cubes counted from the minimum corner, by the reciprocal of the edge.
Cell cellOf(const MVector3d &p, const MVector3d &origin, double size)
{
    const double inverse = 1.0 / size;
    return {std::floor((p.x() - origin.x()) * inverse), std::floor((p.y() - origin.y()) * inverse),
            std::floor((p.z() - origin.z()) * inverse)};
}

// Plain bucketing with a sorted map: for each occupied cube in the order
// first met, the indices of its valid points.
std::vector<std::vector<int>> bucketsOf(const MPointCloud &cloud, double size)
{
    const MVector3d origin = minimumCorner(cloud);
    std::map<Cell, int> rank;
    std::vector<std::vector<int>> buckets;
    for (int i = 0; i < cloud.numPoints(); ++i) {
        if (!cloud.point(i).isValid())
            continue;
        const auto [at, added] = rank.emplace(cellOf(cloud.point(i), origin, size), int(buckets.size()));
        if (added)
            buckets.emplace_back();
        buckets[at->second].push_back(i);
    }
    return buckets;
}

} // namespace

TEST(MPointCloudDecimation, VoxelMeansMatchBruteForceBucketing)
{
    const MPointCloud original = attributedCloud(5000, 20.0, 1);
    const double size = 2.5;
    const auto buckets = bucketsOf(original, size);
    MPointCloud cloud = original;
    cloud.setOrganized2d(50, 100);
    cloud.decimateVoxelBased(size, true, 1);
    ASSERT_EQ(cloud.numPoints(), int(buckets.size()));
    ASSERT_TRUE(cloud.hasColors());
    ASSERT_TRUE(cloud.hasNormals());
    EXPECT_EQ(cloud.height(), 0);
    EXPECT_EQ(cloud.width(), 0);
    for (std::size_t v = 0; v < buckets.size(); ++v) {
        MVector3d sum(0, 0, 0), normalSum(0, 0, 0);
        double red = 0, alpha = 0;
        for (int i : buckets[v]) {
            sum += original.point(i);
            normalSum += MVector3d(original.normal(i));
            red += original.color(i).red();
            alpha += original.color(i).alpha();
        }
        const double n = double(buckets[v].size());
        ASSERT_TRUE(cloud.point(int(v)).equals(sum / n, 1e-12)) << v;
        ASSERT_TRUE(cloud.normal(int(v)).equals(normalSum.normalized().toVector3f(), 1e-6)) << v;
        ASSERT_EQ(cloud.color(int(v)).red(), int(std::floor(red / n + 0.5))) << v;
        ASSERT_EQ(cloud.color(int(v)).alpha(), int(std::floor(alpha / n + 0.5))) << v;
    }
}

TEST(MPointCloudDecimation, VoxelFirstPointsMatchBruteForceBucketing)
{
    const MPointCloud original = attributedCloud(3000, 10.0, 2);
    const auto buckets = bucketsOf(original, 1.5);
    for (int maxPerVoxel : {0, 1, 3}) {
        std::vector<bool> expected(original.numPoints(), false);
        for (const auto &bucket : buckets)
            for (std::size_t k = 0; k < bucket.size() && int(k) < std::max(maxPerVoxel, 1); ++k)
                expected[bucket[k]] = true;
        MPointCloud cloud = original;
        cloud.decimateVoxelBased(1.5, false, maxPerVoxel);
        int next = 0;
        for (int i = 0; i < original.numPoints(); ++i) {
            if (!expected[i])
                continue;
            ASSERT_LT(next, cloud.numPoints());
            ASSERT_TRUE(cloud.point(next) == original.point(i)) << i;
            ASSERT_EQ(cloud.color(next), original.color(i));
            ASSERT_TRUE(cloud.normal(next) == original.normal(i));
            ++next;
        }
        EXPECT_EQ(next, cloud.numPoints()) << maxPerVoxel;
    }
}

TEST(MPointCloudDecimation, VoxelSizeZeroOrNegativeCountsInPointSpacings)
{
    const MPointCloud original = attributedCloud(2000, 10.0, 3);
    const double spacing = original.averagePointDistance(1000);
    MPointCloud automatic = original, relative = original, absolute = original, twice = original;
    automatic.decimateVoxelBased(0.0, true, 1);
    absolute.decimateVoxelBased(spacing, true, 1);
    EXPECT_EQ(automatic, absolute);
    relative.decimateVoxelBased(-2.0, true, 1);
    twice.decimateVoxelBased(2.0 * spacing, true, 1);
    EXPECT_EQ(relative, twice);
}

TEST(MPointCloudDecimation, VoxelDecimationOfDegenerateClouds)
{
    MPointCloud empty;
    empty.decimateVoxelBased(1.0, true, 1);
    EXPECT_EQ(empty.numPoints(), 0);

    MPointCloud invalid(10);
    invalid.setOrganized2d(2, 5);
    invalid.decimateVoxelBased(1.0, true, 1);
    EXPECT_EQ(invalid.numPoints(), 0);
    EXPECT_EQ(invalid.height(), 0);

    MPointCloud sameSpot;
    for (int i = 0; i < 5; ++i)
        sameSpot.add(1, 2, 3);
    MPointCloud sameSpotFirst = sameSpot;
    sameSpot.decimateVoxelBased(0.0, true, 1);
    ASSERT_EQ(sameSpot.numPoints(), 1);
    EXPECT_TRUE(sameSpot.point(0) == MVector3d(1, 2, 3));
    sameSpotFirst.decimateVoxelBased(NaN, false, 2);
    EXPECT_EQ(sameSpotFirst.numPoints(), 2);

    // Huge and tiny cubes: one voxel for all, one voxel per point.
    MPointCloud spread = attributedCloud(500, 10.0, 4);
    MPointCloud fine = spread;
    const int valid = spread.numValidPoints();
    spread.decimateVoxelBased(std::numeric_limits<double>::infinity(), true, 1);
    EXPECT_EQ(spread.numPoints(), 1);
    EXPECT_TRUE(spread.point(0).isValid());
    fine.decimateVoxelBased(1e-300, true, 1);
    EXPECT_EQ(fine.numPoints(), valid);
}

TEST(MPointCloudDecimation, MinimumPointDistanceKeepsSpacedPointsThatCoverTheCloud)
{
    const MPointCloud original = attributedCloud(3000, 10.0, 5);
    const double distance = 1.2;
    MPointCloud cloud = original;
    cloud.decimateByMinimumPointDistance(distance, false, 1);
    EXPECT_TRUE(cloud.hasColors());
    EXPECT_TRUE(cloud.hasNormals());
    for (int a = 0; a < cloud.numPoints(); ++a)
        for (int b = a + 1; b < cloud.numPoints(); ++b)
            ASSERT_GE(cloud.point(a).distance(cloud.point(b)), distance) << a << " " << b;
    // Every valid point dropped lies closer than the distance to a kept one,
    // and the first valid point is always kept.
    for (int i = 0; i < original.numPoints(); ++i) {
        if (!original.point(i).isValid())
            continue;
        double nearest = 1e300;
        for (int k = 0; k < cloud.numPoints(); ++k)
            nearest = std::min(nearest, cloud.point(k).distance(original.point(i)));
        ASSERT_LT(nearest, distance) << i;
    }
    EXPECT_TRUE(cloud.point(0) == original.point(0));
}

TEST(MPointCloudDecimation, MinimumPointDistanceInPlaceAndWithSupport)
{
    MPointCloud cloud;
    for (int i = 0; i < 10; ++i)
        cloud.add(i * 0.3, 0, 0);
    cloud.add(100, 0, 0); // alone
    cloud.add(NaN, 0, 0);
    cloud.setOrganized2d(3, 4);
    MPointCloud compact = cloud;

    cloud.decimateByMinimumPointDistance(1.0, true, 2);
    EXPECT_EQ(cloud.numPoints(), 12);
    EXPECT_TRUE(cloud.isOrganized2d());
    std::vector<int> kept;
    for (int i = 0; i < 12; ++i)
        if (cloud.point(i).isValid())
            kept.push_back(i);
    EXPECT_EQ(kept, (std::vector<int>{0, 4, 8}));

    compact.decimateByMinimumPointDistance(1.0, false, 1);
    ASSERT_EQ(compact.numPoints(), 4);
    EXPECT_TRUE(compact.point(3) == MVector3d(100, 0, 0));
    EXPECT_EQ(compact.height(), 0);
}

TEST(MPointCloudDecimation, MinimumPointDistanceOfZeroKeepsAllAndNegativeIsRelative)
{
    MPointCloud cloud;
    for (int i = 0; i < 20; ++i)
        cloud.add(i * 0.5, 0, 0);
    cloud.add(0, 0, 0);
    MPointCloud zero = cloud, relative = cloud, absolute = cloud, bad = cloud;
    zero.decimateByMinimumPointDistance(0.0, false, 1);
    EXPECT_EQ(zero.numPoints(), 21);
    relative.decimateByMinimumPointDistance(-2.0, false, 1);
    absolute.decimateByMinimumPointDistance(1.0, false, 1);
    EXPECT_EQ(relative, absolute);
    EXPECT_EQ(absolute.numPoints(), 10);
    bad.decimateByMinimumPointDistance(NaN, false, 1);
    EXPECT_EQ(bad, cloud);
    MPointCloud empty;
    empty.decimateByMinimumPointDistance(1.0, false, 1);
    EXPECT_EQ(empty.numPoints(), 0);
}

TEST(MPointCloudDecimation, SubsamplingReplacesTheCloudAndARefusedStepKeepsIt)
{
    MPointCloud cloud = attributedCloud(15, 5.0, 6);
    cloud.setOrganized2d(3, 5);
    const MPointCloud expected = cloud.subsampled(2);
    MPointCloud untouched = cloud;
    cloud.decimateBySubsampling(2);
    EXPECT_EQ(cloud, expected);
    untouched.decimateBySubsampling(0);
    EXPECT_EQ(untouched.numPoints(), 15);
    test::ScopedExceptions on;
    EXPECT_MEXCEPTION(untouched.decimateBySubsampling(-1), "MPointCloud::subsampled(): parameter out of range!");
    EXPECT_EQ(untouched.numPoints(), 15);
}
