#include "MLine.h"
#include "MSphere.h"
#include "GeometryTestSupport.h"
#include "RoundShapeTestSupport.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace ZOLAR3D;
using test::TestPi;

TEST(MSphere, DefaultUnitSphereAndValidity)
{
    EXPECT_FALSE(MSphere().isValid());
    EXPECT_EQ(MSphere().radius(), MInvalid);
    EXPECT_EQ(MSphere::UnitSphere, MSphere(MVector3d(0, 0, 0), 1.0));
    EXPECT_TRUE(MSphere::UnitSphere.isValid());
    EXPECT_FALSE(MSphere(MVector3d(0, 0, 0), 0.0).isValid());
    EXPECT_FALSE(MSphere(MVector3d(0, 0, 0), MInvalid).isValid());
    EXPECT_FALSE(MSphere(MVector3d(), 1.0).isValid());
    MSphere s(MVector3d(1, 2, 3), 2.0);
    EXPECT_EQ(s.diameter(), 4.0);
    EXPECT_EQ(s.volume(), 4.0 / 3.0 * TestPi * 8.0);
    s.invalidate();
    EXPECT_EQ(s.position().x(), MInvalid);
    EXPECT_EQ(s.diameter(), MInvalid);
    EXPECT_EQ(s.volume(), MInvalid);
}

TEST(MSphere, DistanceIsSignedAndTheCentreIsMinusTheRadius)
{
    const MSphere s(MVector3d(1, 2, 3), 2.0);
    EXPECT_EQ(s.distance(MVector3d(1, 2, 3)), -2.0);
    EXPECT_EQ(s.distance(MVector3d(1, 2, 8)), 3.0);
    EXPECT_EQ(s.distance(MVector3d(1, 3, 3)), -1.0);
    EXPECT_EQ(s.distance(MVector3d()), MInvalid);
    EXPECT_EQ(MSphere().distance(MVector3d(0, 0, 0)), MInvalid);
}

TEST(MSphere, ProjectionGoesRadiallyToTheSurface)
{
    const MSphere s(MVector3d(1, 2, 3), 2.0);
    EXPECT_EQ(s.projection(MVector3d(1, 2, 8)), MVector3d(1, 2, 5));
    EXPECT_EQ(s.projection(MVector3d(1, 2.5, 3)), MVector3d(1, 4, 3));
    EXPECT_EQ(s.projection(MVector3d(1, 2, 3)), MVector3d::Infinity);
    EXPECT_EQ(s.projection(MVector3d()), MVector3d::Infinity);
    EXPECT_EQ(MSphere().projection(MVector3d(0, 0, 0)), MVector3d::Infinity);

    test::RandomGeometry random(5);
    for (int k = 0; k < 20; ++k) {
        const MVector3d p = random.point(10.0);
        const auto surface = [&](double theta, double phi) {
            return s.position() +
                   MVector3d(std::sin(theta) * std::cos(phi), std::sin(theta) * std::sin(phi), std::cos(theta)) *
                       s.radius();
        };
        const double sampled = test::sampledDistance(surface, {0.0, TestPi}, test::angleRange(), 60, p);
        EXPECT_NEAR(std::fabs(s.distance(p)), sampled, 1e-7);
        EXPECT_NEAR((s.projection(p) - p).norm(), std::fabs(s.distance(p)), 1e-12);
    }
}

// The intersection reports how many points the line has in common with the
// sphere; the outputs are the line's position, not the points.
TEST(MSphere, SphereIntersectionOutputsEqualLinePosition)
{
    const MSphere s(MVector3d(1, 2, 3), 2.0);
    const MVector3d marked(-7, -7, -7);

    MVector3d first = marked, second = marked;
    const MLine through(MVector3d(1, 2, 10), MVector3d(0, 0, -1));
    EXPECT_EQ(s.intersection(through, first, second), 2);
    EXPECT_EQ(first, through.position());
    EXPECT_EQ(second, through.position());

    // Touching: one point, the second output untouched.
    first = marked, second = marked;
    const MLine touching(MVector3d(3, 2, 10), MVector3d(0, 0, 1));
    EXPECT_EQ(s.intersection(touching, first, second), 1);
    EXPECT_EQ(first, touching.position());
    EXPECT_EQ(second, marked);

    // Missing: no output written.
    first = marked;
    EXPECT_EQ(s.intersection(MLine(MVector3d(3.5, 2, 10), MVector3d(0, 0, 1)), first, second), 0);
    EXPECT_EQ(first, marked);
    EXPECT_EQ(MSphere().intersection(through, first, second), 0);
    EXPECT_EQ(s.intersection(MLine(), first, second), 0);
    EXPECT_EQ(first, marked);
}

TEST(MSphere, IntersectionCountHoldsFarFromTheOrigin)
{
    // Squares of coordinates near 1e8 swamp the radius in the expanded
    // expression; the count must still see a line pass just inside or outside.
    const MVector3d centre(1e8, -1e8, 1e8);
    const MSphere s(centre, 1.0);
    MVector3d first, second;
    EXPECT_EQ(s.intersection(MLine(centre + MVector3d(0.999999, -50, 0), MVector3d(0, 1, 0)), first, second), 2);
    EXPECT_EQ(s.intersection(MLine(centre + MVector3d(1.000001, -50, 0), MVector3d(0, 1, 0)), first, second), 0);
    EXPECT_EQ(s.intersection(MLine(centre + MVector3d(0, 0, 1e6), MVector3d(0, 0, -1)), first, second), 2);
}

TEST(MSphere, PoseAndTransformationMoveTheCentreOnly)
{
    MSphere s(MVector3d(1, 2, 3), 2.0);
    EXPECT_EQ(s.pose(), MMatrix4::Translation(MVector3d(1, 2, 3)));
    EXPECT_EQ(MSphere().pose(), MMatrix4::Zero);
    s.applyTransformation(MMatrix4::Scaling(2, 2, 2));
    EXPECT_EQ(s, MSphere(MVector3d(2, 4, 6), 2.0));

    MSphere invalid;
    invalid.applyTransformation(MMatrix4::Translation(MVector3d(1, 1, 1)));
    EXPECT_EQ(invalid, MSphere());

    test::RandomGeometry random(13);
    for (int trial = 0; trial < 50; ++trial) {
        const MSphere sphere(random.point(10.0), 4.0);
        const MMatrix4 m = random.rigidMotion(50.0);
        MSphere moved = sphere;
        moved.applyTransformation(m);
        const MVector3d p = random.point(20.0);
        EXPECT_NEAR(moved.distance(m * p), sphere.distance(p), 1e-9);
        EXPECT_TRUE((moved.pose() * MVector3d(0, 0, 0)).equals(moved.position(), 0.0));
    }
}

