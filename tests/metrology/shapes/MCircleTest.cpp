#include "MCircle.h"
#include "MLine.h"
#include "GeometryTestSupport.h"
#include "RoundShapeTestSupport.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace ZOLAR3D;
using test::TestPi;

namespace {

const MCircle circle(MVector3d(1, 2, 3), MVector3d(0, 0, 2), 2.0);

} // namespace

TEST(MCircle, DefaultIsInvalidAndRadiusMustLieStrictlyBetweenZeroAndMarker)
{
    EXPECT_FALSE(MCircle().isValid());
    EXPECT_EQ(MCircle().radius(), MInvalid);
    const MVector3d p(0, 0, 0), n(0, 0, 1);
    EXPECT_FALSE(MCircle(p, n, 0.0).isValid());
    EXPECT_FALSE(MCircle(p, n, -1.0).isValid());
    EXPECT_FALSE(MCircle(p, n, MInvalid).isValid());
    EXPECT_FALSE(MCircle(p, n, std::nan("")).isValid());
    EXPECT_TRUE(MCircle(p, n, 1e-300).isValid());
    EXPECT_FALSE(MCircle(MVector3d(), n, 1.0).isValid());
    // A null normal has no direction: normalising makes it invalid.
    EXPECT_FALSE(MCircle(p, MVector3d(0, 0, 0), 1.0).isValid());

    MCircle c = circle;
    c.invalidate();
    EXPECT_EQ(c.position().x(), MInvalid);
    EXPECT_EQ(c.diameter(), MInvalid);
    EXPECT_EQ(circle.diameter(), 4.0);
}

TEST(MCircle, NormalIsNormalisedUnlessVouchedForOrInvalid)
{
    EXPECT_EQ(circle.normal(), MVector3d(0, 0, 1));
    // Unit length is not part of validity.
    const MCircle vouched(MVector3d(0, 0, 0), MVector3d(0, 0, 2), 1.0, true);
    EXPECT_EQ(vouched.normal(), MVector3d(0, 0, 2));
    EXPECT_TRUE(vouched.isValid());
    MCircle c;
    c.setNormal(MVector3d(1.0, std::nan(""), 0.0));
    EXPECT_EQ(c.normal().x(), 1.0);
    c.setNormal(MVector3d(3, 0, 4));
    EXPECT_EQ(c.normal(), MVector3d(0.6, 0, 0.8));
    // Flipping turns the normal but does not move the curve.
    c = circle;
    c.flip();
    EXPECT_EQ(c.normal(), MVector3d(0, 0, -1));
    EXPECT_EQ(c.distance(MVector3d(4, 2, 7)), circle.distance(MVector3d(4, 2, 7)));
}

TEST(MCircle, DistanceIsToTheCurveNotTheDisc)
{
    // w = (3, 0, 4): 4 along the normal, 3 from the axis, 1 beyond the rim.
    EXPECT_EQ(circle.squaredDistance(MVector3d(4, 2, 7)), 17.0);
    EXPECT_EQ(circle.distance(MVector3d(4, 2, 7)), std::sqrt(17.0));
    // The centre lies in the disc but a radius away from the curve.
    EXPECT_EQ(circle.distance(MVector3d(1, 2, 3)), 2.0);
    EXPECT_EQ(circle.distance(MVector3d(1, 4, 3)), 0.0);
    EXPECT_EQ(circle.squaredDistance(MVector3d(1, 2, 10)), 53.0);
}

TEST(MCircle, ProjectionGoesToTheNearestPointOfTheCurve)
{
    EXPECT_EQ(circle.projection(MVector3d(4, 2, 7)), MVector3d(3, 2, 3));
    EXPECT_TRUE(circle.projection(MVector3d(1, 0, -5)).equals(MVector3d(1, 0, 3), 1e-15));
    // Every point of the curve is equally near to a point on the axis.
    EXPECT_EQ(circle.projection(MVector3d(1, 2, 10)), MVector3d::Infinity);
}

