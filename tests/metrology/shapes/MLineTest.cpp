#include "GeometryTestSupport.h"
#include "MLine.h"
#include "MLineSegment.h"
#include "MRay.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace ZOLAR3D;
using test::near;

TEST(MLine, ConstructorNormalisesAndTakesTheLengthOfTheDirection)
{
    const MLine line(MVector3d(1, 2, 3), MVector3d(0, 0, 2));
    EXPECT_EQ(line.direction(), MVector3d(0, 0, 1));
    EXPECT_EQ(line.lengthAttribute(), 2.0);
    EXPECT_TRUE(line.isValid());
    EXPECT_EQ(MLine(MVector3d(0, 0, 0), MVector3d(3, 4, 0), 7.5).lengthAttribute(), 7.5);

    const MLine defaulted;
    EXPECT_FALSE(defaulted.isValid());
    EXPECT_EQ(defaulted.lengthAttribute(), MInvalid);
    EXPECT_FALSE(defaulted.position().isValid());
    EXPECT_FALSE(defaulted.direction().isValid());
}

TEST(MLine, AlreadyNormalizedNonUnitDirectionMakesTheLineInvalid)
{
    const MLine line(MVector3d(1, 2, 3), MVector3d(0, 0, 2), MInvalid, true);
    EXPECT_EQ(line.direction(), MVector3d(0, 0, 2));
    EXPECT_FALSE(line.isValid());
    EXPECT_EQ(line.distance(MVector3d(0, 0, 0)), MInvalid);

    // The unit test has a band of 1e-14 on the squared length.
    EXPECT_TRUE(MLine(MVector3d(0, 0, 0), MVector3d(1 + 4e-15, 0, 0), MInvalid, true).isValid());
    EXPECT_FALSE(MLine(MVector3d(0, 0, 0), MVector3d(1 + 1e-14, 0, 0), MInvalid, true).isValid());
}

TEST(MLine, ZeroDirectionLeavesTheMarkerInX)
{
    const MLine line(MVector3d(1, 2, 3), MVector3d(0, 0, 0));
    EXPECT_FALSE(line.isValid());
    EXPECT_EQ(line.direction().x(), MInvalid);
    EXPECT_EQ(line.lengthAttribute(), 0.0);
}

TEST(MLine, DistanceAndProjectionOfKnownPoints)
{
    const MLine line(MVector3d(1, 2, 3), MVector3d(2, 0, 0));
    EXPECT_DOUBLE_EQ(line.distance(MVector3d(5, 2, 7)), 4.0);
    EXPECT_DOUBLE_EQ(line.squaredDistance(MVector3d(5, 5, 7)), 25.0);
    double t = 0;
    EXPECT_EQ(line.projection(MVector3d(5, 5, 7), &t), MVector3d(5, 2, 3));
    EXPECT_EQ(t, 4.0);
    EXPECT_EQ(line.projection(MVector3d(-2, 0, 0), &t), MVector3d(-2, 2, 3));
    EXPECT_EQ(t, -3.0);
    EXPECT_EQ(line.at(-3), MVector3d(-2, 2, 3));
}

TEST(MLine, InvalidOperandsGiveTheMarkerOrInfinity)
{
    const MLine line(MVector3d(0, 0, 0), MVector3d(1, 0, 0));
    const MVector3d hole;
    double t = 42;
    EXPECT_EQ(line.distance(hole), MInvalid);
    EXPECT_EQ(line.squaredDistance(hole), MInvalid);
    EXPECT_EQ(line.projection(hole, &t), MVector3d::Infinity);
    EXPECT_EQ(t, 42.0);

    const MLine invalid;
    EXPECT_EQ(invalid.distance(MVector3d(1, 1, 1)), MInvalid);
    EXPECT_EQ(invalid.projection(MVector3d(1, 1, 1)), MVector3d::Infinity);
    EXPECT_EQ(invalid.distance(line), MInvalid);
    EXPECT_EQ(line.projection(invalid), MVector3d::Infinity);
    EXPECT_EQ(line.intersection(invalid), MVector3d::Infinity);
    EXPECT_EQ(invalid.at(1), MVector3d::Infinity);
    EXPECT_EQ(invalid.pose(), MMatrix4::Zero);
}

TEST(MLine, DistanceBetweenSkewAndParallelLines)
{
    const MLine xAxis = MLine::XAxis;
    const MLine skew(MVector3d(7, -3, 5), MVector3d(0, 1, 0));
    EXPECT_DOUBLE_EQ(xAxis.distance(skew), 5.0);
    EXPECT_EQ(xAxis.projection(skew), MVector3d(7, 0, 0));
    EXPECT_EQ(skew.projection(xAxis), MVector3d(7, 0, 5));
    EXPECT_EQ(xAxis.intersection(skew), MVector3d(7, 0, 2.5));

    // Parallel lines fall back to the distance and foot of the other's position.
    const MLine parallel(MVector3d(4, 3, 4), MVector3d(-1, 0, 0));
    EXPECT_DOUBLE_EQ(xAxis.distance(parallel), 5.0);
    EXPECT_EQ(xAxis.projection(parallel), MVector3d(4, 0, 0));
    EXPECT_EQ(xAxis.intersection(parallel), MVector3d(2, 1.5, 2));
}

TEST(MLine, ClosestPointsOfRandomLinesAreMutuallyPerpendicular)
{
    test::RandomGeometry random(11);
    for (int i = 0; i < 200; ++i) {
        const MLine a(random.point(10), random.unitVector());
        const MLine b(random.point(10), random.unitVector());
        const MVector3d onA = a.projection(b);
        const MVector3d onB = b.projection(a);
        const MVector3d gap = onB - onA;
        EXPECT_NEAR(a.distance(onA), 0.0, 1e-9);
        EXPECT_NEAR(b.distance(onB), 0.0, 1e-9);
        EXPECT_NEAR(gap.dot(a.direction()), 0.0, 1e-9);
        EXPECT_NEAR(gap.dot(b.direction()), 0.0, 1e-9);
        EXPECT_NEAR(gap.norm(), a.distance(b), 1e-9);
        EXPECT_TRUE(near(a.intersection(b), (onA + onB) * 0.5, 1e-12));
    }
}

