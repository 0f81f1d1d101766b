#include "MBox.h"
#include "GeometryTestSupport.h"
#include "RoundShapeTestSupport.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace ZOLAR3D;
using test::TestPi;

namespace {

// Size (2, 4, 6) around the origin.
const MBox box(MVector3d(-1, -2, -3), MVector3d(1, 2, 3));

// The smallest distance from p to the six faces of b, sampled.
double sampledToFaces(const MBox &b, const MVector3d &p)
{
    const MVector3d half = b.size() * 0.5;
    double best = 1e300;
    for (int axis = 0; axis < 3; ++axis)
        for (double side : {-1.0, 1.0}) {
            const int u = (axis + 1) % 3, v = (axis + 2) % 3;
            const auto face = [&](double a, double c) {
                MVector3d local;
                local[axis] = side * half[axis];
                local[u] = a * half[u];
                local[v] = c * half[v];
                return b.pose() * local;
            };
            best = std::min(best, test::sampledDistance(face, {-1.0, 1.0}, {-1.0, 1.0}, 40, p));
        }
    return best;
}

} // namespace

TEST(MBox, DefaultHasInvalidSizeAndIdentityMatrices)
{
    const MBox b;
    EXPECT_FALSE(b.isValid());
    EXPECT_FALSE(b.size().isValid());
    EXPECT_EQ(b.pose(), MMatrix4::Identity);
    EXPECT_EQ(b.inversePose(), MMatrix4::Identity);
    EXPECT_EQ(b.distance(MVector3d(0, 0, 0)), MInvalid);
    EXPECT_EQ(b.projection(MVector3d(0, 0, 0)), MVector3d::Infinity);
    EXPECT_EQ(b.minCorner(), MVector3d::Infinity);
    EXPECT_EQ(b.maxCorner(), MVector3d::Infinity);
    EXPECT_EQ(b.position(), MVector3d::Infinity);
    EXPECT_EQ(b.relativeSize(), MVector3d::Infinity);
    EXPECT_EQ(b.volume(), MInvalid);
    EXPECT_EQ(box.distance(MVector3d()), MInvalid);
    EXPECT_EQ(box.projection(MVector3d()), MVector3d::Infinity);

    MBox invalidated = box;
    invalidated.invalidate();
    EXPECT_EQ(invalidated.size().x(), MInvalid);
    EXPECT_EQ(invalidated.size().y(), 4.0);
    EXPECT_FALSE(invalidated.isValid());
}

TEST(MBox, CornersInEitherOrderSpanTheSameBox)
{
    EXPECT_EQ(box.size(), MVector3d(2, 4, 6));
    EXPECT_EQ(box, MBox(MVector3d(1, 2, 3), MVector3d(-1, -2, -3)));
    const MBox shifted(MVector3d(4, 1, 0), MVector3d(2, 5, -2));
    EXPECT_EQ(shifted.size(), MVector3d(2, 4, 2));
    EXPECT_EQ(shifted.position(), MVector3d(3, 3, -1));
    EXPECT_EQ(shifted.pose(), MMatrix4::Translation(MVector3d(3, 3, -1)));
    EXPECT_EQ(shifted.inversePose(), MMatrix4::Translation(MVector3d(-3, -3, 1)));
    EXPECT_EQ(shifted.minCorner(), MVector3d(2, 1, -2));
    EXPECT_EQ(shifted.maxCorner(), MVector3d(4, 5, 0));

    EXPECT_FALSE(MBox(MVector3d(), MVector3d(1, 1, 1)).isValid());
    // An invalid corner resets the pose but keeps the size.
    MBox b = shifted;
    b.from(MVector3d(0, 0, 0), MVector3d());
    EXPECT_EQ(b.size(), MVector3d(2, 4, 2));
    EXPECT_EQ(b.pose(), MMatrix4::Identity);
    EXPECT_EQ(b.inversePose(), MMatrix4::Identity);
}

