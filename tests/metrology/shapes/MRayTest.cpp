#include "GeometryTestSupport.h"
#include "MLine.h"
#include "MLineSegment.h"
#include "MRay.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace ZOLAR3D;
using test::near;

TEST(MRay, PointsBehindTheStartAreMeasuredToTheStart)
{
    const MRay ray(MVector3d(1, 1, 0), MVector3d(0, 0, 5));
    EXPECT_EQ(ray.direction(), MVector3d(0, 0, 1));
    EXPECT_EQ(ray.lengthAttribute(), 5.0);
    EXPECT_DOUBLE_EQ(ray.distance(MVector3d(4, 5, 10)), 5.0);
    EXPECT_DOUBLE_EQ(ray.distance(MVector3d(4, 5, -12)), 13.0);
    EXPECT_DOUBLE_EQ(ray.squaredDistance(MVector3d(4, 5, -12)), 169.0);

    double t = -1;
    EXPECT_EQ(ray.projection(MVector3d(4, 5, 10), &t), MVector3d(1, 1, 10));
    EXPECT_EQ(t, 10.0);
    EXPECT_EQ(ray.projection(MVector3d(4, 5, -12), &t), MVector3d(1, 1, 0));
    EXPECT_EQ(t, 0.0);
}

TEST(MRay, DistanceMatchesDenseSamplingOfTheHalfLine)
{
    test::RandomGeometry random(21);
    for (int i = 0; i < 50; ++i) {
        const MRay ray(random.point(5), random.unitVector());
        const MVector3d p = random.point(10);
        double sampled = MInvalid;
        for (int k = 0; k <= 40000; ++k)
            sampled = std::min(sampled, p.distance(ray.at(k * 1e-3)));
        EXPECT_LE(ray.distance(p), sampled + 1e-12);
        EXPECT_NEAR(ray.distance(p), sampled, 1e-5);
        EXPECT_NEAR(ray.distance(p), p.distance(ray.projection(p)), 1e-12);
    }
}

TEST(MRay, InvalidOperandsGiveTheMarkerOrInfinity)
{
    const MRay ray(MVector3d(0, 0, 0), MVector3d(1, 0, 0));
    double t = 42;
    EXPECT_EQ(ray.distance(MVector3d()), MInvalid);
    EXPECT_EQ(ray.projection(MVector3d(), &t), MVector3d::Infinity);
    EXPECT_EQ(t, 42.0);
    EXPECT_EQ(MRay().squaredDistance(MVector3d(0, 0, 0)), MInvalid);
    EXPECT_FALSE(MRay(MVector3d(0, 0, 0), MVector3d(0, 2, 0), MInvalid, true).isValid());
    EXPECT_EQ(MRay().pose(), MMatrix4::Zero);
}

TEST(MRay, ConversionsFromLinesAndSegments)
{
    const MRay fromSegment = MRay::From(MLineSegment(MVector3d(1, 0, 0), MVector3d(1, 0, -3)));
    EXPECT_EQ(fromSegment.start(), MVector3d(1, 0, 0));
    EXPECT_EQ(fromSegment.direction(), MVector3d(0, 0, -1));
    EXPECT_EQ(fromSegment.lengthAttribute(), 3.0);

    const MRay fromLine = MRay::From(MLine(MVector3d(1, 2, 3), MVector3d(0, 3, 0), 9.0));
    EXPECT_EQ(fromLine.start(), MVector3d(1, 2, 3));
    EXPECT_EQ(fromLine.direction(), MVector3d(0, 1, 0));
    EXPECT_EQ(fromLine.lengthAttribute(), 9.0);

    MRay ray(MVector3d(1, 2, 3), MVector3d(0, 1, 0), 5.0);
    ray.from(MLine());
    EXPECT_EQ(ray.start().x(), MInvalid);
    EXPECT_EQ(ray.start().y(), 2.0);
    EXPECT_EQ(ray.lengthAttribute(), 5.0);
}

TEST(MRay, DistancesAndPoseFollowRigidMotions)
{
    test::RandomGeometry random(22);
    for (int i = 0; i < 100; ++i) {
        MRay ray(random.point(10), random.unitVector());
        const MVector3d p = random.point(20);
        const double before = ray.distance(p);
        const MMatrix4 motion = random.rigidMotion(50);
        ray.applyTransformation(motion);
        EXPECT_NEAR(ray.distance(motion * p), before, 1e-9);

        const MMatrix4 pose = ray.pose();
        EXPECT_TRUE(near(pose * MVector3d(0, 0, 0), ray.start(), 1e-12));
        EXPECT_TRUE(near(pose * MVector3d(0, 0, 1), ray.at(1), 1e-12));
    }
}

