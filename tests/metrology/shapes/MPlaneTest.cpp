#include "GeometryTestSupport.h"
#include "MPlane.h"
#include "MLineArray.h"
#include "MPlaneArray.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace ZOLAR3D;
using test::near;

TEST(MPlane, ConstructorLeavesTheAxesUnsetYetThePoseIsValid)
{
    const MPlane plane(MVector3d(1, 2, 3), MVector3d(0, 0, 5));
    EXPECT_EQ(plane.normal(), MVector3d(0, 0, 1));
    EXPECT_FALSE(plane.u().isValid());
    EXPECT_FALSE(plane.v().isValid());
    EXPECT_TRUE(plane.isValid());

    // X = n x (n.y, n.z, n.x) and Y = n x X.
    const MMatrix4 pose = plane.pose();
    EXPECT_TRUE(pose.equals(MMatrix4(-1, 0, 0, 1, 0, -1, 0, 2, 0, 0, 1, 3, 0, 0, 0, 1), 1e-15));

    // A normal that is not of unit length is allowed.
    EXPECT_TRUE(MPlane(MVector3d(0, 0, 0), MVector3d(0, 0, 5), true).isValid());
    EXPECT_FALSE(MPlane().isValid());
    EXPECT_FALSE(MPlane(MVector3d(0, 0, 0), MVector3d(0, 0, 0)).isValid());
    EXPECT_EQ(MPlane::Y.distance(MVector3d(4, -5, 6)), -5.0);
}

TEST(MPlane, SignedDistanceProjectionAndEquation)
{
    const MPlane plane(MVector3d(0, 0, 2), MVector3d(0, 3, 4));
    EXPECT_DOUBLE_EQ(plane.distance(MVector3d(7, 3, 6)), 5.0);
    EXPECT_DOUBLE_EQ(plane.distance(MVector3d(7, -3, -2)), -5.0);
    EXPECT_TRUE(near(plane.projection(MVector3d(7, 3, 6)), MVector3d(7, 0, 2), 1e-15));
    EXPECT_DOUBLE_EQ(plane.hessianDistance(), -1.6);

    double a, b, c, d;
    plane.getEquation(a, b, c, d);
    EXPECT_DOUBLE_EQ(a, 0.0);
    EXPECT_DOUBLE_EQ(b, 0.6);
    EXPECT_DOUBLE_EQ(c, 0.8);
    EXPECT_DOUBLE_EQ(d, -1.6);

    const MPlane invalid;
    EXPECT_EQ(invalid.distance(MVector3d(0, 0, 0)), MInvalid);
    EXPECT_EQ(invalid.projection(MVector3d(0, 0, 0)), MVector3d::Infinity);
    EXPECT_EQ(invalid.hessianDistance(), MInvalid);
    EXPECT_EQ(plane.distance(MVector3d()), MInvalid);
    EXPECT_EQ(plane.projection(MVector3d()), MVector3d::Infinity);
    EXPECT_EQ(invalid.pose(), MMatrix4::Zero);
}

TEST(MPlane, SetFromEquationIgnoresItsOffsetArgument)
{
    MPlane plane(MVector3d(1, 2, 5), MVector3d(0, 0, 1));
    plane.setFromEquation(0, 0, 2, -100);
    EXPECT_EQ(plane.normal(), MVector3d(0, 0, 1));
    EXPECT_EQ(plane.position(), MVector3d(0, 0, 5));

    // The offset comes from the old position along the new normal.
    plane.setFromEquation(0, 3, 4, 7);
    EXPECT_TRUE(near(plane.normal(), MVector3d(0, 0.6, 0.8), 1e-16));
    EXPECT_TRUE(near(plane.position(), MVector3d(0, 2.4, 3.2), 1e-15));

    MPlane unset;
    unset.setFromEquation(0, 0, 1, -3);
    EXPECT_EQ(unset.normal(), MVector3d(0, 0, 1));
    EXPECT_FALSE(unset.position().isValid());
}