TEST(MBox, SizePoseAndDerivedMeasures)
{
    const MMatrix4 pose = MMatrix4::Translation(MVector3d(1, 2, 3)) * MMatrix4::ZRotation(TestPi / 2.0);
    MBox b(MVector3d(2, 4, 6), pose);
    EXPECT_EQ(b.pose(), pose);
    EXPECT_EQ(b.inversePose(), pose.rigidInverse());
    EXPECT_TRUE(b.xDirection().equals(MVector3d(0, 1, 0), 1e-15));
    EXPECT_TRUE(b.yDirection().equals(MVector3d(-1, 0, 0), 1e-15));
    EXPECT_TRUE(b.zDirection().equals(MVector3d(0, 0, 1), 1e-15));
    EXPECT_EQ(b.position(), MVector3d(1, 2, 3));
    EXPECT_TRUE(b.minCorner().equals(MVector3d(3, 1, 0), 1e-15));
    EXPECT_TRUE(b.maxCorner().equals(MVector3d(-1, 3, 6), 1e-15));
    EXPECT_EQ(b.volume(), 48.0);
    EXPECT_TRUE(b.relativeSize().equals(MVector3d(2, 4, 6) / std::sqrt(56.0), 1e-16));
    b.setSize(MVector3d(0, 0, 0));
    EXPECT_EQ(b.relativeSize(), MVector3d::Zero);
    EXPECT_NE(b, MBox(MVector3d(2, 4, 6), pose));
}

TEST(MBox, DistanceIsExactOutsideAndNegativeInside)
{
    EXPECT_EQ(box.distance(MVector3d(0, 0, 0)), -1.0);
    EXPECT_EQ(box.distance(MVector3d(0.5, 0, 0)), -0.5);
    EXPECT_EQ(box.distance(MVector3d(0, 1.75, 0.5)), -0.25);
    EXPECT_EQ(box.distance(MVector3d(1, 0, 0)), 0.0);
    EXPECT_EQ(box.distance(MVector3d(3, 0, 0)), 2.0);
    EXPECT_EQ(box.distance(MVector3d(2, 3, 0)), std::sqrt(2.0));
    EXPECT_EQ(box.distance(MVector3d(-3, -4, -5)), std::sqrt(12.0));

    test::RandomGeometry random(31);
    for (int trial = 0; trial < 8; ++trial) {
        const MBox b(MVector3d(1, 3, 5), random.rigidMotion(50.0));
        for (int k = 0; k < 5; ++k) {
            const MVector3d p = b.pose() * random.point(4.0);
            EXPECT_NEAR(std::fabs(b.distance(p)), sampledToFaces(b, p), 1e-7);
        }
    }
}

// Every local coordinate goes to the half size of its sign: the answer is the
// corner nearest to the point, also for points inside, never a face point.
TEST(MBox, BoxProjectionGoesToTheNearestCorner)
{
    EXPECT_EQ(box.projection(MVector3d(0.5, -0.1, 0.2)), MVector3d(1, -2, 3));
    EXPECT_EQ(box.projection(MVector3d(5, 0.1, -10)), MVector3d(1, 2, -3));
    // A coordinate of exactly 0 counts as the negative side.
    EXPECT_EQ(box.projection(MVector3d(0, 0, 0)), MVector3d(-1, -2, -3));
    const MMatrix4 pose = MMatrix4::Translation(MVector3d(10, 0, 0)) * MMatrix4::ZRotation(TestPi / 2.0);
    const MBox turned(MVector3d(2, 4, 6), pose);
    EXPECT_TRUE(turned.projection(pose * MVector3d(0.5, 0.5, 0.5)).equals(pose * MVector3d(1, 2, 3), 1e-14));
}

