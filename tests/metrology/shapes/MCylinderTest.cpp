#include "MCylinder.h"
#include "MLine.h"
#include "GeometryTestSupport.h"
#include "RoundShapeTestSupport.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace ZOLAR3D;
using test::TestPi;

namespace {

const MCylinder cylinder(MVector3d(1, 2, 3), MVector3d(0, 0, 2), 2.0, 10.0);

// The radial offset of q from the axis of c.
MVector3d radialOffset(const MCylinder &c, const MVector3d &q)
{
    const MVector3d w = q - c.position();
    return w - c.direction() * w.dot(c.direction());
}

} // namespace

TEST(MCylinder, DefaultIsInvalidAndMembersAreKept)
{
    // The axis is the line through the position with the length.
    EXPECT_EQ(cylinder.axis(), MLine(MVector3d(1, 2, 3), MVector3d(0, 0, 1), 10.0));
    EXPECT_FALSE(MCylinder().isValid());
    EXPECT_EQ(MCylinder().length(), MInvalid);
    EXPECT_EQ(cylinder.direction(), MVector3d(0, 0, 1));
    EXPECT_FALSE(MCylinder(MVector3d(0, 0, 0), MVector3d(0, 0, 1), 0.0, 1.0).isValid());
    // The length takes no part in validity.
    EXPECT_TRUE(MCylinder(MVector3d(0, 0, 0), MVector3d(0, 0, 1), 1.0, MInvalid).isValid());
    MCylinder c = cylinder;
    EXPECT_EQ(c.diameter(), 4.0);
    c.flip();
    EXPECT_EQ(c.direction(), MVector3d(0, 0, -1));
    EXPECT_EQ(c.distance(MVector3d(4, 2, 7)), cylinder.distance(MVector3d(4, 2, 7)));
    c.invalidate();
    EXPECT_FALSE(c.isValid());
    EXPECT_EQ(c.diameter(), MInvalid);
}

TEST(MCylinder, DistanceIsSignedAndIgnoresTheLength)
{
    EXPECT_EQ(cylinder.distance(MVector3d(4, 2, 3)), 1.0);
    EXPECT_EQ(cylinder.distance(MVector3d(1, 2, 3)), -2.0);
    EXPECT_EQ(cylinder.distance(MVector3d(1, 3, 7)), -1.0);
    EXPECT_EQ(cylinder.distance(MVector3d(4, 2, 1000)), 1.0);
    EXPECT_EQ(cylinder.distance(MVector3d()), MInvalid);
    EXPECT_EQ(MCylinder().distance(MVector3d(0, 0, 0)), MInvalid);
}

TEST(MCylinder, ProjectionStaysOnTheMantleBetweenTheEnds)
{
    EXPECT_EQ(cylinder.projection(MVector3d(4, 2, 5)), MVector3d(3, 2, 5));
    EXPECT_EQ(cylinder.projection(MVector3d(1, 2.5, 4)), MVector3d(1, 4, 4));
    // Beyond an end the rim of that end.
    EXPECT_EQ(cylinder.projection(MVector3d(4, 2, 20)), MVector3d(3, 2, 8));
    EXPECT_EQ(cylinder.projection(MVector3d(1, 4, -10)), MVector3d(1, 4, -2));
    EXPECT_EQ(cylinder.projection(MVector3d()), MVector3d::Infinity);
    EXPECT_EQ(MCylinder().projection(MVector3d(0, 0, 0)), MVector3d::Infinity);
}

TEST(MCylinder, ProjectionOfAPointOnTheAxisGoesAlongThePerpendicularOfTheDirection)
{
    // The fixed perpendicular of (0, 0, 1) is (-1, 0, 0).
    EXPECT_EQ(cylinder.projection(MVector3d(1, 2, 4)), MVector3d(-1, 2, 4));
    EXPECT_EQ(cylinder.projection(MVector3d(1, 2, 40)), MVector3d(-1, 2, 8));

    // The fixed perpendicular is not unit: the result must still lie on the mantle.
    const MCylinder tilted(MVector3d(0, 0, 0), MVector3d(1, 2, 3), 2.0, 10.0);
    const MVector3d q = tilted.projection(tilted.direction() * 1.5);
    EXPECT_NEAR(radialOffset(tilted, q).norm(), 2.0, 1e-14);
    EXPECT_NEAR((q - tilted.direction() * 1.5).dot(tilted.direction()), 0.0, 1e-14);
    const MVector3d fixed = MVector3d::PerpendicularTo(tilted.direction()).normalized();
    EXPECT_TRUE((q - tilted.direction() * 1.5).equals(fixed * 2.0, 1e-14));

    // On the (1, 1, 1) diagonal the fixed perpendicular vanishes; another one serves.
    const MCylinder diagonal(MVector3d(0, 0, 0), MVector3d(1, 1, 1), 2.0, 10.0);
    const MVector3d r = diagonal.projection(MVector3d(1, 1, 1));
    EXPECT_NEAR(radialOffset(diagonal, r).norm(), 2.0, 1e-14);
    EXPECT_NEAR((r - MVector3d(1, 1, 1)).dot(diagonal.direction()), 0.0, 1e-14);
}

