#include "FileBytes.h"
#include "MPointCloud.h"
#include "PointCloudSamples.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

using namespace ZOLAR3D;

namespace {

class PointText : public test::ScratchFiles {
protected:
    PointText() : ScratchFiles("pointtext") {}
};

MPointCloud cloudOf(std::initializer_list<MVector3d> points)
{
    MPointCloud cloud;
    for (const MVector3d &p : points)
        cloud.add(p);
    return cloud;
}

// The value a number becomes when written with the given significant digits.
double rounded(double value, int digits)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.*g", digits, value);
    return std::strtod(text, nullptr);
}

// The valid points of a cloud, in order, as the text formats write them: with
// the given significant digits and z negated or not.
std::vector<MVector3d> writtenPoints(const MPointCloud &cloud, int digits, double zSign = 1.0)
{
    std::vector<MVector3d> points;
    for (int i = 0; i < cloud.numPoints(); ++i)
        if (cloud[i].isValid())
            points.emplace_back(rounded(cloud[i].x(), digits), rounded(cloud[i].y(), digits),
                                zSign * rounded(cloud[i].z(), digits));
    return points;
}

std::vector<MVector3d> pointsOf(const MPointCloud &cloud)
{
    return std::vector<MVector3d>(cloud.points(), cloud.points() + cloud.size());
}

} // namespace

// ---------------------------------------------------------------- ASCII

TEST_F(PointText, SaveAsciiWritesValidPointsWithTabsAndEightDigits)
{
    MPointCloud cloud = cloudOf({{1.23456789, 2, -3}, MVector3d(), {1e-9, 123456789012.0, 0.5}});
    cloud.resizeColors(3, MColor::Red);
    cloud.resizeNormals(3);
    ASSERT_TRUE(cloud.saveAscii(path("a.txt").c_str()));
    EXPECT_EQ(read("a.txt"), "1.2345679\t2\t-3\n1e-09\t1.2345679e+11\t0.5\n");
}

TEST_F(PointText, AsciiRoundTripKeepsEightSignificantDigits)
{
    std::mt19937 rng(1);
    const MPointCloud cloud = test::randomPointCloud(rng, 1, 500, true);
    ASSERT_TRUE(cloud.saveAscii(widePath("r.xyz").c_str()));
    MPointCloud loaded = test::randomPointCloud(rng, 2, 2, true);
    ASSERT_TRUE(loaded.loadAscii(widePath("r.xyz").c_str()));
    EXPECT_EQ(pointsOf(loaded), writtenPoints(cloud, 8));
    EXPECT_EQ(loaded.numColors(), 0);
    EXPECT_EQ(loaded.height(), 0);
}

TEST_F(PointText, LoadAsciiTakesTheFirstThreeNumbersOfALineAndSkipsTheRest)
{
    write("p.asc", "# comment\n"
                   "1 2 3\n"
                   "4\t5\t6 7 8\r\n"
                   "  9 10 11 trailing words\n"
                   "1,2,3\n"
                   "12 13\n"
                   "\n"
                   "1.5.3 7\n"
                   "1e400 1 1\n"
                   "nan 1 2\n"
                   "-1e-400 .5 5.e1");
    MPointCloud cloud;
    ASSERT_TRUE(cloud.loadAscii(path("p.asc").c_str()));
    ASSERT_EQ(cloud.numPoints(), 5);
    EXPECT_EQ(cloud[0], MVector3d(1, 2, 3));
    EXPECT_EQ(cloud[1], MVector3d(4, 5, 6));
    EXPECT_EQ(cloud[2], MVector3d(9, 10, 11));
    // A stream reads "1.5.3" as 1.5 followed by .3.
    EXPECT_EQ(cloud[3], MVector3d(1.5, 0.3, 7));
    EXPECT_EQ(cloud[4], MVector3d(-0.0, 0.5, 50));
}