TEST(MBox, IntegrateGrowsTheBoxAndKeepsItsOrientation)
{
    MBox b = box;
    b.integrate(MVector3d(0.5, 1, -2));
    EXPECT_EQ(b, box);
    b.integrate(MVector3d());
    EXPECT_EQ(b, box);

    b.integrate(MVector3d(3, 0, -5));
    EXPECT_EQ(b.size(), MVector3d(4, 4, 8));
    EXPECT_EQ(b.position(), MVector3d(1, 0, -1));
    EXPECT_EQ(b.minCorner(), MVector3d(-1, -2, -5));
    EXPECT_EQ(b.maxCorner(), MVector3d(3, 2, 3));

    test::RandomGeometry random(37);
    const MMatrix4 pose = random.rigidMotion(50.0);
    MBox oriented(MVector3d(1, 1, 1), pose);
    const MBox before = oriented;
    for (int k = 0; k < 20; ++k) {
        const MVector3d p = random.point(60.0);
        const bool outside = oriented.distance(p) > 0.0;
        oriented.integrate(p);
        if (outside)
            EXPECT_NEAR(oriented.distance(p), 0.0, 1e-9) << k;
        else
            EXPECT_LE(oriented.distance(p), 0.0) << k;
    }
    EXPECT_TRUE(oriented.xDirection().equals(before.xDirection(), 1e-15));
    EXPECT_TRUE(oriented.zDirection().equals(before.zDirection(), 1e-15));
    EXPECT_LE(oriented.distance(before.minCorner()), 1e-9);
    EXPECT_LE(oriented.distance(before.maxCorner()), 1e-9);
}

TEST(MBox, AnInvalidBoxBecomesAPointBoxWithItsOrientation)
{
    MBox b;
    b.integrate(MVector3d(1, 2, 3));
    EXPECT_TRUE(b.isValid());
    EXPECT_EQ(b.size(), MVector3d(0, 0, 0));
    EXPECT_EQ(b.position(), MVector3d(1, 2, 3));
    EXPECT_EQ(b.pose(), MMatrix4::Translation(MVector3d(1, 2, 3)));
    b.integrate(MVector3d(2, 0, 3));
    EXPECT_EQ(b, MBox(MVector3d(1, 0, 3), MVector3d(2, 2, 3)));

    const MMatrix4 turn = MMatrix4::ZRotation(TestPi / 4.0);
    MBox turned(MVector3d(), turn);
    turned.integrate(MVector3d(5, 5, 5));
    EXPECT_EQ(turned.position(), MVector3d(5, 5, 5));
    EXPECT_EQ(turned.xDirection(), MBox(MVector3d(1, 1, 1), turn).xDirection());
}

TEST(MBox, IntegrateOfABoxTakesInItsCorners)
{
    test::RandomGeometry random(41);
    MBox hull(MVector3d(1, 1, 1), MMatrix4::Identity);
    const MBox other(MVector3d(2, 3, 4), random.rigidMotion(50.0));
    hull.integrate(other);
    for (double sx : {-1.0, 1.0})
        for (double sy : {-1.0, 1.0})
            for (double sz : {-1.0, 1.0}) {
                const MVector3d corner = other.pose() * MVector3d(sx, 1.5 * sy, 2 * sz);
                EXPECT_LE(hull.distance(corner), 1e-9);
            }
    const MBox kept = hull;
    hull.integrate(MBox());
    EXPECT_EQ(hull, kept);
}

TEST(MBox, RigidMotionKeepsDistancesAndPoseFollowsTheShape)
{
    test::RandomGeometry random(43);
    for (int trial = 0; trial < 50; ++trial) {
        const MBox b(MVector3d(2, 3, 4), random.rigidMotion(50.0));
        const MMatrix4 m = random.rigidMotion(50.0);
        MBox moved = b;
        moved.applyTransformation(m);
        EXPECT_EQ(moved.pose(), m * b.pose());
        const MVector3d p = b.position() + random.point(6.0);
        EXPECT_NEAR(moved.distance(m * p), b.distance(p), 1e-9);
        EXPECT_TRUE(moved.projection(m * p).equals(m * b.projection(p), 1e-9));
        EXPECT_TRUE(moved.position().equals(m * b.position(), 1e-9));
    }
}
