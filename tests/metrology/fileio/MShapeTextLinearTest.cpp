#include "MLine.h"
#include "MLineSegment.h"
#include "MPlane.h"
#include "MPolygon.h"
#include "MRay.h"
#include "MTriangle.h"
#include "TestSupport.h"
#include "metrology/core/detail/MPathEncoding.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

using namespace ZOLAR3D;

namespace {

std::string readText(const std::string &path)
{
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

void writeText(const std::string &path, const std::string &text) { std::ofstream(path) << text; }

template <class Shape>
std::wstring textOf(const Shape &shape)
{
    std::wostringstream out;
    out << shape;
    return out.str();
}

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
    const std::wstring wide = MPathEncoding::widen(dir.c_str()) + L"/Me\u00DF_\u6E2C\u91CF.txt";

    // A direction set as it is, so that what is written is exactly what was held.
    MLine line(MVector3d(1.25, -2, 1e-9), MVector3d(0.6, 0, -0.8), 12.5, true);
    MLine lineRead;
    EXPECT_TRUE(line.save(narrow.c_str()) && lineRead.load(narrow.c_str()));
    EXPECT_EQ(lineRead, line);
    EXPECT_EQ(readText(narrow), "1.25 -2 1e-09\n0.6 0 -0.8\n12.5\n");

    const MRay ray(MVector3d(4, 5, 6), MVector3d(0, 1, 0), 3.0);
    MRay rayRead;
    EXPECT_TRUE(ray.save(wide.c_str()) && rayRead.load(wide.c_str()));
    EXPECT_EQ(rayRead, ray);

    const MLineSegment segment(MVector3d(0.1, 0.2, 0.3), MVector3d(-7, 8, 9));
    MLineSegment segmentRead;
    EXPECT_TRUE(segment.save(narrow.c_str()) && segmentRead.load(MPathEncoding::widen(narrow.c_str()).c_str()));
    EXPECT_EQ(segmentRead, segment);

    MPlane plane(MVector3d(1, 2, 3), MVector3d(0, 0.6, 0.8), true);
    plane.setUVAny(0.5);
    MPlane planeRead;
    EXPECT_TRUE(plane.save(wide.c_str()) && planeRead.load(wide.c_str()));
    EXPECT_EQ(planeRead.position(), plane.position());
    EXPECT_EQ(planeRead.normal(), plane.normal());
    EXPECT_TRUE(planeRead.u().equals(plane.u(), 1e-12));

    const MTriangle triangle(MVector3d(1, 0, 0), MVector3d(0, 1, 0), MVector3d(0, 0, 1));
    MTriangle triangleRead;
    EXPECT_TRUE(triangle.save(wide.c_str()) && triangleRead.load(wide.c_str()));
    EXPECT_EQ(triangleRead, triangle);

    MPolygon polygon;
    for (int i = 0; i < 5; ++i)
        polygon.add(MVector3d(i, i * 0.5, -i));
    MPolygon polygonRead;
    EXPECT_TRUE(polygon.save(narrow.c_str()) && polygonRead.load(narrow.c_str()));
    EXPECT_EQ(polygonRead, polygon);
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