TEST(MCylinder, DistanceAndProjectionAgreeWithSamplesOfTheMantle)
{
    test::RandomGeometry random(17);
    for (int shape = 0; shape < 10; ++shape) {
        const MCylinder c(random.point(10.0), random.unitVector(), random.uniform(1.0, 10.0), 2.0 * random.uniform(1.0, 10.0));
        MVector3d e1, e2;
        test::frameAcross(c.direction(), e1, e2);
        const auto mantle = [&](double phi, double along) {
            return c.position() + c.direction() * along + (e1 * std::cos(phi) + e2 * std::sin(phi)) * c.radius();
        };
        for (int k = 0; k < 5; ++k) {
            const MVector3d p = random.point(30.0);
            const double half = 0.5 * c.length();
            const double finite = test::sampledDistance(mantle, test::angleRange(), {-half, half}, 60, p);
            const MVector3d q = c.projection(p);
            EXPECT_NEAR((q - p).norm(), finite, 1e-7);
            EXPECT_NEAR(c.distance(q), 0.0, 1e-12 * (1.0 + q.norm()));

            // The infinite mantle, sampled around the point's own height.
            const double along = (p - c.position()).dot(c.direction());
            const double infinite =
                test::sampledDistance(mantle, test::angleRange(), {along - 40.0, along + 40.0}, 60, p);
            EXPECT_NEAR(std::fabs(c.distance(p)), infinite, 1e-7);
            EXPECT_EQ(c.distance(p) < 0.0, radialOffset(c, p).norm() < c.radius());
        }
    }
}

TEST(MCylinder, IntersectionFindsTheNearerMantlePointBetweenTheEnds)
{
    MVector3d point(-7, -7, -7);
    EXPECT_TRUE(cylinder.intersection(MLine(MVector3d(10, 2, 4), MVector3d(-1, 0, 0)), point));
    EXPECT_EQ(point, MVector3d(3, 2, 4));
    EXPECT_TRUE(cylinder.intersection(MLine(MVector3d(-10, 2, 4), MVector3d(-1, 0, 0)), point));
    EXPECT_EQ(point, MVector3d(-1, 2, 4));

    // Past an end, parallel to the axis, or passing beside: no hit, point untouched.
    point = MVector3d(-7, -7, -7);
    EXPECT_FALSE(cylinder.intersection(MLine(MVector3d(10, 2, 20), MVector3d(-1, 0, 0)), point));
    EXPECT_FALSE(cylinder.intersection(MLine(MVector3d(2, 2, 0), MVector3d(0, 0, 1)), point));
    EXPECT_FALSE(cylinder.intersection(MLine(MVector3d(10, 4.5, 4), MVector3d(-1, 0, 0)), point));
    EXPECT_FALSE(MCylinder().intersection(MLine(MVector3d(10, 2, 4), MVector3d(-1, 0, 0)), point));
    EXPECT_FALSE(cylinder.intersection(MLine(), point));
    EXPECT_EQ(point, MVector3d(-7, -7, -7));

    // Entering through the end face: only the mantle point within the ends counts.
    EXPECT_TRUE(cylinder.intersection(MLine(MVector3d(1, 2, 9), MVector3d(1, 0, -1)), point));
    EXPECT_TRUE(point.equals(MVector3d(3, 2, 7), 1e-14));

    // Without a length the mantle has no ends.
    const MCylinder endless(MVector3d(1, 2, 3), MVector3d(0, 0, 1), 2.0, MInvalid);
    EXPECT_TRUE(endless.intersection(MLine(MVector3d(10, 2, 1e6), MVector3d(-1, 0, 0)), point));
    EXPECT_EQ(point, MVector3d(3, 2, 1e6));
}

TEST(MCylinder, RigidMotionKeepsDistancesAndPoseFollowsTheShape)
{
    test::RandomGeometry random(19);
    for (int trial = 0; trial < 50; ++trial) {
        const MCylinder c(random.point(10.0), random.unitVector(), 3.0, 8.0);
        test::expectFollowsRigidMotion(c, random.rigidMotion(50.0), random.point(20.0), &MCylinder::direction);
    }
    EXPECT_EQ(MCylinder().pose(), MMatrix4::Zero);

    MCylinder scaled = cylinder;
    scaled.applyTransformation(MMatrix4::Scaling(2, 2, 2));
    EXPECT_EQ(scaled.position(), MVector3d(2, 4, 6));
    EXPECT_EQ(scaled.radius(), 2.0);
    EXPECT_EQ(scaled.length(), 10.0);
    MCylinder invalid;
    invalid.applyTransformation(MMatrix4::Scaling(2, 2, 2));
    EXPECT_EQ(invalid, MCylinder());
}

