#include "MMatrix2.h"
#include "MMatrix3.h"
#include "MMatrix4.h"
#include "MVector2d.h"
#include "MVector3d.h"
#include "MVector3f.h"
#include "MVector4d.h"
#include "TestSupport.h"
#include "TextFileSupport.h"

#include <gtest/gtest.h>

#include <sstream>

using namespace ZOLAR3D;
using test::PathForm;
using test::readText;
using test::roundTrip;
using test::writeText;

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
    const std::string path = test::scratchDir("MValueTextVector") + "/point.txt";
    const MVector3d written(1234.56789012345678, -0.000123456789012345, 9.87654321098765e7);
    const MVector3d read = roundTrip(written, path, PathForm::Narrow, PathForm::Narrow);
    for (int i = 0; i < 3; ++i)
        EXPECT_NEAR(read[i], written[i], std::abs(written[i]) * 5e-12);
    EXPECT_EQ(readText(path), "1234.56789012 -0.000123456789012 98765432.1099\n");
}

TEST(MValueText, AllVectorsRoundTripThroughWideAndNonAsciiPaths)
{
    const std::string dir = test::scratchDir("MValueTextWide");
    const std::string wide = dir + "/Me\xC3\x9Fpunkt_\xE6\xB8\xAC\xE9\x87\x8F.txt";
    const std::string narrow = dir + "/caf\xC3\xA9.txt";

    const MVector2d v2(0.25, -8);
    EXPECT_EQ(roundTrip(v2, wide, PathForm::Wide, PathForm::Wide), v2);
    EXPECT_EQ(readText(wide), "0.25 -8\n");
    const MVector3f v3f(0.1f, 3e-7f, -65504.f);
    EXPECT_EQ(roundTrip(v3f, narrow, PathForm::Narrow, PathForm::Narrow), v3f);
    EXPECT_EQ(roundTrip(v3f, narrow), v3f);
    const MVector4d v4(1, -2, 0.125, 1e300);
    EXPECT_EQ(roundTrip(v4, narrow, PathForm::Narrow, PathForm::Narrow), v4);
}

TEST(MValueText, InvalidMarkerComesBackAsTheMarker)
{
    const std::string path = test::scratchDir("MValueTextMarker") + "/hole.txt";
    MVector3d hole(1, 2, 3);
    hole.invalidate();
    MVector3d read = roundTrip(hole, path, PathForm::Narrow, PathForm::Narrow, MVector3d(0, 0, 0));
    EXPECT_EQ(read.x(), MInvalid);
    EXPECT_FALSE(read.isValid());
    EXPECT_EQ(roundTrip(MVector3f::Invalid, path, PathForm::Narrow, PathForm::Narrow, MVector3f(0, 0, 0)), MVector3f::Invalid);
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

TEST(MValueText, MatricesAreWrittenOneRowPerLine)
{
    std::wostringstream out;
    out << MMatrix3(1, 2, 3, 4, 5, 6, 7, 8, 0.1) << MMatrix2(1, 2, 3, 4) << MMatrix4::Translation(1, -2, 3);
    EXPECT_EQ(out.str(), L"1 2 3\n4 5 6\n7 8 0.1\n"
                         L"1 2\n3 4\n"
                         L"1 0 0 1\n0 1 0 -2\n0 0 1 3\n0 0 0 1\n");
}

TEST(MValueText, MatricesRoundTripThroughNarrowAndWidePaths)
{
    const std::string dir = test::scratchDir("MValueTextMatrix");
    const std::string narrow = dir + "/R\xC3\xBC" "ckseite_\xE5\xA7\xBF\xE5\x8B\xA2.txt";
    const std::string wide = dir + "/\xE5\xA7\xBF\xE5\x8B\xA2_4x4.txt";

    const MMatrix4 pose = MMatrix4::FromEuler(0.1, -0.2, 0.3) * MMatrix4::Translation(125.5, -0.25, 1e-3);
    EXPECT_TRUE(roundTrip(pose, wide, PathForm::Wide, PathForm::Wide, MMatrix4::Zero).equals(pose, 1e-9));
    EXPECT_TRUE(roundTrip(pose, narrow, PathForm::Narrow, PathForm::Wide, MMatrix4::Zero).equals(pose, 1e-9));

    const MMatrix3 rotation(0.5, -0.25, 2, 1e-5, 3, 4, 5, 6, 7);
    EXPECT_EQ(roundTrip(rotation, narrow, PathForm::Narrow, PathForm::Narrow, MMatrix3::Zero), rotation);
    MMatrix4 read4 = pose;
    EXPECT_FALSE(read4.load(narrow.c_str())) << "nine numbers do not make a 4x4 matrix";
    EXPECT_EQ(read4, pose);

    const MMatrix2 scaling(2, 0.5, -1, 4);
    const MMatrix2 read2 = roundTrip(scaling, wide, PathForm::Wide, PathForm::Wide, MMatrix2::Zero);
    EXPECT_EQ(read2 * MVector2d(1, 1), scaling * MVector2d(1, 1));
    EXPECT_EQ(read2.data()[2], 0.0);
    EXPECT_EQ(readText(wide), "2 0.5\n-1 4\n");
}
