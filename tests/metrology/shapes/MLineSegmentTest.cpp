#include "GeometryTestSupport.h"
#include "MLine.h"
#include "MLineSegment.h"
#include "MRay.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace ZOLAR3D;
using test::near;

namespace {

// Smallest distance from the other segment to the points of this one. The
// distance to a convex set is convex along a segment, so a ternary search
// finds its minimum independently of the closed form.
double searchedDistance(const MLineSegment &segment, const MLineSegment &other)
{
    double low = 0.0, high = 1.0;
    for (int k = 0; k < 200; ++k) {
        const double a = low + (high - low) / 3.0;
        const double b = high - (high - low) / 3.0;
        if (other.distance(segment.at(a)) < other.distance(segment.at(b)))
            high = b;
        else
            low = a;
    }
    return other.distance(segment.at((low + high) / 2.0));
}

} // namespace

TEST(MLineSegment, MeasuresOfTheSegment)
{
    const MLineSegment segment(MVector3d(1, 2, 3), MVector3d(1, 6, 0));
    EXPECT_EQ(segment.length(), 5.0);
    EXPECT_EQ(segment.center(), MVector3d(1, 4, 1.5));
    EXPECT_TRUE(near(segment.direction(), MVector3d(0, 0.8, -0.6), 1e-16));
    EXPECT_EQ(segment.at(0), segment.start());
    EXPECT_EQ(segment.at(1), segment.end());
    EXPECT_EQ(segment.at(0.5), segment.center());

    MLineSegment flipped = segment;
    flipped.flip();
    EXPECT_EQ(flipped, MLineSegment(MVector3d(1, 6, 0), MVector3d(1, 2, 3)));

    const MLineSegment invalid;
    EXPECT_FALSE(invalid.isValid());
    EXPECT_EQ(invalid.direction(), MVector3d::Infinity);
    EXPECT_EQ(invalid.length(), MInvalid);
}

TEST(MLineSegment, ZeroLengthSegmentMeasuresFromItsPoint)
{
    const MLineSegment point(MVector3d(1, 2, 3), MVector3d(1, 2, 3));
    EXPECT_TRUE(point.isValid());
    EXPECT_EQ(point.direction(), MVector3d::Infinity);
    EXPECT_EQ(point.pose(), MMatrix4::Zero);
    EXPECT_DOUBLE_EQ(point.distance(MVector3d(4, 6, 3)), 5.0);
    double t = -1;
    EXPECT_EQ(point.projection(MVector3d(4, 6, 3), &t), MVector3d(1, 2, 3));
    EXPECT_EQ(t, 0.0);
}

TEST(MLineSegment, ProjectionParameterIsADistanceAlongTheSegment)
{
    const MLineSegment segment(MVector3d(0, 0, 0), MVector3d(0, 0, 4));
    double t = -1;
    EXPECT_EQ(segment.projection(MVector3d(3, 0, 1), &t), MVector3d(0, 0, 1));
    EXPECT_EQ(t, 1.0);
    EXPECT_EQ(segment.projection(MVector3d(3, 0, 9), &t), segment.end());
    EXPECT_EQ(t, segment.length());
    EXPECT_EQ(segment.projection(MVector3d(3, 0, -9), &t), segment.start());
    EXPECT_EQ(t, 0.0);

    EXPECT_DOUBLE_EQ(segment.distance(MVector3d(3, 0, 1)), 3.0);
    EXPECT_DOUBLE_EQ(segment.distance(MVector3d(3, 0, 8)), 5.0);
    EXPECT_DOUBLE_EQ(segment.squaredDistance(MVector3d(0, 4, -3)), 25.0);
}

TEST(MLineSegment, PointDistanceMatchesDenseSampling)
{
    test::RandomGeometry random(31);
    for (int i = 0; i < 100; ++i) {
        const MLineSegment segment(random.point(5), random.point(5));
        const MVector3d p = random.point(8);
        double sampled = MInvalid;
        for (int k = 0; k <= 20000; ++k)
            sampled = std::min(sampled, p.distance(segment.at(k / 20000.0)));
        EXPECT_LE(segment.distance(p), sampled + 1e-12);
        EXPECT_NEAR(segment.distance(p), sampled, 1e-5);
        EXPECT_NEAR(segment.distance(p), p.distance(segment.projection(p)), 1e-12);
    }
}

TEST(MLineSegment, InvalidOperandsGiveTheMarkerOrInfinity)
{
    const MLineSegment segment(MVector3d(0, 0, 0), MVector3d(1, 0, 0));
    double t = 42;
    EXPECT_EQ(segment.distance(MVector3d()), MInvalid);
    EXPECT_EQ(segment.squaredDistance(MVector3d()), MInvalid);
    EXPECT_EQ(segment.projection(MVector3d(), &t), MVector3d::Infinity);
    EXPECT_EQ(t, 42.0);

    double s = 0;
    EXPECT_EQ(segment.distance(MLineSegment(), &s, &t), MInvalid);
    EXPECT_EQ(s, MInvalid);
    EXPECT_EQ(t, MInvalid);
    EXPECT_EQ(MLineSegment().distance(segment), MInvalid);
    EXPECT_EQ(segment.intersection(MLineSegment()), MVector3d::Infinity);
    EXPECT_EQ(MLineSegment().pose(), MMatrix4::Zero);
}

