#include "GeometryTestSupport.h"
#include "MTriangle.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace ZOLAR3D;
using test::near;

TEST(MTriangle, MeasuresOfAKnownTriangle)
{
    const MTriangle triangle(MVector3d(0, 0, 1), MVector3d(3, 0, 1), MVector3d(0, 4, 1));
    EXPECT_EQ(triangle.centroid(), MVector3d(1, 4.0 / 3.0, 1));
    EXPECT_EQ(triangle.length(), 12.0);
    EXPECT_EQ(triangle.area(), 6.0);
    EXPECT_EQ(triangle.normal(), MVector3d(0, 0, 1));
    EXPECT_TRUE(triangle.isValid());
    EXPECT_EQ(triangle.vertex(1), MVector3d(3, 0, 1));

    MTriangle flipped = triangle;
    flipped.flip();
    EXPECT_EQ(flipped, MTriangle(MVector3d(0, 4, 1), MVector3d(3, 0, 1), MVector3d(0, 0, 1)));
    EXPECT_EQ(flipped.area(), -6.0);
    EXPECT_EQ(flipped.normal(), MVector3d(0, 0, -1));
}

TEST(MTriangle, AreaIsThePlanarXYMeasureWithTheWindingSign)
{
    // Standing in the xz plane, the triangle has no xy extent at all.
    EXPECT_EQ(MTriangle(MVector3d(0, 0, 0), MVector3d(5, 0, 0), MVector3d(0, 0, 5)).area(), 0.0);
    // Tilted triangles count with their xy shadow only.
    EXPECT_EQ(MTriangle(MVector3d(0, 0, 0), MVector3d(2, 0, 7), MVector3d(0, 2, -3)).area(), 2.0);
    EXPECT_EQ(MTriangle(MVector3d(0, 0, 0), MVector3d(0, 2, -3), MVector3d(2, 0, 7)).area(), -2.0);
}

TEST(MTriangle, AreaKeepsItsDigitsFarFromTheOrigin)
{
    const MVector3d far(1e9 + 0.3, -2e9 + 0.7, 5);
    const MTriangle triangle(far, far + MVector3d(1, 0, 0), far + MVector3d(0, 1, 0));
    EXPECT_NEAR(triangle.area(), 0.5, 1e-6);
    EXPECT_TRUE(triangle.pointInTriangle(far + MVector3d(0.25, 0.25, 0)));
    EXPECT_FALSE(triangle.pointInTriangle(far + MVector3d(0.75, 0.75, 0)));
}

TEST(MTriangle, DegenerateTriangleIsInvalidYetMeasured)
{
    const MTriangle repeated(MVector3d(0, 0, 0), MVector3d(0, 0, 0), MVector3d(3, 4, 0));
    EXPECT_FALSE(repeated.isValid());
    EXPECT_EQ(repeated.length(), 10.0);
    EXPECT_EQ(repeated.area(), 0.0);
    EXPECT_EQ(repeated.normal(), MVector3d::Infinity);
    EXPECT_EQ(repeated.pose(), MMatrix4::Zero);
    EXPECT_EQ(repeated.distance(MVector3d(1, 1, 1)), MInvalid);
    EXPECT_EQ(repeated.projection(MVector3d(1, 1, 1)), MVector3d());

    const MTriangle holed(MVector3d(0, 0, 0), MVector3d(), MVector3d(3, 4, 0));
    EXPECT_FALSE(holed.isValid());
    EXPECT_EQ(holed.length(), MInvalid);
    EXPECT_EQ(holed.centroid(), MVector3d::Infinity);
}

