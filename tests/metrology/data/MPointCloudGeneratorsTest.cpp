#include "GeometryTestSupport.h"
#include "MBoolArray.h"
#include "MBox.h"
#include "MPointCloud.h"
#include "MRangeImage.h"
#include "MSphere.h"
#include "PointCloudSamples.h"
#include "RangeImageSamples.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

using namespace ZOLAR3D;

namespace {

const double Marker = 3.4028234663852886e38;

// Whether pixel i is a corner of a valid quad, straight from the quad test.
bool isQuadCorner(const MRangeImage &image, int i)
{
    const int row = i / image.width(), col = i % image.width();
    for (int r = row - 1; r <= row; ++r)
        for (int c = col - 1; c <= col; ++c)
            if (image.isValidQuad(r, c, 1))
                return true;
    return false;
}

// A plane z = 0.2 x + 0.1 y + 3 in image coordinates, moved by pose.
MRangeImage tiltedImage(int height, int width, const MMatrix4 &pose)
{
    MRangeImage image(height, width);
    image.setPixelSize(0.5, 0.25);
    for (int r = 0; r < height; ++r)
        for (int c = 0; c < width; ++c)
            image(r, c) = 0.2 * r * 0.25 + 0.1 * c * 0.5 + 3.0;
    image.setPose(pose);
    return image;
}

} // namespace

TEST(MPointCloudGenerators, SphereSpiralLiesOnTheSphereWithOutwardNormals)
{
    const MVector3d centre(1.0, -2.0, 3.0);
    const double radius = 2.5;
    MPointCloud cloud;
    cloud.from(MSphere(centre, radius), 1000);
    ASSERT_EQ(cloud.numPoints(), 1000);
    ASSERT_EQ(cloud.numNormals(), 1000);
    EXPECT_FALSE(cloud.hasColors());
    MVector3d sum(0.0, 0.0, 0.0);
    for (int k = 0; k < cloud.size(); ++k) {
        const MVector3d unit = (cloud[k] - centre) / radius;
        ASSERT_NEAR(unit.norm(), 1.0, 1e-14);
        ASSERT_TRUE(test::near(MVector3d(cloud.normal(k)), unit, 1e-7));
        ASSERT_NEAR(unit.y(), (2.0 * k + 1.0) / 1000.0 - 1.0, 1e-14);
        sum += unit;
    }
    // Evenly spread: the directions nearly cancel.
    EXPECT_LT(sum.norm() / 1000.0, 0.01);
    // The turn per point is 3 sqrt(5) pi, taken from the next index.
    const double a = 3.0 * std::sqrt(5.0) * M_PI;
    const double r0 = std::sqrt(1.0 - 0.999 * 0.999);
    EXPECT_TRUE(test::near(cloud[0], centre + MVector3d(std::cos(a) * r0, -0.999, std::sin(a) * r0) * radius, 1e-14));
    EXPECT_TRUE(test::near(cloud[999], centre + MVector3d(r0, 0.999, 0.0) * radius, 1e-14));
}

TEST(MPointCloudGenerators, SphereWithoutPointsOrInvalidLeavesAnEmptyCloud)
{
    std::mt19937 rng(1);
    MPointCloud cloud = test::randomPointCloud(rng, 4, 5, true);
    cloud.from(MSphere::UnitSphere, 0);
    EXPECT_EQ(cloud, MPointCloud());
    cloud.from(MSphere(MVector3d(0, 0, 0), 0.0), 10);
    EXPECT_EQ(cloud.numPoints(), 0);
    cloud.from(MSphere::UnitSphere, -3);
    EXPECT_EQ(cloud.numPoints(), 0);
    // A previous organisation does not survive.
    cloud = test::randomPointCloud(rng, 2, 2, false);
    cloud.from(MSphere::UnitSphere, 4);
    EXPECT_FALSE(cloud.isOrganized2d());
}

TEST(MPointCloudGenerators, RangeImageCloudKeepsGridAndIndices)
{
    std::mt19937 rng(2);
    MRangeImage image = test::randomRangeImage(rng, 23, 31, true, 0.3);
    image.setMaxZSlope(40.0);
    const MPointCloud cloud = image.toPointCloud(false, true);
    ASSERT_EQ(cloud.numPoints(), image.size());
    EXPECT_EQ(cloud.height(), 23);
    EXPECT_EQ(cloud.width(), 31);
    EXPECT_TRUE(cloud.isOrganized2d());
    EXPECT_EQ(cloud.numNormals(), 0);
    int kept = 0;
    for (int i = 0; i < image.size(); ++i) {
        if (isQuadCorner(image, i)) {
            ASSERT_EQ(cloud[i], image.worldPoint(i)) << i;
            ++kept;
        } else {
            ASSERT_FALSE(cloud[i].isValid()) << i;
        }
        ASSERT_EQ(cloud.color(i), image.color(i));
    }
    EXPECT_GT(kept, 0);
    EXPECT_LT(kept, image.numValidPoints());

    MPointCloud direct;
    direct.from(image, false, true);
    EXPECT_EQ(direct, cloud);
    EXPECT_FALSE(image.toPointCloud(false, false).hasColors());
    MRangeImage uncoloured = image;
    uncoloured.clearColors();
    EXPECT_FALSE(uncoloured.toPointCloud(true, true).hasColors());
}

