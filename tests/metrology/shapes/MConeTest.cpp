#include "MCone.h"
#include "MLine.h"
#include "GeometryTestSupport.h"
#include "RoundShapeTestSupport.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace ZOLAR3D;
using test::TestPi;

namespace {

// Radius 1 at the origin, 45 degrees half angle: the apex lies at (0, 0, 1),
// the cap at z = 0.5 with radius 0.5, the base at z = -0.5 with radius 1.5.
const MCone cone(MVector3d(0, 0, 0), MVector3d(0, 0, 3), 1.0, TestPi / 2.0, 1.0);
const double h = std::sqrt(0.5);

} // namespace

TEST(MCone, DefaultIsInvalidAndMembersAreKept)
{
    EXPECT_FALSE(MCone().isValid());
    EXPECT_EQ(MCone().angle(), MInvalid);
    EXPECT_EQ(MCone().length(), MInvalid);
    EXPECT_EQ(cone.direction(), MVector3d(0, 0, 1));
    EXPECT_FALSE(MCone(MVector3d(0, 0, 0), MVector3d(0, 0, 1), 0.0, 1.0, 1.0).isValid());
    // A default cone given its members by the setters answers like one built whole.
    MCone c;
    c.setPosition(MVector3d(0, 0, 0));
    c.setDirection(MVector3d(0, 0, 1), true);
    c.setRadius(1.0);
    c.setAngle(TestPi / 2.0);
    c.setLength(1.0);
    EXPECT_EQ(c, cone);
    EXPECT_EQ(c.distance(MVector3d(2, 0, 0)), cone.distance(MVector3d(2, 0, 0)));
    c.invalidate();
    EXPECT_FALSE(c.isValid());
    EXPECT_EQ(cone.axis(), MLine(cone.position(), cone.direction(), 1.0));
}

TEST(MCone, ApexEndsAndEndRadii)
{
    EXPECT_TRUE(cone.apex().equals(MVector3d(0, 0, 1), 1e-15));
    EXPECT_EQ(cone.capCenter(), MVector3d(0, 0, 0.5));
    EXPECT_EQ(cone.baseCenter(), MVector3d(0, 0, -0.5));
    EXPECT_NEAR(cone.capRadius(), 0.5, 1e-15);
    EXPECT_NEAR(cone.baseRadius(), 1.5, 1e-15);

    // Without a length the cone runs to its apex and has no base.
    MCone endless = cone;
    endless.setLength(MInvalid);
    EXPECT_EQ(endless.capRadius(), 0.0);
    EXPECT_EQ(endless.baseRadius(), MInvalid);
    EXPECT_EQ(endless.capCenter(), MVector3d::Infinity);
    EXPECT_EQ(endless.baseCenter(), MVector3d::Infinity);

    const MCone invalid;
    EXPECT_EQ(invalid.apex(), MVector3d::Infinity);
    EXPECT_EQ(invalid.capCenter(), MVector3d::Infinity);
    EXPECT_EQ(invalid.baseCenter(), MVector3d::Infinity);
    EXPECT_EQ(invalid.capRadius(), MInvalid);
    EXPECT_EQ(invalid.baseRadius(), MInvalid);

    // No opening, no apex: the radius is the same at both ends.
    const MCone straight(MVector3d(0, 0, 0), MVector3d(0, 0, 1), 2.0, 0.0, 4.0);
    EXPECT_EQ(straight.apex(), MVector3d::Infinity);
    EXPECT_EQ(straight.capRadius(), 2.0);
    EXPECT_EQ(straight.baseRadius(), 2.0);
    EXPECT_EQ(straight.distance(MVector3d(3, 0, 7)), 1.0);
}