TEST(MTriangle, VertexIndicesOutsideTheTriangle)
{
    MTriangle triangle(MVector3d(0, 0, 0), MVector3d(1, 0, 0), MVector3d(0, 1, 0));
    const MTriangle before = triangle;
    triangle.setVertex(3, MVector3d(9, 9, 9));
    triangle.setVertex(-1, MVector3d(9, 9, 9));
    EXPECT_EQ(triangle, before);
    EXPECT_EQ(triangle.vertex(3), MVector3d::Infinity);
    EXPECT_EQ(triangle.vertex(-1), MVector3d::Infinity);
    triangle.setVertex(2, MVector3d(0, 2, 0));
    EXPECT_EQ(triangle.vertex(2), MVector3d(0, 2, 0));
    EXPECT_NE(triangle, before);

    triangle.invalidate();
    EXPECT_EQ(triangle.vertex(0).x(), MInvalid);
    EXPECT_FALSE(triangle.isValid());
}

TEST(MTriangle, PointInTriangleWorksOnTheXYShadowWithABand)
{
    const MTriangle triangle(MVector3d(0, 0, 0), MVector3d(1, 0, 5), MVector3d(0, 1, -5));
    EXPECT_TRUE(triangle.pointInTriangle(MVector3d(0.2, 0.2, 100)));
    EXPECT_TRUE(triangle.pointInTriangle(MVector3d(1, 0, 0)));
    EXPECT_TRUE(triangle.pointInTriangle(MVector3d(0.5, -5e-8, 0)));
    EXPECT_FALSE(triangle.pointInTriangle(MVector3d(0.5, -2e-7, 0)));
    EXPECT_FALSE(triangle.pointInTriangle(MVector3d(0.6, 0.6, 0)));
    EXPECT_FALSE(triangle.pointInTriangle(MVector3d()));
    // Either winding.
    MTriangle flipped = triangle;
    flipped.flip();
    EXPECT_TRUE(flipped.pointInTriangle(MVector3d(0.2, 0.2, 0)));
    EXPECT_FALSE(flipped.pointInTriangle(MVector3d(-0.1, 0.2, 0)));
}

TEST(MTriangle, DistanceAndProjectionGoThroughTheAnalysis)
{
    const MTriangle triangle(MVector3d(0, 0, 0), MVector3d(4, 0, 0), MVector3d(0, 4, 0));
    EXPECT_EQ(triangle.distance(MVector3d(1, 1, -2)), -2.0);
    EXPECT_DOUBLE_EQ(triangle.distance(MVector3d(2, -3, 4)), 5.0);
    EXPECT_EQ(triangle.projection(MVector3d(1, 1, -2)), MVector3d(1, 1, 0));
    EXPECT_EQ(triangle.projection(MVector3d(2, -3, 4)), MVector3d(2, 0, 0));
    EXPECT_EQ(triangle.distance(MVector3d()), MInvalid);
    EXPECT_FALSE(triangle.projection(MVector3d()).isValid());
}

TEST(MTriangle, ProjectionLeavesItsParameterUnwritten)
{
    const MTriangle triangle(MVector3d(0, 0, 0), MVector3d(4, 0, 0), MVector3d(0, 4, 0));
    double t = 42;
    EXPECT_EQ(triangle.projection(MVector3d(8, 1, 0), &t), MVector3d(4, 0, 0));
    EXPECT_EQ(t, 42.0);
}

TEST(MTriangle, DistanceSurvivesRigidMotions)
{
    test::RandomGeometry random(61);
    for (int i = 0; i < 100; ++i) {
        MTriangle triangle(random.point(5), random.point(5), random.point(5));
        const MVector3d p = random.point(10);
        const double before = triangle.distance(p);
        const MVector3d closest = triangle.projection(p);
        const MMatrix4 motion = random.rigidMotion(50);
        triangle.applyTransformation(motion);
        EXPECT_NEAR(triangle.distance(motion * p), before, 1e-9);
        EXPECT_TRUE(near(triangle.projection(motion * p), motion * closest, 1e-9));
    }
}