TEST(MPlane, BiSectionPlaneKeepsTheOldOffset)
{
    // The normal is that of the bisecting plane, the offset is not.
    MPlane plane(MVector3d(3, 0, 0), MVector3d(0, 0, 1));
    plane.biSectionPlaneFromTwoPoints(MVector3d(2, 0, 0), MVector3d(0, 0, 0));
    EXPECT_EQ(plane.normal(), MVector3d(1, 0, 0));
    EXPECT_EQ(plane.position(), MVector3d(3, 0, 0));

    // A plane that already has the right offset becomes the bisector.
    MPlane through(MVector3d(0, 0, 1), MVector3d(1, 0, 0));
    through.biSectionPlaneFromTwoPoints(MVector3d(0, 0, 2), MVector3d(0, 0, 0));
    EXPECT_EQ(through.distance(MVector3d(0, 0, 2)), -through.distance(MVector3d(0, 0, 0)));

    const MPlane before = plane;
    plane.biSectionPlaneFromTwoPoints(MVector3d(1, 1, 1), MVector3d(1, 1, 1));
    EXPECT_EQ(plane, before);
}

TEST(MPlane, SetUVAnyKeepsTheLengthOfThePerpendicular)
{
    MPlane plane(MVector3d(0, 0, 0), MVector3d(0, 0, 1));
    plane.setUVAny(2.0);
    // PerpendicularTo((0, 0, 1)) is (-1, 0, 0).
    EXPECT_EQ(plane.u(), MVector3d(-2, 0, 0));
    EXPECT_EQ(plane.v(), MVector3d(0, -2, 0));

    MPlane tilted(MVector3d(0, 0, 0), MVector3d(1, 2, 3));
    tilted.setUVAny(1.0);
    const MVector3d w = MVector3d::PerpendicularTo(tilted.normal());
    EXPECT_EQ(tilted.u(), w);
    EXPECT_NEAR(tilted.v().norm(), w.norm(), 1e-15);
    EXPECT_NEAR(tilted.u().dot(tilted.normal()), 0.0, 1e-15);
    EXPECT_NEAR(tilted.v().dot(tilted.u()), 0.0, 1e-15);
}

TEST(MPlane, ProjectionOfALine)
{
    const MPlane plane(MVector3d(0, 0, 1), MVector3d(0, 0, 1));
    const MLine projected = plane.projection(MLine(MVector3d(1, 2, 5), MVector3d(3, 0, 4)));
    EXPECT_TRUE(near(projected.position(), MVector3d(1, 2, 1), 1e-15));
    EXPECT_TRUE(near(projected.direction(), MVector3d(1, 0, 0), 1e-15));
    EXPECT_TRUE(projected.isValid());

    // A line along the normal projects to a point without a direction.
    const MLine point = plane.projection(MLine(MVector3d(1, 2, 5), MVector3d(0, 0, -1)));
    EXPECT_EQ(point.position(), MVector3d(1, 2, 1));
    EXPECT_FALSE(point.isValid());
    EXPECT_EQ(point.direction().x(), MInvalid);

    EXPECT_EQ(MPlane().projection(MLine::XAxis), MLine());
}

TEST(MPlane, IntersectionWithALine)
{
    const MPlane plane(MVector3d(0, 0, 2), MVector3d(0, 0, 1));
    double t = 0;
    EXPECT_TRUE(near(plane.intersection(MLine(MVector3d(1, 1, 0), MVector3d(0, 3, 4)), &t), MVector3d(1, 2.5, 2), 1e-15));
    EXPECT_DOUBLE_EQ(t, 2.5);
    // The line counts both ways.
    EXPECT_TRUE(near(plane.intersection(MLine(MVector3d(1, 1, 4), MVector3d(0, 0, 1)), &t), MVector3d(1, 1, 2), 1e-15));
    EXPECT_DOUBLE_EQ(t, -2.0);

    // A line in the plane gives its own position and the marker.
    EXPECT_EQ(plane.intersection(MLine(MVector3d(5, 6, 2), MVector3d(1, 0, 0)), &t), MVector3d(5, 6, 2));
    EXPECT_EQ(t, MInvalid);
    // A parallel line off the plane misses and leaves t alone.
    t = 7;
    EXPECT_EQ(plane.intersection(MLine(MVector3d(5, 6, 3), MVector3d(1, 0, 0)), &t), MVector3d::Infinity);
    EXPECT_EQ(t, 7.0);
    EXPECT_EQ(plane.intersection(MLine(), &t), MVector3d::Infinity);
}