TEST_F(PointText, AsciiOfOnlyInvalidPointsIsAnEmptyFileThatDoesNotLoad)
{
    const MPointCloud cloud(4);
    ASSERT_TRUE(cloud.saveAscii(path("e.txt").c_str()));
    EXPECT_EQ(read("e.txt"), "");
    MPointCloud loaded = cloudOf({{1, 2, 3}});
    EXPECT_FALSE(loaded.loadAscii(path("e.txt").c_str()));
    EXPECT_EQ(loaded.numPoints(), 0);
}

// ---------------------------------------------------------------- ASCII with colours

TEST_F(PointText, LoadAsciiRgbNegatesZAndMakesColoursOpaque)
{
    write("c.xyzrgb", "1 2 3 10 20 30\n-4.5\t5e1 -6 255 0 300 extra\n");
    MPointCloud cloud;
    ASSERT_TRUE(cloud.loadAsciiRgb(path("c.xyzrgb").c_str()));
    ASSERT_EQ(cloud.numPoints(), 2);
    ASSERT_TRUE(cloud.hasColors());
    EXPECT_EQ(cloud[0], MVector3d(1, 2, -3));
    EXPECT_EQ(cloud.color(0), MColor(10, 20, 30, 255));
    EXPECT_EQ(cloud[1], MVector3d(-4.5, 50, 6));
    // A channel beyond a byte keeps its low byte.
    EXPECT_EQ(cloud.color(1), MColor(255, 0, 300 & 0xFF, 255));
}

TEST_F(PointText, LoadAsciiRgbStopsAtTheThirdBadLine)
{
    MPointCloud cloud;
    write("two.xyzrgb", "bad\n1 2 3 1 1 1\n1 2 3 4 5\n4 5 6 1 1 1\n");
    ASSERT_TRUE(cloud.loadAsciiRgb(path("two.xyzrgb").c_str()));
    EXPECT_EQ(cloud.numPoints(), 2) << "two failures do not stop";
    write("three.xyzrgb", "bad\n1 2 3 1 1 1\n1 2 3 4 5\n\n4 5 6 1 1 1\n");
    ASSERT_TRUE(cloud.loadAsciiRgb(path("three.xyzrgb").c_str()));
    EXPECT_EQ(cloud.numPoints(), 1) << "an empty line is the third failure";
    write("none.xyzrgb", "a\nb\nc\n1 2 3 4 5 6\n");
    EXPECT_FALSE(cloud.loadAsciiRgb(path("none.xyzrgb").c_str()));
    EXPECT_EQ(cloud.numPoints(), 0);
}

TEST_F(PointText, AsciiRgbRoundTripNegatesZ)
{
    // The writer stores z as it is and the reader negates it, so a round
    // trip mirrors the cloud; colours keep their channels and become opaque.
    std::mt19937 rng(2);
    const MPointCloud cloud = test::randomPointCloud(rng, 1, 300, true);
    ASSERT_TRUE(cloud.saveAsciiRgb(path("r.xyzrgb").c_str()));
    MPointCloud loaded;
    ASSERT_TRUE(loaded.loadAsciiRgb(path("r.xyzrgb").c_str()));
    ASSERT_EQ(pointsOf(loaded), writtenPoints(cloud, 16, -1.0));
    for (int i = 0, at = 0; i < cloud.numPoints(); ++i) {
        const MColor c = cloud.color(i);
        if (cloud[i].isValid()) {
            EXPECT_EQ(loaded.color(at++), MColor(c.red(), c.green(), c.blue(), 255));
        }
    }
}

TEST_F(PointText, SaveAsciiRgbWritesTheFillColourWithoutColours)
{
    MPointCloud cloud = cloudOf({{0.1, 2, 3}, MVector3d(), {4, 5, 6}});
    cloud.resizeColors(2, MColor::Red); // not one per point: absent
    ASSERT_TRUE(cloud.saveAsciiRgb(path("g.xyzrgb").c_str()));
    EXPECT_EQ(read("g.xyzrgb"), "0.1 2 3 160 160 160\n4 5 6 160 160 160\n");
}

