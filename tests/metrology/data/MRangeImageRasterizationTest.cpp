#include "GeometryTestSupport.h"
#include "MBox.h"
#include "MMatrix3.h"
#include "MPointCloud.h"
#include "MRangeImage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>

using namespace ZOLAR3D;

namespace {

using HeightField = std::function<double(double x, double y)>;

// A box of the given size with the axes of `pose` and its minimum corner on the pose's origin.
MBox boxAt(const MMatrix4 &pose, const MVector3d &size)
{
    return MBox(size, pose * MMatrix4::Translation(size * 0.5));
}

// One point per node (x, y) = (i * stepX + offsetX, j * stepY + offsetY) of
// the box's frame, i < nx, j < ny, at local height z(x, y), in world coordinates.
MPointCloud latticeIn(const MBox &box, int nx, int ny, double stepX, double stepY, double offsetX, double offsetY,
                      const HeightField &z)
{
    const MMatrix4 toWorld = box.pose() * MMatrix4::Translation(box.size() * -0.5);
    MPointCloud cloud;
    for (int j = 0; j < ny; ++j) {
        for (int i = 0; i < nx; ++i) {
            const double x = i * stepX + offsetX, y = j * stepY + offsetY;
            cloud.add(toWorld * MVector3d(x, y, z(x, y)));
        }
    }
    return cloud;
}

MPointCloud pointsOf(std::initializer_list<MVector3d> points, std::initializer_list<MColor> colors = {})
{
    MPointCloud cloud;
    for (const MVector3d &p : points)
        cloud.add(p);
    for (const MColor &c : colors)
        cloud.addColor(c);
    return cloud;
}

// A 3 x 3 image of the unit grid, heights 7, to integrate into.
MRangeImage unitImage()
{
    MRangeImage image;
    image.from(pointsOf({{0, 0, 7}, {2, 2, 7}}), MBox(MVector3d(0, 0, 0), MVector3d(2, 2, 0)), 1.0, 1.0);
    return image;
}

} // namespace

TEST(MRangeImageRasterization, PointsOnPixelCentresGiveTheirHeightsAndWorldPositions)
{
    const MMatrix4 pose = MMatrix4::Translation(2.0, -3.0, 1.0) * MMatrix4::ZRotation(0.7) * MMatrix4::XRotation(0.2);
    const MBox box = boxAt(pose, MVector3d(5.5, 2.5, 3.0));
    const HeightField wavy = [](double x, double y) { return 1.5 + std::sin(3.0 * x) * std::cos(2.0 * y); };
    // Columns along the box's x every 0.5 (the row size), rows along its y
    // every 0.25; the box reaches two columns and two rows beyond the points.
    const MPointCloud cloud = latticeIn(box, 10, 9, 0.5, 0.25, 0.0, 0.0, wavy);
    MRangeImage image;
    ASSERT_TRUE(image.from(cloud, box, 0.5, 0.25));
    ASSERT_EQ(image.height(), 11);
    ASSERT_EQ(image.width(), 12);
    EXPECT_EQ(image.pixelSizeRows(), 0.5);
    EXPECT_EQ(image.pixelSizeColumns(), 0.25);
    // Rounding gives the neighbours of the last row and column tiny shares,
    // which must not make them valid.
    EXPECT_EQ(image.numValidPoints(), 90);
    for (int row = 0; row < 9; ++row) {
        for (int col = 0; col < 10; ++col) {
            EXPECT_NEAR(image(row, col), wavy(0.5 * col, 0.25 * row), 1e-12);
            EXPECT_TRUE(test::near(image.worldPoint(row, col), cloud.point(row * 10 + col), 1e-12));
        }
    }
    EXPECT_FALSE(image.hasColors());
}