TEST(MPlane, IntersectionWithASegment)
{
    const MPlane plane(MVector3d(0, 0, 2), MVector3d(0, 0, 1));
    double t = 0;
    EXPECT_EQ(plane.intersection(MLineSegment(MVector3d(0, 0, 0), MVector3d(4, 0, 8)), &t), MVector3d(1, 0, 2));
    EXPECT_EQ(t, 0.25);
    // Ending exactly on the plane is a hit.
    EXPECT_EQ(plane.intersection(MLineSegment(MVector3d(0, 0, 0), MVector3d(1, 1, 2)), &t), MVector3d(1, 1, 2));
    EXPECT_EQ(t, 1.0);
    // Short of the plane.
    EXPECT_EQ(plane.intersection(MLineSegment(MVector3d(0, 0, 0), MVector3d(1, 1, 1.5)), &t), MVector3d::Infinity);
    EXPECT_EQ(t, MInvalid);
    // Parallel and 1e-3 off.
    t = 0;
    EXPECT_EQ(plane.intersection(MLineSegment(MVector3d(0, 0, 2.001), MVector3d(1, 0, 2.001)), &t), MVector3d::Infinity);
    EXPECT_EQ(t, MInvalid);
    // Lying in the plane gives the start.
    EXPECT_EQ(plane.intersection(MLineSegment(MVector3d(3, 0, 2), MVector3d(1, 0, 2)), &t), MVector3d(3, 0, 2));
    EXPECT_EQ(t, MInvalid);
    EXPECT_EQ(plane.intersection(MLineSegment(MVector3d(), MVector3d(0, 0, 4)), &t), MVector3d::Infinity);
}

TEST(MPlane, IntersectionOfTwoPlanes)
{
    const MPlane floor(MVector3d(5, 5, 0), MVector3d(0, 0, 1));
    const MPlane wall(MVector3d(1, 7, 3), MVector3d(1, 0, 0));
    int kind = -1;
    const MLine line = floor.intersection(wall, &kind);
    EXPECT_EQ(kind, 1);
    EXPECT_TRUE(line.isValid());
    EXPECT_TRUE(near(line.direction(), MVector3d(0, 1, 0), 1e-15));
    // The foot of the midpoint of the two positions, (3, 6, 1.5).
    EXPECT_TRUE(near(line.position(), MVector3d(1, 6, 0), 1e-15));
    EXPECT_EQ(line.lengthAttribute(), MInvalid);

    // With axes on both planes the line is twice the longest axis.
    MPlane floorWithAxes = floor;
    floorWithAxes.setU(MVector3d(3, 0, 0));
    floorWithAxes.setV(MVector3d(0, 1, 0));
    MPlane wallWithAxes = wall;
    wallWithAxes.setU(MVector3d(0, 2, 0));
    wallWithAxes.setV(MVector3d(0, 0, 4));
    EXPECT_EQ(floorWithAxes.intersection(wallWithAxes).lengthAttribute(), 8.0);
    EXPECT_EQ(floorWithAxes.intersection(wall).lengthAttribute(), MInvalid);
}