// ---------------------------------------------------------------- OBJ

TEST_F(PointText, SaveObjWritesItsCommentsAndOneVertexPerValidPoint)
{
    const MPointCloud cloud = cloudOf({{0.1, -2, 3e20}, MVector3d(), {1.0 / 3.0, 0, -0.0}});
    ASSERT_TRUE(cloud.saveObj(path("o.obj").c_str()));
    EXPECT_EQ(read("o.obj"), "# 3d obj file\n"
                             "# written by ZOLAR3D - the 3d metrology library\n"
                             "# vertices(2)\n"
                             "v 0.1 -2 3e+20\n"
                             "v 0.3333333333333333 0 -0\n");
}

TEST_F(PointText, LoadObjTakesOnlyVertexLines)
{
    write("m.obj", "# v 9 9 9\nvn 0 0 1\nvt 0.5 0.5\nv 1 2 3\nv\t4 5 6\nv 7 8 9 1 0 0\nf 1 2 3\nv 1 x 2\n  v 5 5 5\nv 10 11 12");
    MPointCloud cloud;
    ASSERT_TRUE(cloud.loadObj(path("m.obj").c_str()));
    ASSERT_EQ(cloud.numPoints(), 3);
    EXPECT_EQ(cloud[0], MVector3d(1, 2, 3));
    EXPECT_EQ(cloud[1], MVector3d(7, 8, 9));
    EXPECT_EQ(cloud[2], MVector3d(10, 11, 12));
    write("none.obj", "# nothing\nf 1 2 3\n");
    EXPECT_FALSE(cloud.loadObj(path("none.obj").c_str()));
}

TEST_F(PointText, ObjRoundTripKeepsSixteenDigits)
{
    std::mt19937 rng(3);
    const MPointCloud cloud = test::randomPointCloud(rng, 5, 40, false);
    ASSERT_TRUE(cloud.saveObj(widePath("r.obj").c_str()));
    MPointCloud loaded;
    ASSERT_TRUE(loaded.loadObj(widePath("r.obj").c_str()));
    EXPECT_EQ(pointsOf(loaded), writtenPoints(cloud, 16));
    EXPECT_FALSE(loaded.isOrganized2d());
}

// ---------------------------------------------------------------- by suffix

TEST_F(PointText, LoadAndSaveChooseTheFormatByTheExactSuffix)
{
    const MPointCloud cloud = cloudOf({{1, 2, 3}, {4, 5, 6}});
    for (const char *name : {"a.txt", "a.asc", "a.xyz"}) {
        ASSERT_TRUE(cloud.save(path(name).c_str())) << name;
        EXPECT_EQ(read(name), "1\t2\t3\n4\t5\t6\n");
        MPointCloud loaded;
        ASSERT_TRUE(loaded.load(path(name).c_str()));
        EXPECT_EQ(loaded, cloud);
    }
    ASSERT_TRUE(cloud.save(path("a.xyzrgb").c_str()));
    EXPECT_EQ(read("a.xyzrgb"), "1 2 3 160 160 160\n4 5 6 160 160 160\n");
    MPointCloud loaded;
    ASSERT_TRUE(loaded.load(widePath("a.xyzrgb").c_str()));
    EXPECT_EQ(loaded[1], MVector3d(4, 5, -6));

    ASSERT_TRUE(cloud.save(widePath("a.obj").c_str()));
    EXPECT_EQ(read("a.obj").rfind("# 3d obj file\n", 0), 0u);
    ASSERT_TRUE(loaded.load(path("a.obj").c_str()));
    EXPECT_EQ(loaded, cloud);

    // PCD is saved with double coordinates.
    ASSERT_TRUE(cloud.save(path("a.pcd").c_str()));
    EXPECT_NE(read("a.pcd").find("\nSIZE 8 8 8\n"), std::string::npos);
    ASSERT_TRUE(loaded.load(path("a.pcd").c_str()));
    EXPECT_EQ(loaded, cloud);
}

