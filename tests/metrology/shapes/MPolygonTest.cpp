#include "GeometryTestSupport.h"
#include "MCircle.h"
#include "MPolygon.h"

#include <gtest/gtest.h>

using namespace ZOLAR3D;
using test::near;

namespace {

MPolygon unitSquare(const MVector3d &offset = MVector3d(0, 0, 0))
{
    MPolygon square;
    square.add(offset + MVector3d(0, 0, 0));
    square.add(offset + MVector3d(1, 0, 0));
    square.add(offset + MVector3d(1, 1, 0));
    square.add(offset + MVector3d(0, 1, 0));
    return square;
}

} // namespace

TEST(MPolygon, VerticesAreHeldInOrder)
{
    MPolygon polygon = unitSquare();
    EXPECT_EQ(polygon.size(), 4);
    EXPECT_EQ(polygon[2], MVector3d(1, 1, 0));
    EXPECT_EQ(polygon.vertex(3), MVector3d(0, 1, 0));
    EXPECT_EQ(polygon.vertex(4), MVector3d::Infinity);
    EXPECT_EQ(polygon.vertex(-1), MVector3d::Infinity);
    polygon.setVertex(4, MVector3d(9, 9, 9));
    EXPECT_EQ(polygon, unitSquare());
    polygon.setVertex(0, MVector3d(0, 0, 1));
    EXPECT_NE(polygon, unitSquare());

    const MPolygon copied(unitSquare().vertices());
    EXPECT_EQ(copied, unitSquare());
    MPolygon shorter;
    for (int i = 0; i < 3; ++i)
        shorter.add(unitSquare()[i]);
    EXPECT_NE(shorter, unitSquare());
    EXPECT_NE(MPolygon(), unitSquare());
}

TEST(MPolygon, ValidityAndInvalidation)
{
    EXPECT_TRUE(MPolygon().isValid());
    MPolygon empty;
    empty.invalidate();
    EXPECT_TRUE(empty.isValid());
    EXPECT_EQ(empty.size(), 0);

    MPolygon square = unitSquare();
    EXPECT_TRUE(square.isValid());
    square.invalidate();
    EXPECT_FALSE(square.isValid());
    EXPECT_EQ(square[0].x(), MInvalid);
    EXPECT_EQ(square[0].y(), 0.0);
}

TEST(MPolygon, AreaOmitsTheClosingEdgeAndTheHalving)
{
    // The sum of p(i) x p(i+1) over the open chain, along the normal: twice
    // the area of the unit square here, and not the area at all elsewhere.
    EXPECT_EQ(unitSquare().area(), 2.0);
    EXPECT_EQ(unitSquare(MVector3d(1, 0, 0)).area(), 3.0);
    MPolygon single;
    single.add(MVector3d(3, 4, 5));
    EXPECT_EQ(single.area(), 0.0);
    EXPECT_EQ(MPolygon().area(), 0.0);
    MPolygon holed = unitSquare();
    holed.setVertex(3, MVector3d());
    EXPECT_EQ(holed.area(), 0.0);
}

TEST(MPolygon, NormalAndPerimeterComeFromTheFirstThreeVertices)
{
    MPolygon polygon = unitSquare();
    polygon.add(MVector3d(0, 0, 50));
    EXPECT_EQ(polygon.normal(), MVector3d(0, 0, 1));
    EXPECT_DOUBLE_EQ(polygon.length(), 2.0 + std::sqrt(2.0));

    MPolygon two;
    two.add(MVector3d(0, 0, 0));
    two.add(MVector3d(1, 0, 0));
    EXPECT_EQ(two.normal(), MVector3d::Infinity);
    EXPECT_EQ(two.length(), MInvalid);
    EXPECT_EQ(two.area(), 0.0);
    EXPECT_EQ(two.pose(), MMatrix4::Zero);
}

TEST(MPolygon, CentroidIsThePlainMean)
{
    MPolygon polygon = unitSquare();
    polygon.add(MVector3d(1, 1, 0));
    EXPECT_EQ(polygon.centroid(), MVector3d(0.6, 0.6, 0));
    EXPECT_EQ(MPolygon().centroid(), MVector3d::Infinity);
}

TEST(MPolygon, PoseSitsAtTheCentroidWithTheNormalAsZ)
{
    const MMatrix4 pose = unitSquare(MVector3d(2, 3, 4)).pose();
    EXPECT_TRUE(near(pose * MVector3d(0, 0, 0), MVector3d(2.5, 3.5, 4), 1e-15));
    EXPECT_TRUE(near(pose * MVector3d(0, 0, 1), MVector3d(2.5, 3.5, 5), 1e-15));
    EXPECT_TRUE(near(pose * MVector3d(1, 0, 0), MVector3d(1.5, 3.5, 4), 1e-15));
    MPolygon holed = unitSquare();
    holed.setVertex(3, MVector3d());
    EXPECT_EQ(holed.pose(), MMatrix4::Zero);
}

TEST(MPolygon, TransformationMovesEveryValidVertex)
{
    MPolygon polygon = unitSquare();
    polygon.setVertex(1, MVector3d());
    polygon.applyTransformation(MMatrix4::Translation(MVector3d(0, 0, 2)));
    EXPECT_EQ(polygon[0], MVector3d(0, 0, 2));
    EXPECT_EQ(polygon[1], MVector3d());
    EXPECT_EQ(polygon[3], MVector3d(0, 1, 2));
}

TEST(MPolygon, DistanceIsAlwaysTheMarker)
{
    EXPECT_EQ(unitSquare().distance(MVector3d(0.5, 0.5, 0)), MInvalid);
    EXPECT_EQ(MPolygon().distance(MVector3d(0, 0, 0)), MInvalid);
}

TEST(MPolygon, IsConvexIsAlwaysFalse)
{
    EXPECT_FALSE(unitSquare().isConvex());
    EXPECT_FALSE(MPolygon().isConvex());
}

TEST(MPolygon, CircumscribedCircleIsAlwaysADefaultCircle)
{
    EXPECT_EQ(unitSquare().circumscribedCircle(), MCircle());
    EXPECT_FALSE(unitSquare().circumscribedCircle().isValid());
    EXPECT_EQ(MPolygon().circumscribedCircle(), MCircle());
}

TEST(MPolygon, IntersectionIsAlwaysInvalidAndLeavesTheParameter)
{
    double t = 42;
    EXPECT_FALSE(unitSquare().intersection(MLine(MVector3d(0.5, 0.5, 1), MVector3d(0, 0, 1)), t).isValid());
    EXPECT_FALSE(MPolygon().intersection(MLine::ZAxis, t).isValid());
    EXPECT_EQ(t, 42.0);
}

TEST(MPolygon, ProjectionIsAlwaysInvalidAndLeavesTheParameter)
{
    double t = 42;
    EXPECT_EQ(unitSquare().projection(MVector3d(0.5, 0.5, 1), &t), MVector3d());
    EXPECT_EQ(t, 42.0);
}