TEST(MPlane, ParallelPlanesMeetNowhereOrEverywhere)
{
    const MPlane plane(MVector3d(0, 0, 1), MVector3d(0, 0, 1));
    int kind = -1;
    EXPECT_FALSE(plane.intersection(MPlane(MVector3d(0, 0, 2), MVector3d(0, 0, 1)), &kind).isValid());
    EXPECT_EQ(kind, 0);

    const MLine same = plane.intersection(MPlane(MVector3d(4, 5, 1), MVector3d(0, 0, -1)), &kind);
    EXPECT_EQ(kind, 2);
    EXPECT_EQ(same.position(), plane.position());
    EXPECT_TRUE(same.isValid());
    EXPECT_NEAR(same.direction().dot(plane.normal()), 0.0, 1e-15);

    EXPECT_FALSE(plane.intersection(MPlane(), &kind).isValid());
    EXPECT_EQ(kind, 0);

    // A normal on the diagonal still gives a direction for the common line.
    const MPlane diagonal(MVector3d(1, 1, 1), MVector3d(1, 1, 1));
    EXPECT_TRUE(diagonal.intersection(diagonal, &kind).isValid());
    EXPECT_EQ(kind, 2);
}

TEST(MPlane, RandomPlanesMeetOnALineInBoth)
{
    test::RandomGeometry random(41);
    for (int i = 0; i < 200; ++i) {
        // Far from the origin, where solving about the origin would lose digits.
        const MVector3d centre = random.point(1e6);
        const MPlane a(centre + random.point(10), random.unitVector());
        const MPlane b(centre + random.point(10), random.unitVector());
        if (a.normal().cross(b.normal()).norm() < 0.1)
            continue;
        int kind = -1;
        const MLine line = a.intersection(b, &kind);
        ASSERT_EQ(kind, 1);
        for (double t : {0.0, 5.0}) {
            EXPECT_NEAR(a.distance(line.at(t)), 0.0, 1e-8);
            EXPECT_NEAR(b.distance(line.at(t)), 0.0, 1e-8);
        }
        const MVector3d middle = (a.position() + b.position()) * 0.5;
        EXPECT_NEAR((middle - line.position()).dot(line.direction()), 0.0, 1e-8);
    }
}

TEST(MPlane, PlaneIsNotParallelToItsFlip)
{
    const MPlane plane(MVector3d(0, 0, 0), MVector3d(1, 1, 0));
    MPlane flipped = plane;
    flipped.flip();
    EXPECT_EQ(flipped.normal(), -plane.normal());
    EXPECT_TRUE(plane.isParallel(plane, 0.1));
    EXPECT_FALSE(plane.isParallel(flipped, 0.1));
    EXPECT_TRUE(plane.isParallel(MPlane(MVector3d(9, 9, 9), MVector3d(1, 1.1, 0)), 0.1));
    EXPECT_FALSE(plane.isParallel(MPlane(), 0.1));
}

TEST(MPlane, PerpendicularTestIsOneSided)
{
    const MPlane plane(MVector3d(0, 0, 0), MVector3d(0, 0, 1));
    EXPECT_TRUE(plane.isPerpendicular(MVector3d(1, 0, 0), 0.01));
    EXPECT_FALSE(plane.isPerpendicular(MVector3d(0, 0, 1), 0.01));
    EXPECT_TRUE(plane.isPerpendicular(MVector3d(0, 0, -100), 0.01));
    EXPECT_FALSE(plane.isPerpendicular(MVector3d(), 0.01));

    EXPECT_TRUE(plane.isParallel(MLine(MVector3d(0, 0, 5), MVector3d(1, 1, 0)), 0.01));
    EXPECT_FALSE(plane.isParallel(MLine(MVector3d(0, 0, 5), MVector3d(0, 1, 1)), 0.01));
    EXPECT_TRUE(plane.isParallel(MLine(MVector3d(0, 0, 5), MVector3d(0, 0, -1)), 0.01));
    EXPECT_FALSE(plane.isParallel(MLine(), 0.01));
}