TEST(MPointCloudGenerators, RangeImageCloudDropsIsolatedPixels)
{
    MRangeImage image(4, 4);
    image(0, 0) = 1.0;
    image(2, 2) = 1.0;
    image(2, 3) = 1.0;
    image(3, 2) = 1.0;
    image(3, 3) = 1.0;
    image(0, 3) = std::numeric_limits<double>::quiet_NaN();
    const MPointCloud cloud = image.toPointCloud(true, false);
    EXPECT_EQ(cloud.numValidPoints(), 4);
    EXPECT_FALSE(cloud[0].isValid());
    EXPECT_FALSE(cloud[3].isValid());
    EXPECT_TRUE(cloud[10].isValid());
    EXPECT_FALSE(cloud.normal(0).isValid());
    EXPECT_TRUE(test::near(MVector3d(cloud.normal(15)), MVector3d(0, 0, 1), 1e-7));
}

TEST(MPointCloudGenerators, RangeImageNormalsComeFromTheQuads)
{
    std::mt19937 rng(3);
    const MMatrix4 pose = test::randomRigidPose(rng);
    MRangeImage image = tiltedImage(12, 9, pose);
    image.invalidate(5, 4);
    const MPointCloud cloud = image.toPointCloud(true, false);
    ASSERT_EQ(cloud.numNormals(), image.size());
    // The image's plane: its normal in image terms, turned by the pose.
    MVector3d planeNormal = MVector3d(-0.2, -0.1, 1.0).normalized();
    planeNormal = pose.subMatrix3() * planeNormal;
    for (int i = 0; i < image.size(); ++i) {
        if (!cloud[i].isValid()) {
            ASSERT_FALSE(cloud.normal(i).isValid()) << i;
            continue;
        }
        ASSERT_EQ(cloud.normal(i), image.worldNormal(i)) << i;
        ASSERT_TRUE(test::near(MVector3d(cloud.normal(i)), planeNormal, 1e-6)) << i;
    }
    EXPECT_TRUE(test::near(image.averageNormal(), planeNormal, 1e-12));
}

TEST(MPointCloudGenerators, RangeImageMaskLimitsThePixels)
{
    std::mt19937 rng(4);
    const MRangeImage image = tiltedImage(6, 7, test::randomRigidPose(rng));
    MBoolArray mask(image.size() - 5);
    mask.init(false);
    for (int i = 0; i < mask.size(); i += 3)
        mask[i] = true;
    MPointCloud cloud;
    cloud.from(image, mask, true, false);
    ASSERT_EQ(cloud.numPoints(), image.size());
    EXPECT_TRUE(cloud.isOrganized2d());
    for (int i = 0; i < image.size(); ++i) {
        const bool selected = i < mask.size() && mask[i];
        ASSERT_EQ(cloud[i].isValid(), selected) << i;
        ASSERT_EQ(cloud.normal(i).isValid(), selected) << i;
        if (selected) {
            ASSERT_EQ(cloud[i], image.worldPoint(i));
        }
    }
}

TEST(MPointCloudGenerators, RangeImageAggregatesRunOverValidWorldPoints)
{
    std::mt19937 rng(5);
    const MRangeImage image = test::randomRangeImage(rng, 15, 17, false, 0.3);
    MVector3d low(Marker, Marker, Marker), high(-Marker, -Marker, -Marker);
    MVector3d sum(0.0, 0.0, 0.0);
    int count = 0;
    for (int i = 0; i < image.size(); ++i) {
        const MVector3d p = image.worldPoint(i);
        if (!p.isValid())
            continue;
        for (int k = 0; k < 3; ++k) {
            low[k] = std::min(low[k], p[k]);
            high[k] = std::max(high[k], p[k]);
        }
        sum += p;
        ++count;
    }
    MVector3d minimum, maximum;
    image.boundingBox(minimum, maximum);
    EXPECT_EQ(minimum, low);
    EXPECT_EQ(maximum, high);
    EXPECT_EQ(image.boundingBox(), MBox(low, high));
    EXPECT_TRUE(test::near(image.centroid(), sum / count, 1e-9));
    EXPECT_EQ(image.poseBoundingBox(), image.toPointCloud(true, true).poseBoundingBox());

    const MRangeImage empty(3, 3);
    empty.boundingBox(minimum, maximum);
    EXPECT_EQ(minimum, MVector3d(Marker, Marker, Marker));
    EXPECT_EQ(maximum, MVector3d(-Marker, -Marker, -Marker));
    EXPECT_EQ(empty.boundingBox(), MBox());
    EXPECT_FALSE(empty.centroid().isValid());
    EXPECT_FALSE(empty.averageNormal().isValid());
    EXPECT_EQ(empty.poseBoundingBox(), MBox());
}

TEST(MPointCloudGenerators, RangeImageAverageNormalWeighsQuadsByArea)
{
    // Two unit quads: a flat one and one rising by 2 along the columns. Their
    // normals, each twice as long as the quad is large, are (0, 0, 2) and
    // (0, -4, 2): the steep quad weighs more than the flat one.
    MRangeImage image(2, 3);
    const double z[] = {0.0, 0.0, 2.0, 0.0, 0.0, 2.0};
    image.setValues(z);
    EXPECT_TRUE(test::near(image.averageNormal(), MVector3d(0.0, -4.0, 4.0).normalized(), 1e-15));
}

TEST(MPointCloudGenerators, DegenerateImagesGiveCloudsWithoutPoints)
{
    MPointCloud cloud;
    cloud.from(MRangeImage(), true, true);
    EXPECT_EQ(cloud.numPoints(), 0);
    EXPECT_EQ(cloud.numNormals(), 0);

    MRangeImage image(3, 4);
    image.init(1.0);
    image.setPixelSize(std::numeric_limits<double>::quiet_NaN(), 1.0);
    cloud.from(image, MBoolArray(), true, false);
    EXPECT_EQ(cloud.numPoints(), 12);
    EXPECT_EQ(cloud.numValidPoints(), 0);
    EXPECT_EQ(image.toPointCloud(true, true).numValidPoints(), 0);
    EXPECT_FALSE(image.averageNormal().isValid());
}
