#include "MCircle.h"
#include "MEllipse.h"
#include "MLine.h"
#include "GeometryTestSupport.h"
#include "RoundShapeTestSupport.h"

#include <gtest/gtest.h>


using namespace ZOLAR3D;

TEST(MEllipse, DefaultIsInvalidAndBothRadiiAreKept)
{
    EXPECT_FALSE(MEllipse().isValid());
    EXPECT_EQ(MEllipse().radiusB(), MInvalid);
    const MEllipse e(MVector3d(1, 2, 3), MVector3d(0, 3, 4), 2.0, 5.0);
    EXPECT_EQ(e.normal(), MVector3d(0, 0.6, 0.8));
    MEllipse f = e;
    f.setRadiusB(4.0);
    EXPECT_NE(f, e);
    EXPECT_FALSE(MEllipse(MVector3d(0, 0, 0), MVector3d(0, 0, 1), 0.0, 1.0).isValid());
}

// The ellipse answers every geometric query as the circle of radiusA; radiusB
// does not take part, not even in validity.
TEST(MEllipse, EllipseIsACircleOfRadiusAForEveryQuery)
{
    test::RandomGeometry random(3);
    for (int trial = 0; trial < 20; ++trial) {
        const MVector3d position = random.point(10.0);
        const MVector3d normal = random.unitVector();
        const MCircle c(position, normal, 2.0, true);
        for (double radiusB : {0.5, 2.0, 30.0, MInvalid, -1.0}) {
            const MEllipse e(position, normal, 2.0, radiusB, true);
            EXPECT_TRUE(e.isValid());
            EXPECT_EQ(e.diameter(), c.diameter());
            EXPECT_EQ(e.pose(), c.pose());
            const MVector3d p = random.point(20.0);
            EXPECT_EQ(e.squaredDistance(p), c.squaredDistance(p));
            EXPECT_EQ(e.distance(p), c.distance(p));
            EXPECT_EQ(e.projection(p), c.projection(p));
            const MLine line(p, random.unitVector());
            double te = -1.0, tc = -1.0;
            EXPECT_EQ(e.intersection(line, te), c.intersection(line, tc));
            EXPECT_EQ(te, tc);
        }
    }
    // A point at radiusA from the centre lies on it whatever radiusB says.
    const MEllipse e(MVector3d(0, 0, 0), MVector3d(0, 0, 1), 2.0, 1.0);
    EXPECT_EQ(e.distance(MVector3d(0, 2, 0)), 0.0);
    EXPECT_EQ(e.distance(MVector3d(0, 1, 0)), 1.0);
    double t;
    EXPECT_EQ(e.intersection(MLine(MVector3d(0, 1.5, 1), MVector3d(0, 0, -1)), t), MVector3d(0, 1.5, 0));
}

TEST(MEllipse, TransformationMovesTheShapeAndKeepsBothRadii)
{
    MEllipse e(MVector3d(1, 0, 0), MVector3d(0, 0, 1), 2.0, 1.0);
    e.applyTransformation(MMatrix4::Translation(MVector3d(0, 1, 0)) * MMatrix4::Scaling(3, 3, 3));
    EXPECT_EQ(e.position(), MVector3d(3, 1, 0));
    EXPECT_EQ(e.normal(), MVector3d(0, 0, 3));
    EXPECT_EQ(e.radiusA(), 2.0);
    EXPECT_EQ(e.radiusB(), 1.0);

    MEllipse invalid;
    invalid.applyTransformation(MMatrix4::Translation(MVector3d(0, 1, 0)));
    EXPECT_EQ(invalid, MEllipse());
    EXPECT_EQ(invalid.pose(), MMatrix4::Zero);
    EXPECT_EQ(invalid.distance(MVector3d(0, 0, 0)), MInvalid);
}