TEST(MCone, CapRadiusIsExactlyZeroWhenTheCapIsTheApex)
{
    for (double angle : {0.1, 0.7, 1.3, 2.9})
        for (double radius : {0.3, 1.0, 7.7, 1234.5}) {
            const double length = 2.0 * (radius / std::tan(0.5 * angle));
            const MCone c(MVector3d(1, 2, 3), MVector3d(1, 1, 0), radius, angle, length);
            EXPECT_EQ(c.capRadius(), 0.0) << angle << " " << radius;
            EXPECT_TRUE(c.capCenter().equals(c.apex(), 1e-12 * length));
        }
}

TEST(MCone, DistanceIsSignedPositiveOutside)
{
    EXPECT_NEAR(cone.distance(MVector3d(2, 0, 0)), h, 1e-15);
    EXPECT_NEAR(cone.distance(MVector3d(0, 0, 0)), -h, 1e-15);
    EXPECT_NEAR(cone.distance(MVector3d(0, 2, 1)), std::sqrt(2.0), 1e-15);
    // Far along the axis towards the base the radius keeps growing.
    EXPECT_NEAR(cone.distance(MVector3d(0, 0, -100)), -101.0 * h, 1e-12);
    EXPECT_EQ(cone.distance(MVector3d()), MInvalid);
    EXPECT_EQ(MCone().distance(MVector3d(0, 0, 0)), MInvalid);
}

TEST(MCone, BeyondTheApexTheApexIsTheNearestPoint)
{
    EXPECT_NEAR(cone.distance(MVector3d(0, 0, 3)), 2.0, 1e-15);
    EXPECT_NEAR(cone.distance(MVector3d(0.5, 0, 3)), std::sqrt(4.25), 1e-15);
    EXPECT_TRUE(cone.projection(MVector3d(0.5, 0, 3)).equals(cone.apex(), 0.0));
    // At the border of that region both answers meet.
    EXPECT_NEAR(cone.distance(MVector3d(1, 0, 2)), std::sqrt(2.0), 1e-15);
}

TEST(MCone, ProjectionLandsOnTheMantleInThePlaneThroughTheAxis)
{
    EXPECT_TRUE(cone.projection(MVector3d(2, 0, 0)).equals(MVector3d(1.5, 0, -0.5), 1e-15));
    EXPECT_TRUE(cone.projection(MVector3d(0, 1, 0)).equals(MVector3d(0, 1, 0), 1e-15));
    // On the axis: along the fixed perpendicular of (0, 0, 1), which is (-1, 0, 0).
    EXPECT_TRUE(cone.projection(MVector3d(0, 0, 0)).equals(MVector3d(-0.5, 0, 0.5), 1e-15));
    EXPECT_EQ(cone.projection(MVector3d()), MVector3d::Infinity);
    EXPECT_EQ(MCone().projection(MVector3d(0, 0, 0)), MVector3d::Infinity);
}

TEST(MCone, DistanceAndProjectionAgreeWithSamplesOfTheMantle)
{
    test::RandomGeometry random(23);
    for (int shape = 0; shape < 10; ++shape) {
        const MCone c(random.point(5.0), random.unitVector(), random.uniform(0.5, 5.0), random.uniform(0.2, 2.5), 4.0);
        MVector3d e1, e2;
        test::frameAcross(c.direction(), e1, e2);
        const MVector3d apex = c.apex();
        const double s = std::sin(0.5 * c.angle()), co = std::cos(0.5 * c.angle());
        // From the apex down the nappe, v^2 along the mantle line: the square
        // packs the samples near the apex, where all angles meet.
        const auto mantle = [&](double phi, double v) {
            const double u = v * v;
            return apex - c.direction() * (u * co) + (e1 * std::cos(phi) + e2 * std::sin(phi)) * (u * s);
        };
        for (int k = 0; k < 8; ++k) {
            const MVector3d p = random.point(15.0);
            const double sampled = test::sampledDistance(mantle, test::angleRange(), {0.0, std::sqrt(200.0)}, 100, p);
            EXPECT_NEAR(std::fabs(c.distance(p)), sampled, 1e-7);
            const MVector3d q = c.projection(p);
            EXPECT_NEAR((q - p).norm(), sampled, 1e-7);
            EXPECT_NEAR(c.distance(q), 0.0, 1e-12 * (1.0 + q.norm()));
        }
        // The sign: inside the solid cone, below the apex, is negative.
        const MVector3d inside = c.position() - c.direction() * 2.0 + e1 * (0.5 * c.radius());
        EXPECT_LT(c.distance(inside), 0.0);
        EXPECT_GT(c.distance(c.position() + e1 * (1.5 * c.radius())), 0.0);
    }
}