TEST(MRangeImageRasterization, TiltedPlaneInARotatedBoxComesOutExactlyAtEveryPixel)
{
    test::RandomGeometry random(5);
    for (int trial = 0; trial < 5; ++trial) {
        const MBox box = boxAt(random.rigidMotion(100.0), MVector3d(3.0, 2.0, 4.0));
        const HeightField plane = [](double x, double y) { return 2.0 + 0.3 * x - 0.7 * y; };
        // Points every half pixel, a quarter pixel off the centres, from 3/4 of
        // a pixel before the first centre to 3/4 after the last: each pixel,
        // edge pixels included, sees them symmetrically about its centre.
        const double sizeRows = 0.1, sizeColumns = 0.2;
        const MPointCloud cloud = latticeIn(box, 64, 24, sizeRows / 2, sizeColumns / 2, -0.75 * sizeRows,
                                            -0.75 * sizeColumns, plane);
        MRangeImage image;
        ASSERT_TRUE(image.from(cloud, box, sizeRows, sizeColumns));
        ASSERT_EQ(image.width(), 31);
        ASSERT_EQ(image.height(), 11);
        ASSERT_EQ(image.numValidPoints(), image.size());
        const MMatrix4 toWorld = box.pose() * MMatrix4::Translation(box.size() * -0.5);
        for (int row = 0; row < image.height(); ++row) {
            for (int col = 0; col < image.width(); ++col) {
                const double x = col * sizeRows, y = row * sizeColumns;
                EXPECT_NEAR(image(row, col), plane(x, y), 1e-9);
                EXPECT_TRUE(test::near(image.worldPoint(row, col), toWorld * MVector3d(x, y, plane(x, y)), 1e-9));
            }
        }
    }
}

TEST(MRangeImageRasterization, GridHasTruncatedStepsPlusOneAlongEachBoxEdge)
{
    const MPointCloud one = pointsOf({{0, 0, 0}});
    MRangeImage image;
    ASSERT_TRUE(image.from(one, MBox(MVector3d(0, 0, 0), MVector3d(10, 20, 0)), 1.0, 2.0));
    EXPECT_EQ(image.width(), 11);
    EXPECT_EQ(image.height(), 11);
    ASSERT_TRUE(image.from(one, MBox(MVector3d(0, 0, 0), MVector3d(10.9, 0.5, 0)), 1.0, 1.0));
    EXPECT_EQ(image.width(), 11);
    EXPECT_EQ(image.height(), 1);
    // 0.3 / 0.1 is 2.9999999999999996 in doubles: still three whole steps.
    ASSERT_TRUE(image.from(one, MBox(MVector3d(0, 0, 0), MVector3d(0.3, 0.3, 0)), 0.1, 0.1));
    EXPECT_EQ(image.width(), 4);
    EXPECT_EQ(image.height(), 4);

    // Rows run along the box's y and columns along its x: each corner of a
    // 10 x 20 box lands on the corner pixel of its side.
    const MBox box(MVector3d(0, 0, 0), MVector3d(10, 20, 5));
    ASSERT_TRUE(image.from(pointsOf({{0, 0, 1}, {10, 0, 2}, {0, 20, 3}, {10, 20, 4}}), box, 1.0, 1.0));
    ASSERT_EQ(image.width(), 11);
    ASSERT_EQ(image.height(), 21);
    EXPECT_EQ(image.numValidPoints(), 4);
    EXPECT_EQ(image(0, 0), 1.0);
    EXPECT_EQ(image(0, 10), 2.0);
    EXPECT_EQ(image(20, 0), 3.0);
    EXPECT_EQ(image(20, 10), 4.0);
    EXPECT_EQ(image.pose(), MMatrix4::Pose(MVector3d::YUnit, MVector3d::XUnit, MVector3d::ZUnit, MVector3d::Zero));
}