TEST(MTriangle, LineHitsAreFoundInBothDirections)
{
    const MTriangle triangle(MVector3d(0, 0, 2), MVector3d(4, 0, 2), MVector3d(0, 4, 2));
    double t = 0;
    EXPECT_EQ(triangle.intersection(MLine(MVector3d(1, 1, 0), MVector3d(0, 0, 1)), t), MVector3d(1, 1, 2));
    EXPECT_EQ(t, 2.0);
    EXPECT_EQ(triangle.intersection(MLine(MVector3d(1, 1, 5), MVector3d(0, 0, 1)), t), MVector3d(1, 1, 2));
    EXPECT_EQ(t, -3.0);
    EXPECT_TRUE(near(triangle.intersection(MLine(MVector3d(0, 0, 0), MVector3d(1, 1, 2)), t), MVector3d(1, 1, 2), 1e-15));
    EXPECT_NEAR(t, std::sqrt(6.0), 1e-15);
}

TEST(MTriangle, LineMissesLeaveTheParameterAlone)
{
    const MTriangle triangle(MVector3d(0, 0, 2), MVector3d(4, 0, 2), MVector3d(0, 4, 2));
    double t = 42;
    // Parallel to the triangle.
    EXPECT_FALSE(triangle.intersection(MLine(MVector3d(1, 1, 2), MVector3d(1, 0, 0)), t).isValid());
    // Beside it, past each of its edges.
    EXPECT_FALSE(triangle.intersection(MLine(MVector3d(-1, 1, 0), MVector3d(0, 0, 1)), t).isValid());
    EXPECT_FALSE(triangle.intersection(MLine(MVector3d(1, -1, 0), MVector3d(0, 0, 1)), t).isValid());
    EXPECT_FALSE(triangle.intersection(MLine(MVector3d(3, 3, 0), MVector3d(0, 0, 1)), t).isValid());
    EXPECT_FALSE(triangle.intersection(MLine(), t).isValid());
    EXPECT_FALSE(MTriangle().intersection(MLine::ZAxis, t).isValid());
    EXPECT_EQ(t, 42.0);
}

TEST(MTriangle, RandomLineHitsLieOnTheTriangle)
{
    test::RandomGeometry random(62);
    int hits = 0;
    for (int i = 0; i < 300; ++i) {
        const MTriangle triangle(random.point(5), random.point(5), random.point(5));
        const MLine line(random.point(5), random.unitVector());
        double t = MInvalid;
        const MVector3d hit = triangle.intersection(line, t);
        if (!hit.isValid())
            continue;
        ++hits;
        EXPECT_NEAR(triangle.distance(hit), 0.0, 1e-9);
        EXPECT_TRUE(near(line.at(t), hit, 1e-12));
    }
    EXPECT_GT(hits, 20);
}

TEST(MTriangle, PoseSitsAtTheCentroidWithTheNormalAsZ)
{
    const MTriangle triangle(MVector3d(0, 0, 0), MVector3d(3, 0, 0), MVector3d(0, 3, 0));
    const MMatrix4 pose = triangle.pose();
    EXPECT_TRUE(near(pose * MVector3d(0, 0, 0), MVector3d(1, 1, 0), 1e-15));
    EXPECT_TRUE(near(pose * MVector3d(0, 0, 1), MVector3d(1, 1, 1), 1e-15));
    // The X and Y axes are the directions of a - b and b - c.
    EXPECT_TRUE(near(pose * MVector3d(1, 0, 0), MVector3d(0, 1, 0), 1e-15));
    EXPECT_TRUE(near(pose * MVector3d(0, std::sqrt(2.0), 0), MVector3d(2, 0, 0), 1e-15));
    EXPECT_EQ(MTriangle().pose(), MMatrix4::Zero);
}

TEST(MTriangle, TransformationLeavesInvalidVertices)
{
    MTriangle triangle(MVector3d(1, 2, 3), MVector3d(), MVector3d(0, 0, 0));
    triangle.applyTransformation(MMatrix4::Translation(MVector3d(1, 1, 1)));
    EXPECT_EQ(triangle.vertex(0), MVector3d(2, 3, 4));
    EXPECT_EQ(triangle.vertex(1), MVector3d());
    EXPECT_EQ(triangle.vertex(2), MVector3d(1, 1, 1));
}