TEST(MCircle, InvalidOperandsGiveMarkerInfinityAndZero)
{
    const MCircle invalid;
    EXPECT_EQ(invalid.distance(MVector3d(0, 0, 0)), MInvalid);
    EXPECT_EQ(invalid.squaredDistance(MVector3d(0, 0, 0)), MInvalid);
    EXPECT_EQ(invalid.projection(MVector3d(0, 0, 0)), MVector3d::Infinity);
    EXPECT_EQ(invalid.pose(), MMatrix4::Zero);
    EXPECT_EQ(circle.distance(MVector3d()), MInvalid);
    EXPECT_EQ(circle.squaredDistance(MVector3d(std::nan(""), 0, 0)), MInvalid);
    EXPECT_EQ(circle.projection(MVector3d()), MVector3d::Infinity);

    double t = -1.0;
    EXPECT_EQ(invalid.intersection(MLine(MVector3d(0, 0, 5), MVector3d(0, 0, -1)), t), MVector3d::Infinity);
    EXPECT_EQ(t, -1.0);

    MCircle moved = invalid;
    moved.applyTransformation(MMatrix4::Translation(MVector3d(1, 1, 1)));
    EXPECT_EQ(moved, invalid);
}

TEST(MCircle, IntersectionCountsTheDiscAndPassesTheLineParameterOn)
{
    double t = 0.0;
    EXPECT_EQ(circle.intersection(MLine(MVector3d(2, 2, 10), MVector3d(0, 0, -1)), t), MVector3d(2, 2, 3));
    EXPECT_EQ(t, 7.0);
    // On the rim still counts.
    EXPECT_EQ(circle.intersection(MLine(MVector3d(3, 2, 0), MVector3d(0, 0, 1)), t), MVector3d(3, 2, 3));
    EXPECT_EQ(t, 3.0);
    // Outside the disc: no point, but the plane parameter is passed on.
    t = 0.0;
    EXPECT_EQ(circle.intersection(MLine(MVector3d(4, 2, 10), MVector3d(0, 0, -1)), t), MVector3d::Infinity);
    EXPECT_EQ(t, 7.0);
    // Parallel to the plane: no point and t untouched.
    t = -1.0;
    EXPECT_EQ(circle.intersection(MLine(MVector3d(0, 0, 5), MVector3d(1, 0, 0)), t), MVector3d::Infinity);
    EXPECT_EQ(t, -1.0);
}

TEST(MCircle, DistanceAndProjectionAgreeWithSamplesOfTheCurve)
{
    test::RandomGeometry random(7);
    for (int shape = 0; shape < 20; ++shape) {
        const MCircle c(random.point(10.0), random.unitVector(), random.uniform(0.5, 20.0));
        MVector3d e1, e2;
        test::frameAcross(c.normal(), e1, e2);
        for (int k = 0; k < 10; ++k) {
            const MVector3d p = random.point(30.0);
            double sampled = 1e300;
            const int steps = 20000;
            for (int i = 0; i < steps; ++i) {
                const double phi = 2.0 * TestPi * i / steps;
                const MVector3d q = c.position() + (e1 * std::cos(phi) + e2 * std::sin(phi)) * c.radius();
                sampled = std::min(sampled, (q - p).norm());
            }
            const double d = c.distance(p);
            EXPECT_LE(d, sampled + 1e-9);
            EXPECT_GE(d, sampled - c.radius() * TestPi / steps);
            const MVector3d q = c.projection(p);
            EXPECT_NEAR(c.distance(q), 0.0, 1e-12 * (1.0 + q.norm()));
            EXPECT_NEAR((q - p).norm(), d, 1e-9);
        }
    }
}

TEST(MCircle, RigidMotionKeepsDistancesAndPoseFollowsTheShape)
{
    test::RandomGeometry random(11);
    for (int trial = 0; trial < 50; ++trial) {
        const MCircle c(random.point(10.0), random.unitVector(), 3.0);
        test::expectFollowsRigidMotion(c, random.rigidMotion(50.0), random.point(20.0), &MCircle::normal);
    }
}

TEST(MCircle, PoseOfANormalOppositeToZIsAProperFrame)
{
    const MCircle down(MVector3d(1, 2, 3), MVector3d(0, 0, -1), 1.0);
    const MMatrix4 pose = down.pose();
    EXPECT_EQ(pose * MVector3d(0, 0, 0), MVector3d(1, 2, 3));
    EXPECT_EQ(pose * MVector3d(0, 0, 1), MVector3d(1, 2, 2));
    EXPECT_NEAR(pose.determinant(), 1.0, 1e-15);
}

TEST(MCircle, ScalingMovesTheCircleButKeepsItsRadius)
{
    MCircle c = circle;
    c.applyTransformation(MMatrix4::Scaling(2, 2, 2));
    EXPECT_EQ(c.position(), MVector3d(2, 4, 6));
    EXPECT_EQ(c.radius(), 2.0);
    EXPECT_EQ(c.normal(), MVector3d(0, 0, 2));
}

