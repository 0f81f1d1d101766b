#include "MVector2d.h"
#include "MVector3d.h"
#include "MVector3f.h"
#include "MVector4d.h"
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

} // namespace

TEST(MValueText, VectorsAreOneLineOfBlankSeparatedComponents)
{
    std::wostringstream out;
    out << MVector3d(1.0 / 3.0, -2, 1e-20) << MVector2d(0.5, 7) << MVector4d(1, 2, 3, 4)
        << MVector3f(1.0f / 3.0f, 2.5f, -1);
    EXPECT_EQ(out.str(), L"0.333333333333 -2 1e-20\n0.5 7\n1 2 3 4\n0.3333333 2.5 -1\n");
    EXPECT_EQ(out.precision(), 6) << "the caller's precision is restored";
}

TEST(MValueText, Vector3dRoundTripKeepsTwelveDigits)
{
    const std::string dir = test::scratchDir("MValueTextVector");
    const std::string path = dir + "/point.txt";
    const MVector3d written(1234.56789012345678, -0.000123456789012345, 9.87654321098765e7);
    ASSERT_TRUE(written.save(path.c_str()));
    MVector3d read;
    ASSERT_TRUE(read.load(path.c_str()));
    for (int i = 0; i < 3; ++i)
        EXPECT_NEAR(read[i], written[i], std::abs(written[i]) * 5e-12);
    EXPECT_EQ(readText(path), "1234.56789012 -0.000123456789012 98765432.1099\n");
}

TEST(MValueText, AllVectorsRoundTripThroughWideAndNonAsciiPaths)
{
    const std::string dir = test::scratchDir("MValueTextWide");
    const std::wstring wideDir = MPathEncoding::widen(dir.c_str());
    const std::wstring wide = wideDir + L"/Me\u00DFpunkt_\u6E2C\u91CF.txt";
    const std::string narrow = dir + "/caf\xC3\xA9.txt";

    const MVector2d v2(0.25, -8);
    MVector2d r2;
    EXPECT_TRUE(v2.save(wide.c_str()) && r2.load(wide.c_str()));
    EXPECT_EQ(r2, v2);
    EXPECT_EQ(readText(MPathEncoding::toFileSystem(wide.c_str())), "0.25 -8\n");

    const MVector3f v3f(0.1f, 3e-7f, -65504.f);
    MVector3f r3f;
    EXPECT_TRUE(v3f.save(narrow.c_str()) && r3f.load(narrow.c_str()));
    EXPECT_EQ(r3f, v3f);
    EXPECT_TRUE(r3f.load(MPathEncoding::widen(narrow.c_str()).c_str()));

    const MVector4d v4(1, -2, 0.125, 1e300);
    MVector4d r4;
    EXPECT_TRUE(v4.save(narrow.c_str()) && r4.load(narrow.c_str()));
    EXPECT_EQ(r4, v4);
}

TEST(MValueText, InvalidMarkerComesBackAsTheMarker)
{
    const std::string dir = test::scratchDir("MValueTextMarker");
    const std::string path = dir + "/hole.txt";
    MVector3d hole(1, 2, 3);
    hole.invalidate();
    ASSERT_TRUE(hole.save(path.c_str()));
    MVector3d read(0, 0, 0);
    ASSERT_TRUE(read.load(path.c_str()));
    EXPECT_EQ(read.x(), MInvalid);
    EXPECT_FALSE(read.isValid());

    ASSERT_TRUE(MVector3f::Invalid.save(path.c_str()));
    MVector3f readF(0, 0, 0);
    ASSERT_TRUE(readF.load(path.c_str()));
    EXPECT_EQ(readF, MVector3f::Invalid);
    // Numbers near the marker but not the marker to the written precision stay as they are.
    writeText(path, "3.4028e38 0 0\n");
    ASSERT_TRUE(read.load(path.c_str()));
    EXPECT_EQ(read.x(), 3.4028e38);
}

TEST(MValueText, FailedLoadLeavesTheValueUnchanged)
{
    const std::string dir = test::scratchDir("MValueTextFail");
    const std::string path = dir + "/short.txt";
    writeText(path, "1 2\n");
    MVector3d v(7, 8, 9);
    EXPECT_FALSE(v.load(path.c_str()));
    EXPECT_EQ(v, MVector3d(7, 8, 9));
    writeText(path, "1 x 3\n");
    EXPECT_FALSE(v.load(path.c_str()));
    EXPECT_EQ(v, MVector3d(7, 8, 9));
    EXPECT_FALSE(v.load((dir + "/missing.txt").c_str()));
    EXPECT_FALSE(v.save((dir + "/no/such/folder.txt").c_str()));
    // Extra numbers and any whitespace between them are accepted.
    writeText(path, "  1\n\t2   3 4\n");
    EXPECT_TRUE(v.load(path.c_str()));
    EXPECT_EQ(v, MVector3d(1, 2, 3));
}
