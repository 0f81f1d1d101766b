#include "MBox.h"
#include "MCircle.h"
#include "MCone.h"
#include "MCylinder.h"
#include "MEllipse.h"
#include "MSphere.h"
#include "TestSupport.h"
#include "TextFileSupport.h"

#include <gtest/gtest.h>

#include <sstream>

using namespace ZOLAR3D;
using test::roundTrip;
using test::textOf;
using test::writeText;

TEST(MShapeTextRound, MembersAreWrittenOnePerLineInTheirOrder)
{
    EXPECT_EQ(textOf(MCircle(MVector3d(1, 2, 3), MVector3d(0, 0, 1), 2.5)), L"1 2 3\n0 0 1\n2.5\n");
    EXPECT_EQ(textOf(MEllipse(MVector3d(1, 2, 3), MVector3d(0, 1, 0), 2.5, 1.0 / 3.0)),
              L"1 2 3\n0 1 0\n2.5\n0.333333333333\n");
    EXPECT_EQ(textOf(MSphere(MVector3d(-1, 0.5, 0), 4)), L"-1 0.5 0\n4\n");
    EXPECT_EQ(textOf(MCylinder(MVector3d(0, 0, 0), MVector3d(1, 0, 0), 2, 10)), L"0 0 0\n1 0 0\n2\n10\n");
    EXPECT_EQ(textOf(MCone(MVector3d(0, 0, 0), MVector3d(0, 0, 1), 1, 0.5, 3)), L"0 0 0\n0 0 1\n1\n0.5\n3\n");

    std::wostringstream pose;
    pose << MMatrix4::Translation(MVector3d(1, 2, 3));
    EXPECT_EQ(textOf(MBox(MVector3d(0, 0, 0), MVector3d(2, 4, 6))), L"2 4 6\n" + pose.str());
    std::wostringstream out;
    out << MSphere::UnitSphere;
    EXPECT_EQ(out.precision(), 6) << "the caller's precision is restored";
}

TEST(MShapeTextRound, ShapesRoundTripThroughNarrowAndWidePaths)
{
    const std::string dir = test::scratchDir("MShapeTextRound") + "/caf\xC3\xA9_";

    const MCircle circle(MVector3d(1, -2, 3.5), MVector3d(0, 0.6, 0.8), 0.25, true);
    EXPECT_EQ(roundTrip(circle, dir + "circle.txt"), circle);
    const MEllipse ellipse(MVector3d(1, -2, 3.5), MVector3d(0.6, 0, 0.8), 0.25, 4, true);
    EXPECT_EQ(roundTrip(ellipse, dir + "ellipse.txt"), ellipse);
    const MSphere sphere(MVector3d(1e6, -2, 0.125), 7.5);
    EXPECT_EQ(roundTrip(sphere, dir + "sphere.txt"), sphere);
    const MCylinder cylinder(MVector3d(1, 2, 3), MVector3d(0, -1, 0), 2, 12.5, true);
    EXPECT_EQ(roundTrip(cylinder, dir + "cylinder.txt"), cylinder);
    const MCone cone(MVector3d(1, 2, 3), MVector3d(0, 0, -1), 2, 0.75, 12.5, true);
    const MCone readCone = roundTrip(cone, dir + "cone.txt");
    EXPECT_EQ(readCone, cone);
    EXPECT_EQ(readCone.distance(MVector3d(5, 5, 5)), cone.distance(MVector3d(5, 5, 5)));

    // Twelve digits: close, not bitwise.
    const MCircle third(MVector3d(1.0 / 3.0, 0, 0), MVector3d(0, 0, 1), 2.0 / 3.0);
    const MCircle readThird = roundTrip(third, dir + "third.txt");
    EXPECT_NEAR(readThird.position().x(), 1.0 / 3.0, 1e-12);
    EXPECT_NEAR(readThird.radius(), 2.0 / 3.0, 1e-12);
}

TEST(MShapeTextRound, BoxStoresSizeAndPoseAndFormsTheInverseOnReading)
{
    const std::string dir = test::scratchDir("MShapeTextBox");
    const MBox axisAligned(MVector3d(-1, 2, 0.5), MVector3d(3, 4, 8.5));
    EXPECT_EQ(roundTrip(axisAligned, dir + "/aligned.txt"), axisAligned);

    const MMatrix4 pose = MMatrix4::Translation(MVector3d(1, 2, 3)) * MMatrix4::ZRotation(0.3);
    const MBox turned(MVector3d(2, 4, 6), pose);
    const MBox read = roundTrip(turned, dir + "/turned.txt");
    EXPECT_EQ(read.size(), turned.size());
    EXPECT_TRUE(read.pose().equals(pose, 1e-12));
    EXPECT_EQ(read.inversePose(), read.pose().rigidInverse());
}

TEST(MShapeTextRound, UnsetMembersStayUnset)
{
    const std::string dir = test::scratchDir("MShapeTextMarker");
    const MCylinder endless(MVector3d(1, 2, 3), MVector3d(0, 0, 1), 2, MInvalid);
    EXPECT_EQ(roundTrip(endless, dir + "/endless.txt"), endless);
    EXPECT_EQ(roundTrip(MCone(), dir + "/cone.txt"), MCone());
    EXPECT_EQ(roundTrip(MSphere(), dir + "/sphere.txt"), MSphere());
    const MBox unsized = roundTrip(MBox(), dir + "/box.txt");
    EXPECT_FALSE(unsized.isValid());
    EXPECT_EQ(unsized.pose(), MMatrix4::Identity);
}

TEST(MShapeTextRound, FailedLoadLeavesTheShapeUnchanged)
{
    const std::string dir = test::scratchDir("MShapeTextFail");
    const std::string path = dir + "/short.txt";
    const MCone cone(MVector3d(1, 2, 3), MVector3d(0, 0, 1), 2, 0.5, 4);
    writeText(path, "0 0 0\n0 0 1\n1\n0.5\n");
    MCone c = cone;
    EXPECT_FALSE(c.load(path.c_str()));
    EXPECT_EQ(c, cone);
    MBox b(MVector3d(1, 1, 1), MVector3d(2, 2, 2));
    const MBox before = b;
    writeText(path, "1 2 3\n1 0 0 0\n0 1 0 0\n");
    EXPECT_FALSE(b.load(path.c_str()));
    EXPECT_EQ(b, before);
    MSphere s = MSphere::UnitSphere;
    EXPECT_FALSE(s.load((dir + "/missing.txt").c_str()));
    EXPECT_EQ(s, MSphere::UnitSphere);
    EXPECT_FALSE(MCircle().save((dir + "/no/such/folder.txt").c_str()));
    writeText(path, "1 2 3 4 5 6 7\n");
    EXPECT_TRUE(s.load(path.c_str()));
    EXPECT_EQ(s, MSphere(MVector3d(1, 2, 3), 4));
}