TEST(MRangeImageRasterization, RefusedRastersLeaveTheImageUnchanged)
{
    const double nan = std::numeric_limits<double>::quiet_NaN(), inf = std::numeric_limits<double>::infinity();
    const MPointCloud cloud = pointsOf({{1, 1, 1}, {2, 3, 4}});
    const MBox box(MVector3d(0, 0, 0), MVector3d(4, 4, 4));
    MRangeImage image = unitImage();
    image.createColors(MColor::Red);
    const MRangeImage before = image;
    for (const double bad : {0.0, -1.0, nan, inf}) {
        EXPECT_FALSE(image.from(cloud, box, bad, 1.0));
        EXPECT_FALSE(image.from(cloud, box, 1.0, bad));
    }
    EXPECT_FALSE(image.from(cloud, MBox(), 1.0, 1.0));
    EXPECT_FALSE(image.from(cloud, MBox(MVector3d(1, 1, 1), MMatrix4::Scaling(2.0, 1.0, 1.0)), 1.0, 1.0));
    EXPECT_FALSE(image.from(MPointCloud(), box, 1.0, 1.0));
    EXPECT_FALSE(image.from(MPointCloud(3), box, 1.0, 1.0));
    EXPECT_FALSE(image.from(MPointCloud(3)));
    EXPECT_FALSE(image.from(cloud, MMatrix3::Scaling(1.0, 2.0, 1.0), 1.0, 1.0));
    EXPECT_FALSE(image.from(cloud, MVector3d::Zero, 1.0, 1.0));
    EXPECT_FALSE(image.from(cloud, MVector3d::Infinity, 1.0, 1.0));
    EXPECT_FALSE(image.from(MRangeImage(2, 2), box, 1.0, 1.0));
    EXPECT_EQ(image, before);
}

TEST(MRangeImageRasterization, SharesFallBilinearlyWithDistanceAndColoursAverageLikeHeights)
{
    // Pixel 0 gets only the red point a quarter step off its centre; pixel 1
    // that point at weight 1/4 and the blue one on its centre at weight 1;
    // pixel 2 two points on its centre, black and white.
    const MPointCloud cloud = pointsOf({{0.25, 0, 4}, {1, 0, 9}, {2, 0, 1}, {2, 0, 2}},
                                       {MColor::Red, MColor::Blue, MColor(0, 0, 0, 255), MColor(255, 255, 255, 255)});
    MRangeImage image;
    ASSERT_TRUE(image.from(cloud, MBox(MVector3d(0, 0, 0), MVector3d(3, 0, 0)), 1.0, 1.0));
    ASSERT_EQ(image.width(), 4);
    ASSERT_TRUE(image.hasColors());
    EXPECT_DOUBLE_EQ(image(0, 0), 4.0);
    EXPECT_DOUBLE_EQ(image(0, 1), (0.25 * 4.0 + 9.0) / 1.25);
    EXPECT_DOUBLE_EQ(image(0, 2), 1.5);
    EXPECT_FALSE(image.isValid(0, 3));
    EXPECT_EQ(image.color(0, 0), MColor::Red);
    EXPECT_EQ(image.color(0, 1), MColor(51, 0, 204, 255));
    EXPECT_EQ(image.color(0, 2), MColor(128, 128, 128, 255));
    EXPECT_EQ(image.color(0, 3), MColor::LightGray);

    // A cloud without colours leaves none behind.
    ASSERT_TRUE(image.from(pointsOf({{0, 0, 1}}), MBox(MVector3d(0, 0, 0), MVector3d(3, 0, 0)), 1.0, 1.0));
    EXPECT_FALSE(image.hasColors());
}