TEST(MCone, IntersectionKeepsToTheNappeBetweenTheEnds)
{
    MVector3d point(-7, -7, -7);
    EXPECT_TRUE(cone.intersection(MLine(MVector3d(5, 0, 0), MVector3d(-1, 0, 0)), point));
    EXPECT_TRUE(point.equals(MVector3d(1, 0, 0), 1e-15));
    EXPECT_TRUE(cone.intersection(MLine(MVector3d(0, -5, -0.25), MVector3d(0, 1, 0)), point));
    EXPECT_TRUE(point.equals(MVector3d(0, -1.25, -0.25), 1e-15));

    // Above the cap, beside the cone, or invalid: untouched.
    point = MVector3d(-7, -7, -7);
    EXPECT_FALSE(cone.intersection(MLine(MVector3d(5, 0, 0.9), MVector3d(-1, 0, 0)), point));
    EXPECT_FALSE(cone.intersection(MLine(MVector3d(5, 3, 0), MVector3d(-1, 0, 0)), point));
    EXPECT_FALSE(MCone().intersection(MLine(MVector3d(5, 0, 0), MVector3d(-1, 0, 0)), point));
    EXPECT_FALSE(cone.intersection(MLine(), point));
    EXPECT_EQ(point, MVector3d(-7, -7, -7));

    // Without a length the nappe reaches the apex, but the mirrored nappe
    // beyond it is not part of the cone.
    MCone endless = cone;
    endless.setLength(MInvalid);
    EXPECT_TRUE(endless.intersection(MLine(MVector3d(5, 0, 0.9), MVector3d(-1, 0, 0)), point));
    EXPECT_TRUE(point.equals(MVector3d(0.1, 0, 0.9), 1e-15));
    EXPECT_FALSE(endless.intersection(MLine(MVector3d(5, 0, 1.5), MVector3d(-1, 0, 0)), point));

    // Parallel to a mantle line the equation is (nearly) linear: one hit, on
    // the opposite side.
    EXPECT_TRUE(endless.intersection(MLine(MVector3d(0.5, 0, 0), MVector3d(-1, 0, 1)), point));
    EXPECT_TRUE(point.equals(MVector3d(-0.25, 0, 0.75), 1e-14));
    EXPECT_FALSE(endless.intersection(MLine(MVector3d(3, 0, 0), MVector3d(-1, 0, 1)), point));
}

TEST(MCone, RigidMotionKeepsDistancesAndPoseFollowsTheShape)
{
    test::RandomGeometry random(29);
    for (int trial = 0; trial < 50; ++trial) {
        const MCone c(random.point(10.0), random.unitVector(), 3.0, 0.8, 8.0);
        const MMatrix4 m = random.rigidMotion(50.0);
        test::expectFollowsRigidMotion(c, m, random.point(20.0), &MCone::direction);
        MCone moved = c;
        moved.applyTransformation(m);
        EXPECT_TRUE(test::near(moved.apex(), m * c.apex(), 1e-9));
    }
    EXPECT_EQ(MCone().pose(), MMatrix4::Zero);

    MCone scaled = cone;
    scaled.applyTransformation(MMatrix4::Scaling(2, 2, 2));
    EXPECT_EQ(scaled.radius(), 1.0);
    EXPECT_EQ(scaled.length(), 1.0);
    EXPECT_EQ(scaled.angle(), cone.angle());
    MCone flipped = cone;
    flipped.flip();
    EXPECT_TRUE(flipped.apex().equals(MVector3d(0, 0, -1), 1e-15));
}