TEST(MPlane, PoseUsesTheAxesWhenSet)
{
    MPlane plane(MVector3d(1, 2, 3), MVector3d(0, 0, 1));
    plane.setU(MVector3d(0, 2, 0));
    const MMatrix4 withU = plane.pose();
    EXPECT_TRUE(near(withU * MVector3d(1, 0, 0), MVector3d(1, 3, 3), 1e-15));
    EXPECT_TRUE(near(withU * MVector3d(0, 1, 0), MVector3d(0, 2, 3), 1e-15));
    plane.setV(MVector3d(0, 0, 7));
    EXPECT_TRUE(near(plane.pose() * MVector3d(0, 1, 0), MVector3d(1, 2, 4), 1e-15)) << "axes are taken as they are";
    plane.setU(MVector3d(0, 0, 0));
    EXPECT_EQ(plane.pose(), MMatrix4::Zero) << "an axis without direction has no frame";
}

TEST(MPlane, PoseMapsTheLocalFrameOntoThePlane)
{
    test::RandomGeometry random(42);
    for (int i = 0; i < 100; ++i) {
        // A normal on the diagonal, where the fixed perpendicular vanishes, first.
        const MPlane plane =
            i == 0 ? MPlane(MVector3d(1, 1, 1), MVector3d(1, 1, 1)) : MPlane(random.point(10), random.unitVector());
        const MMatrix4 pose = plane.pose();
        EXPECT_TRUE(near(pose * MVector3d(0, 0, 0), plane.position(), 1e-12));
        EXPECT_TRUE(near(pose * MVector3d(0, 0, 1), plane.position() + plane.normal(), 1e-12));
        EXPECT_NEAR(plane.distance(pose * MVector3d(3, -2, 0)), 0.0, 1e-12);
        EXPECT_NEAR(pose.subMatrix3().determinant(), 1.0, 1e-12);
    }
}

TEST(MPlane, TransformationKeepsSignedDistances)
{
    test::RandomGeometry random(43);
    for (int i = 0; i < 100; ++i) {
        MPlane plane(random.point(10), random.unitVector());
        plane.setUVAny();
        const MVector3d p = random.point(20);
        const double before = plane.distance(p);
        const MMatrix4 motion = random.rigidMotion(50);
        plane.applyTransformation(motion);
        EXPECT_NEAR(plane.distance(motion * p), before, 1e-9);
        EXPECT_NEAR(plane.u().dot(plane.normal()), 0.0, 1e-12);
    }

    MPlane scaled(MVector3d(1, 1, 1), MVector3d(0, 0, 1));
    scaled.applyTransformation(MMatrix4::Scaling(2, 2, 2));
    EXPECT_EQ(scaled.position(), MVector3d(2, 2, 2));
    EXPECT_EQ(scaled.normal(), MVector3d(0, 0, 2));
    EXPECT_FALSE(scaled.u().isValid());
}

TEST(MPlane, FlipLeavesTheAxesAndAnInvalidNormal)
{
    MPlane plane(MVector3d(0, 0, 0), MVector3d(0, 0, 1));
    plane.setUVAny();
    const MVector3d u = plane.u();
    plane.flip();
    EXPECT_EQ(plane.normal(), MVector3d(0, 0, -1));
    EXPECT_EQ(plane.u(), u);

    MPlane noNormal(MVector3d(0, 0, 0), MVector3d(0, 0, 0));
    noNormal.flip();
    EXPECT_FALSE(noNormal.isValid());
}

TEST(MPlaneArray, FreshElementsAreDefaultShapes)
{
    MPlaneArray planes(2);
    EXPECT_FALSE(planes[1].isValid());
    EXPECT_EQ(planes.add(MPlane::Z), 2);
    EXPECT_TRUE(planes.contains(MPlane::Z));

    MLineArray lines(2);
    EXPECT_EQ(lines[1].lengthAttribute(), MInvalid);
    EXPECT_EQ(lines.add(MLine::ZAxis), 2);
    EXPECT_EQ(lines.last(), MLine::ZAxis);
}