TEST_F(PointText, SuffixesMatchCaseSensitivelyAndOnlyOnTheFileName)
{
    const MPointCloud cloud = cloudOf({{1, 2, 3}});
    ASSERT_TRUE(cloud.saveAscii(path("upper.XYZ").c_str()));
    MPointCloud loaded;
    EXPECT_FALSE(loaded.load(path("upper.XYZ").c_str()));
    for (const char *name : {"b.XYZ", "b.Pcd", "b.ply", "b", "b.", "b.xyz.bak"}) {
        EXPECT_FALSE(cloud.save(path(name).c_str())) << name;
        EXPECT_FALSE(std::filesystem::exists(path(name))) << name;
    }
    std::filesystem::create_directories(path("folder.xyz"));
    EXPECT_FALSE(cloud.save(path("folder.xyz/noSuffix").c_str()));
}

TEST_F(PointText, FilesThatWillNotOpenGiveFalseAndLeaveTheCloud)
{
    const MPointCloud before = cloudOf({{1, 2, 3}});
    MPointCloud cloud = before;
    const std::string missing = path("no/such/file");
    for (const char *suffix : {".txt", ".xyzrgb", ".obj", ".pcd"}) {
        EXPECT_FALSE(cloud.load((missing + suffix).c_str())) << suffix;
        EXPECT_FALSE(cloud.save((missing + suffix).c_str())) << suffix;
        EXPECT_EQ(cloud, before);
    }
    EXPECT_FALSE(cloud.loadAscii(L"/no/such/file"));
    EXPECT_FALSE(cloud.loadAsciiRgb(L"/no/such/file"));
    EXPECT_FALSE(cloud.loadObj(L"/no/such/file"));
    if (std::filesystem::exists("/dev/full")) {
        EXPECT_FALSE(cloud.saveAscii("/dev/full"));
        EXPECT_FALSE(cloud.saveAsciiRgb("/dev/full"));
        EXPECT_FALSE(cloud.saveObj("/dev/full"));
    }
}

TEST_F(PointText, NarrowPathsAreUtf8)
{
    const MPointCloud cloud = cloudOf({{1, 2, 3}});
    const std::string narrow = path("\xE6\xB5\x8B.obj");
    ASSERT_TRUE(cloud.save(narrow.c_str()));
    MPointCloud loaded;
    ASSERT_TRUE(loaded.loadObj((std::wstring(m_dir.begin(), m_dir.end()) + L"/\u6D4B.obj").c_str()));
    EXPECT_EQ(loaded, cloud);
}

TEST_F(PointText, LongLinesAndGarbageNeverBreakTheReaders)
{
    std::mt19937 rng(4);
    std::uniform_int_distribution<int> byte(0, 255);
    std::string longLine(300000, '1');
    longLine += " 2 3\n";
    write("long.txt", longLine + "4 5 6");
    MPointCloud cloud;
    ASSERT_TRUE(cloud.loadAscii(path("long.txt").c_str()));
    ASSERT_EQ(cloud.numPoints(), 1) << "three hundred thousand ones overflow a double";
    EXPECT_EQ(cloud[0], MVector3d(4, 5, 6));
    for (int round = 0; round < 200; ++round) {
        std::string text(std::size_t(byte(rng)) * 8, ' ');
        for (char &c : text)
            c = char(round % 2 ? byte(rng) : "0123456789 .-e\nv\t"[byte(rng) % 17]);
        write("g.txt", text);
        using Load = bool (MPointCloud::*)(const char *);
        for (Load load : {Load(&MPointCloud::loadAscii), Load(&MPointCloud::loadAsciiRgb), Load(&MPointCloud::loadObj)}) {
            MPointCloud loaded;
            const bool got = (loaded.*load)(path("g.txt").c_str());
            EXPECT_EQ(got, loaded.numPoints() > 0);
            EXPECT_LE(loaded.numPoints(), int(text.size()));
        }
    }
}