TEST(MRangeImageRasterization, IntegrateAddsACloudInTheGridAndDropsPointsOutOfItsReach)
{
    MRangeImage image = unitImage();
    const MMatrix4 pose = image.pose();
    // On the centre of (1, 1) and (2, 0), half a pixel off the grid before
    // column 0 of row 2, and three beyond every pixel's reach.
    const MPointCloud second = pointsOf({{1, 1, 3}, {0, 2, 1}, {-0.5, 2, 5}, {-1, 0, 1}, {3, 0, 1}, {1, 50, 1}},
                                        {MColor::Red, MColor::Red, MColor::Red, MColor::Red, MColor::Red, MColor::Red});
    EXPECT_EQ(image.integrate(second, false), 3);
    EXPECT_EQ(image.pose(), pose);
    EXPECT_EQ(image.numValidPoints(), 4);
    EXPECT_EQ(image(1, 1), 3.0);
    EXPECT_DOUBLE_EQ(image(2, 0), (1.0 + 0.5 * 5.0) / 1.5);
    EXPECT_EQ(image(0, 0), 7.0);
    EXPECT_EQ(image.color(1, 1), MColor::Red);
    EXPECT_EQ(image.color(0, 0), MColor::LightGray);

    // Blending: a valid pixel is one full share; keeping: it stays as it was.
    MRangeImage blended = unitImage(), kept = unitImage();
    const MPointCloud onCorner = pointsOf({{0, 0, 1}, {1, 0, 2}});
    EXPECT_EQ(blended.integrate(onCorner, false), 2);
    EXPECT_EQ(kept.integrate(onCorner, true), 2);
    EXPECT_EQ(blended(0, 0), 4.0);
    EXPECT_EQ(kept(0, 0), 7.0);
    EXPECT_EQ(blended(0, 1), 2.0);
    EXPECT_EQ(kept(0, 1), 2.0);

    MRangeImage empty;
    EXPECT_EQ(empty.integrate(second, false), 0);
    EXPECT_EQ(empty.size(), 0);
}

TEST(MRangeImageRasterization, FrameFormsRasteriseIntoTheBoundingBoxOfTheirFrame)
{
    test::RandomGeometry random(11);
    MPointCloud cloud;
    for (int i = 0; i < 400; ++i)
        cloud.add(random.point(5.0));
    const MMatrix3 frame = MMatrix3::FromEuler(0.3, -1.1, 2.0);

    MBox box(MVector3d::Zero, MMatrix4::FromMatrix3(frame));
    box.invalidate();
    for (int i = 0; i < cloud.size(); ++i)
        box.integrate(cloud.point(i));
    MRangeImage viaFrame, viaBox;
    ASSERT_TRUE(viaFrame.from(cloud, frame, 0.5, 0.7));
    ASSERT_TRUE(viaBox.from(cloud, box, 0.5, 0.7));
    EXPECT_EQ(viaFrame.width(), viaBox.width());
    EXPECT_EQ(viaFrame.height(), viaBox.height());
    EXPECT_TRUE(viaFrame.imageToWorldMatrix().equals(viaBox.imageToWorldMatrix(), 1e-9));

    // Looking down -z is the world frame; looking up +z measures heights downwards.
    MRangeImage down, world, up;
    ASSERT_TRUE(down.from(cloud, MVector3d(0, 0, -3), 0.5, 0.5));
    ASSERT_TRUE(world.from(cloud, MMatrix3::Identity, 0.5, 0.5));
    ASSERT_TRUE(up.from(cloud, MVector3d(0, 0, 3), 0.5, 0.5));
    EXPECT_EQ(down, world);
    EXPECT_TRUE(up.pose().subMatrix3().equals(MMatrix3(0, -1, 0, 1, 0, 0, 0, 0, -1), 1e-15));
    // A view along the world y takes the other branch of the frame.
    MRangeImage side;
    ASSERT_TRUE(side.from(cloud, MVector3d(0, -1, 0), 0.5, 0.5));
    EXPECT_NEAR(std::fabs(side.pose().subMatrix3().determinant()), 1.0, 1e-12);
    EXPECT_TRUE(test::near(MVector3d(side.pose().data()[2], side.pose().data()[6], side.pose().data()[10]),
                           MVector3d::YUnit, 1e-15));
}