TEST(MLine, DistancesSurviveRigidMotions)
{
    test::RandomGeometry random(12);
    for (int i = 0; i < 100; ++i) {
        MLine line(random.point(10), random.unitVector(), 3.0);
        const MVector3d p = random.point(20);
        const double before = line.distance(p);
        double tBefore = 0;
        const MVector3d foot = line.projection(p, &tBefore);

        const MMatrix4 motion = random.rigidMotion(50);
        line.applyTransformation(motion);
        double tAfter = 0;
        EXPECT_NEAR(line.distance(motion * p), before, 1e-9);
        EXPECT_TRUE(near(line.projection(motion * p, &tAfter), motion * foot, 1e-9));
        EXPECT_NEAR(tAfter, tBefore, 1e-9);
        EXPECT_EQ(line.lengthAttribute(), 3.0);
        EXPECT_TRUE(line.isValid());
    }
}

TEST(MLine, ScalingLeavesTheDirectionUnnormalisedAndTheLineInvalid)
{
    MLine line(MVector3d(1, 1, 1), MVector3d(1, 0, 0), 4.0);
    line.applyTransformation(MMatrix4::Scaling(2, 2, 2));
    EXPECT_EQ(line.position(), MVector3d(2, 2, 2));
    EXPECT_EQ(line.direction(), MVector3d(2, 0, 0));
    EXPECT_EQ(line.lengthAttribute(), 4.0);
    EXPECT_FALSE(line.isValid());

    // An invalid line is left alone.
    const MLine before = line;
    line.applyTransformation(MMatrix4::Translation(MVector3d(1, 0, 0)));
    EXPECT_EQ(line, before);
}

TEST(MLine, PoseHasItsOriginAtThePositionAndItsZAxisAlongTheDirection)
{
    test::RandomGeometry random(13);
    for (int i = 0; i < 100; ++i) {
        const MLine line(random.point(10), random.unitVector());
        const MMatrix4 pose = line.pose();
        EXPECT_TRUE(near(pose * MVector3d(0, 0, 0), line.position(), 1e-12));
        EXPECT_TRUE(near(pose * MVector3d(0, 0, 2), line.position() + line.direction() * 2, 1e-12));
        EXPECT_TRUE(pose.subMatrix3().transposed().equals(pose.subMatrix3().inverse(), 1e-12));
    }
    EXPECT_TRUE(near(MLine::ZAxis.pose() * MVector3d(1, 2, 3), MVector3d(1, 2, 3), 0.0));
    EXPECT_EQ(MLine::XAxis.direction(), MVector3d(1, 0, 0));
    // Straight down is a direction like any other.
    const MLine down(MVector3d(1, 2, 3), MVector3d(0, 0, -1));
    EXPECT_TRUE(near(down.pose() * MVector3d(0, 0, 1), MVector3d(1, 2, 2), 1e-15));
    EXPECT_TRUE(near(down.pose() * MVector3d(1, 0, 0), MVector3d(2, 2, 3), 1e-15));
}

TEST(MLine, ConversionsFromSegmentsAndRays)
{
    const MLine fromSegment = MLine::From(MVector3d(1, 0, 0), MVector3d(1, 0, 4));
    EXPECT_EQ(fromSegment.position(), MVector3d(1, 0, 2));
    EXPECT_EQ(fromSegment.direction(), MVector3d(0, 0, 1));
    EXPECT_EQ(fromSegment.lengthAttribute(), 4.0);
    EXPECT_EQ(MLineSegment::From(fromSegment), MLineSegment(MVector3d(1, 0, 0), MVector3d(1, 0, 4)));

    const MLine fromRay = MLine::From(MRay(MVector3d(1, 2, 3), MVector3d(0, 3, 0), 9.0));
    EXPECT_EQ(fromRay.position(), MVector3d(1, 2, 3));
    EXPECT_EQ(fromRay.direction(), MVector3d(0, 1, 0));
    EXPECT_EQ(fromRay.lengthAttribute(), 9.0);
}

TEST(MLine, ConversionFromAnInvalidShapeMarksOnlyThePosition)
{
    MLine line(MVector3d(1, 2, 3), MVector3d(0, 1, 0), 5.0);
    line.from(MLineSegment(MVector3d(), MVector3d(0, 0, 0)));
    EXPECT_EQ(line.position().x(), MInvalid);
    EXPECT_EQ(line.position().y(), 2.0);
    EXPECT_EQ(line.direction(), MVector3d(0, 1, 0));
    EXPECT_EQ(line.lengthAttribute(), 5.0);

    line = MLine(MVector3d(1, 2, 3), MVector3d(0, 1, 0), 5.0);
    line.from(MRay());
    EXPECT_EQ(line.position().x(), MInvalid);
    EXPECT_EQ(line.lengthAttribute(), 5.0);
}

TEST(MLine, FlipTurnsOnlyAValidDirection)
{
    MLine line(MVector3d(1, 2, 3), MVector3d(0, 1, 0));
    line.flip();
    EXPECT_EQ(line.direction(), MVector3d(0, -1, 0));
    MLine invalid;
    invalid.setPosition(MVector3d(0, 0, 0));
    invalid.flip();
    EXPECT_FALSE(invalid.isValid());
    EXPECT_EQ(invalid.direction().x(), MInvalid);
}

