#include "MLine.h"
#include "MLineSegment.h"
#include "MPlane.h"
#include "MPolygon.h"
#include "MRay.h"
#include "MTriangle.h"
#include "TestSupport.h"
#include "TextFileSupport.h"

#include <gtest/gtest.h>

#include <sstream>

using namespace ZOLAR3D;
using test::PathForm;
using test::roundTrip;
using test::textOf;
using test::writeText;

namespace {

template <class Shape>
Shape readBack(const Shape &shape)
{
    std::wistringstream in(textOf(shape));
    Shape read;
    in >> read;
    EXPECT_FALSE(in.fail());
    return read;
}

} // namespace

TEST(MShapeTextLinear, MembersAreWrittenOnePerLineInDataOrder)
{
    EXPECT_EQ(textOf(MLine(MVector3d(1, 2, 3), MVector3d(0, 0, 2))), L"1 2 3\n0 0 1\n2\n");
    EXPECT_EQ(textOf(MRay(MVector3d(1, 2, 3), MVector3d(0, 3, 4), 1.0 / 3.0)), L"1 2 3\n0 0.6 0.8\n0.333333333333\n");
    EXPECT_EQ(textOf(MLineSegment(MVector3d(1, 2, 3), MVector3d(-4, 5e-7, 6))), L"1 2 3\n-4 5e-07 6\n");
    MPlane plane(MVector3d(0, 0, 1), MVector3d(0, 0, 1));
    plane.setU(MVector3d(1, 0, 0));
    plane.setV(MVector3d(0, 1, 0));
    EXPECT_EQ(textOf(plane), L"0 0 1\n0 0 1\n1 0 0\n0 1 0\n");
    EXPECT_EQ(textOf(MTriangle(MVector3d(0, 0, 0), MVector3d(1, 0, 0), MVector3d(0, 1, 0))), L"0 0 0\n1 0 0\n0 1 0\n");
}

TEST(MShapeTextLinear, PolygonWritesItsVertexCountFirst)
{
    MPolygon polygon;
    polygon.add(MVector3d(0, 0, 0));
    polygon.add(MVector3d(1, 2, 3.5));
    EXPECT_EQ(textOf(polygon), L"2\n0 0 0\n1 2 3.5\n");
    EXPECT_EQ(textOf(MPolygon()), L"0\n");
    EXPECT_EQ(readBack(polygon), polygon);
    EXPECT_EQ(readBack(MPolygon()).size(), 0);
}

TEST(MShapeTextLinear, CallersPrecisionIsRestored)
{
    std::wostringstream out;
    out.precision(3);
    out << MLine(MVector3d(1, 2, 3), MVector3d(0, 0, 1), 1.0 / 3.0) << 1.0 / 3.0;
    EXPECT_EQ(out.str(), L"1 2 3\n0 0 1\n0.333333333333\n0.333");
}

TEST(MShapeTextLinear, UnsetMembersComeBackUnset)
{
    MLine line(MVector3d(1, 2, 3), MVector3d(0, 0, 1));
    line.setLengthAttribute(MInvalid);
    EXPECT_EQ(readBack(line).lengthAttribute(), MInvalid);

    const MPlane plane(MVector3d(1, 2, 3), MVector3d(0, 0, 1));
    const MPlane read = readBack(plane);
    EXPECT_EQ(read, plane);
    EXPECT_FALSE(read.u().isValid());
    EXPECT_EQ(read.pose(), plane.pose());

    EXPECT_EQ(readBack(MTriangle()), MTriangle());
}

TEST(MShapeTextLinear, ShapesRoundTripThroughFiles)
{
    const std::string dir = test::scratchDir("MShapeTextLinear");
    const std::string narrow = dir + "/caf\xC3\xA9.txt";
    const std::string wide = dir + "/Me\xC3\x9F_\xE6\xB8\xAC\xE9\x87\x8F.txt";

    // A direction set as it is, so that what is written is exactly what was held.
    const MLine line(MVector3d(1.25, -2, 1e-9), MVector3d(0.6, 0, -0.8), 12.5, true);
    EXPECT_EQ(roundTrip(line, narrow, PathForm::Narrow, PathForm::Narrow), line);
    EXPECT_EQ(test::readText(narrow), "1.25 -2 1e-09\n0.6 0 -0.8\n12.5\n");
    const MRay ray(MVector3d(4, 5, 6), MVector3d(0, 1, 0), 3.0);
    EXPECT_EQ(roundTrip(ray, wide, PathForm::Wide, PathForm::Wide), ray);
    const MLineSegment segment(MVector3d(0.1, 0.2, 0.3), MVector3d(-7, 8, 9));
    EXPECT_EQ(roundTrip(segment, narrow), segment);

    MPlane plane(MVector3d(1, 2, 3), MVector3d(0, 0.6, 0.8), true);
    plane.setUVAny(0.5);
    const MPlane planeRead = roundTrip(plane, wide, PathForm::Wide, PathForm::Wide);
    EXPECT_EQ(planeRead.position(), plane.position());
    EXPECT_EQ(planeRead.normal(), plane.normal());
    EXPECT_TRUE(planeRead.u().equals(plane.u(), 1e-12));

    const MTriangle triangle(MVector3d(1, 0, 0), MVector3d(0, 1, 0), MVector3d(0, 0, 1));
    EXPECT_EQ(roundTrip(triangle, wide, PathForm::Wide, PathForm::Wide), triangle);
    MPolygon polygon;
    for (int i = 0; i < 5; ++i)
        polygon.add(MVector3d(i, i * 0.5, -i));
    EXPECT_EQ(roundTrip(polygon, narrow, PathForm::Narrow, PathForm::Narrow), polygon);
}

TEST(MShapeTextLinear, FailedLoadsLeaveTheShapeUnchanged)
{
    const std::string dir = test::scratchDir("MShapeTextLinearFail");
    const std::string path = dir + "/short.txt";
    const MLine line(MVector3d(1, 2, 3), MVector3d(0, 0, 1));
    MLine target = line;
    writeText(path, "1 2 3\n0 0 1\n");
    EXPECT_FALSE(target.load(path.c_str()));
    EXPECT_EQ(target, line);
    EXPECT_FALSE(target.load((dir + "/missing.txt").c_str()));
    EXPECT_FALSE(line.save((dir + "/no/such/folder.txt").c_str()));

    MPolygon polygon;
    polygon.add(MVector3d(1, 1, 1));
    const MPolygon before = polygon;
    writeText(path, "3\n0 0 0\n1 1 1\n");
    EXPECT_FALSE(polygon.load(path.c_str()));
    EXPECT_EQ(polygon, before);
    writeText(path, "-1\n");
    EXPECT_FALSE(polygon.load(path.c_str()));
    EXPECT_EQ(polygon, before);
    // A huge count is read vertex by vertex and fails at the end of the file.
    writeText(path, "2000000000\n0 0 0\n");
    EXPECT_FALSE(polygon.load(path.c_str()));
    EXPECT_EQ(polygon, before);
}