TEST(MRangeImageRasterization, WithoutABoxTheCloudsOwnSpacingSetsThePixels)
{
    // An organised grid 0.5 apart in x and y maps one point to one pixel,
    // even when a row comes reversed as from a profiler scanning both ways.
    const MBox box = boxAt(MMatrix4::Translation(-1.0, 2.0, 0.0), MVector3d(9.5, 4.5, 1.0));
    const HeightField slope = [](double x, double y) { return 0.1 * x + 0.2 * y; };
    MPointCloud organised = latticeIn(box, 20, 10, 0.5, 0.5, 0.0, 0.0, slope);
    std::reverse(organised.points() + 4 * 20, organised.points() + 5 * 20);
    organised.setOrganized2d(10, 20);
    const MRangeImage image(organised);
    ASSERT_EQ(image.height(), 10);
    ASSERT_EQ(image.width(), 20);
    EXPECT_DOUBLE_EQ(image.pixelSizeRows(), 0.5);
    EXPECT_EQ(image.numValidPoints(), 200);
    EXPECT_TRUE(test::near(image.worldPoint(9, 19), organised.point(9, 19), 1e-12));
    EXPECT_TRUE(test::near(image.worldPoint(4, 0), organised.point(4, 19), 1e-12));

    // One far outlier: pixels stay within four per point.
    organised.setPoint(0, MVector3d(1000, 1000, 0));
    MRangeImage withOutlier;
    ASSERT_TRUE(withOutlier.from(organised));
    EXPECT_LE(withOutlier.size(), 4 * 200 + 2 * (withOutlier.width() + withOutlier.height()));

    // Unorganised: the spacing of the points spread over their footprint; a
    // point at infinity has no place in it.
    MPointCloud loose = latticeIn(box, 20, 10, 0.5, 0.5, 0.0, 0.0, slope);
    MRangeImage fromLoose;
    ASSERT_TRUE(fromLoose.from(loose));
    EXPECT_DOUBLE_EQ(fromLoose.pixelSizeRows(), std::sqrt(9.5 * 4.5 / 200));
    loose.add(MVector3d(std::numeric_limits<double>::infinity(), 0, 0));
    ASSERT_TRUE(fromLoose.from(loose));
    EXPECT_EQ(fromLoose.numValidPoints(), fromLoose.size());
    // A single point is one pixel of the default size.
    ASSERT_TRUE(fromLoose.from(pointsOf({{3, 4, 5}})));
    EXPECT_EQ(fromLoose.size(), 1);
    EXPECT_EQ(fromLoose.pixelSizeRows(), 1.0);
    EXPECT_EQ(fromLoose.worldPoint(0, 0), MVector3d(3, 4, 5));
}

TEST(MRangeImageRasterization, ResamplingAnImageIntoItsOwnGridKeepsItsPixels)
{
    const MBox box = boxAt(MMatrix4::Translation(1, 2, 3) * MMatrix4::ZRotation(0.4), MVector3d(3.0, 2.0, 1.0));
    MPointCloud cloud = latticeIn(box, 7, 5, 0.5, 0.5, 0.0, 0.0, [](double x, double y) { return x * y; });
    cloud.resizeColors(cloud.size(), MColor::Green);
    cloud.invalidatePoint(12);
    MRangeImage image;
    ASSERT_TRUE(image.from(cloud, box, 0.5, 0.5));
    MRangeImage resampled;
    ASSERT_TRUE(resampled.from(image, box, 0.5, 0.5));
    EXPECT_EQ(resampled.numValidPoints(), 34);
    EXPECT_TRUE(resampled.hasColors());
    for (int i = 0; i < image.size(); ++i)
        EXPECT_NEAR(resampled[i], image[i], image.isValid(i) ? 1e-12 : 0.0);
    // The source may be the image itself.
    ASSERT_TRUE(image.from(image, box, 0.25, 0.25));
    EXPECT_EQ(image.width(), 13);
    EXPECT_NEAR(image(8, 12), 3.0 * 2.0, 1e-12);
}