TEST(MLineSegment, CrossingAndSkewSegments)
{
    const MLineSegment a(MVector3d(-1, 0, 0), MVector3d(3, 0, 0));
    const MLineSegment b(MVector3d(0, -2, 0), MVector3d(0, 2, 0));
    double s = -1, t = -1;
    EXPECT_EQ(a.distance(b, &s, &t), 0.0);
    EXPECT_EQ(s, 0.25);
    EXPECT_EQ(t, 0.5);
    EXPECT_EQ(a.intersection(b), MVector3d(0, 0, 0));

    const MLineSegment above(MVector3d(1, -2, 3), MVector3d(1, 2, 3));
    EXPECT_EQ(a.distance(above, &s, &t), 3.0);
    EXPECT_EQ(s, 0.5);
    EXPECT_EQ(t, 0.5);
    EXPECT_EQ(a.intersection(above), MVector3d(1, 0, 1.5));

    // Far apart segments still give the midpoint of their closest points.
    const MLineSegment away(MVector3d(10, 5, 0), MVector3d(10, 9, 0));
    EXPECT_DOUBLE_EQ(a.distance(away, &s, &t), std::sqrt(74.0));
    EXPECT_EQ(s, 1.0);
    EXPECT_EQ(t, 0.0);
    EXPECT_EQ(a.intersection(away), MVector3d(6.5, 2.5, 0));
}

TEST(MLineSegment, CollinearDisjointSegmentsMeetAtTheirNearEnds)
{
    const MLineSegment left(MVector3d(0, 0, 0), MVector3d(1, 0, 0));
    const MLineSegment right(MVector3d(3, 0, 0), MVector3d(5, 0, 0));
    double s = -1, t = -1;
    // Parallel, and the other's fraction falls below 0.
    EXPECT_EQ(left.distance(right, &s, &t), 2.0);
    EXPECT_EQ(s, 1.0);
    EXPECT_EQ(t, 0.0);
    // Parallel, and the other's fraction rises above 1.
    EXPECT_EQ(right.distance(left, &s, &t), 2.0);
    EXPECT_EQ(s, 0.0);
    EXPECT_EQ(t, 1.0);
    EXPECT_EQ(left.intersection(right), MVector3d(2, 0, 0));
}

TEST(MLineSegment, SegmentDistanceMatchesAnIndependentSearch)
{
    test::RandomGeometry random(32);
    for (int i = 0; i < 60; ++i) {
        const MLineSegment a(random.point(3), random.point(3));
        const MLineSegment b(random.point(3), random.point(3));
        double s = -1, t = -1;
        const double d = a.distance(b, &s, &t);
        EXPECT_NEAR(d, searchedDistance(a, b), 1e-9);
        EXPECT_NEAR(d, a.at(s).distance(b.at(t)), 1e-12);
        EXPECT_GE(s, 0.0);
        EXPECT_LE(s, 1.0);
        EXPECT_GE(t, 0.0);
        EXPECT_LE(t, 1.0);
        EXPECT_TRUE(near(a.intersection(b), (a.at(s) + b.at(t)) * 0.5, 1e-12));
    }
}

TEST(MLineSegment, ConversionsFromLinesAndRays)
{
    EXPECT_EQ(MLineSegment::From(MLine(MVector3d(1, 1, 1), MVector3d(0, 0, 1), 4.0)),
              MLineSegment(MVector3d(1, 1, -1), MVector3d(1, 1, 3)));
    EXPECT_EQ(MLineSegment::FromLine(MLine(MVector3d(1, 1, 1), MVector3d(0, 0, 1), 4.0)).length(), 4.0);
    EXPECT_EQ(MLineSegment::From(MRay(MVector3d(1, 1, 1), MVector3d(0, 2, 0))),
              MLineSegment(MVector3d(1, 1, 1), MVector3d(1, 3, 1)));
}

TEST(MLineSegment, LineWithoutLengthGivesAnInvalidSegment)
{
    MLine line(MVector3d(1, 1, 1), MVector3d(0, 0, 1));
    line.setLengthAttribute(MInvalid);
    const MLineSegment segment = MLineSegment::From(line);
    EXPECT_FALSE(segment.isValid());
    EXPECT_EQ(segment.start().x(), MInvalid);
    EXPECT_EQ(segment.end().x(), MInvalid);
}

TEST(MLineSegment, RayWithoutLengthKeepsItsStartAndGetsNoEnd)
{
    MRay ray(MVector3d(1, 2, 3), MVector3d(0, 0, 1), MInvalid, true);
    EXPECT_EQ(ray.lengthAttribute(), 1.0);
    ray.setLengthAttribute(MInvalid);
    const MLineSegment segment = MLineSegment::From(ray);
    EXPECT_EQ(segment.start(), MVector3d(1, 2, 3));
    EXPECT_EQ(segment.end().x(), MInvalid);
    EXPECT_FALSE(segment.isValid());
}

TEST(MLineSegment, DistancesAndPoseFollowRigidMotions)
{
    test::RandomGeometry random(33);
    for (int i = 0; i < 100; ++i) {
        MLineSegment segment(random.point(10), random.point(10));
        MLineSegment other(random.point(10), random.point(10));
        const MVector3d p = random.point(20);
        const double toPoint = segment.distance(p);
        const double toOther = segment.distance(other);
        const MMatrix4 motion = random.rigidMotion(50);
        segment.applyTransformation(motion);
        other.applyTransformation(motion);
        EXPECT_NEAR(segment.distance(motion * p), toPoint, 1e-9);
        EXPECT_NEAR(segment.distance(other), toOther, 1e-9);

        const MMatrix4 pose = segment.pose();
        EXPECT_TRUE(near(pose * MVector3d(0, 0, 0), segment.start(), 1e-12));
        EXPECT_TRUE(near(pose * MVector3d(0, 0, segment.length()), segment.end(), 1e-9));
    }
}
