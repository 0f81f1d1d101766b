#include "MColorArray.h"
#include "MInvalid.h"
#include "MMatrix3Array.h"
#include "MMatrix4Array.h"
#include "MVector3dArray.h"
#include "MVector3fArray.h"
#include "MVector4dArray.h"

#include <gtest/gtest.h>

#include <limits>

using namespace ZOLAR3D;

TEST(MVector3dArray, FreshSlotsAreDefaultObjectsUpToTheCapacity)
{
    const MVector3dArray points(5);
    for (int i = 0; i < 5; ++i)
        EXPECT_FALSE(points[i].isValid());
    EXPECT_EQ(points[4].z(), MInvalid);

    // Slots beyond the size are live default objects too: growing within the
    // capacity shows invalid points without any fill.
    MVector3dArray grown;
    grown.reserveCapacity(4);
    grown.add(MVector3d(1, 2, 3));
    grown.resize(4);
    EXPECT_EQ(grown[0], MVector3d(1, 2, 3));
    EXPECT_EQ(grown[3].x(), MInvalid);
    EXPECT_EQ(grown[3].y(), MInvalid);

    EXPECT_EQ(MVector3fArray(2)[1].y(), MInvalidF);
    EXPECT_EQ(MVector4dArray(1)[0].w(), MInvalid);
    EXPECT_EQ(MColorArray(3)[2], MColor::Transparent);
    EXPECT_EQ(MMatrix3Array(2)[1], MMatrix3::Identity);
    EXPECT_EQ(MMatrix4Array(1)[0], MMatrix4::Identity);
    EXPECT_EQ(MMatrix4Array(1).sizeInBytes(), 128);
}

TEST(MVector3dArray, EqualityIsOfBytesNotOfVectors)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const MVector3dArray a(1, MVector3d(nan, 0, 0));
    const MVector3dArray b(1, MVector3d(nan, 0, 0));
    EXPECT_FALSE(a[0] == b[0]);
    EXPECT_TRUE(a == b);
    EXPECT_FALSE(a.contains(a[0]));

    const MVector3dArray zero(1, MVector3d(0, 0, 0));
    const MVector3dArray negativeZero(1, MVector3d(-0.0, 0, 0));
    EXPECT_TRUE(zero[0] == negativeZero[0]);
    EXPECT_FALSE(zero == negativeZero);
    EXPECT_TRUE(negativeZero.contains(MVector3d::Zero));
}

TEST(MVector3dArray, PointsReadAsPlainCoordinates)
{
    MVector3dArray points;
    points.add(MVector3d(1, 2, 3));
    points.add(MVector3d(4, 5, 6));
    EXPECT_EQ(points.sizeInBytes(), 48);
    const double *coordinates = points.data()->data();
    EXPECT_EQ(coordinates[3], 4.0);
    EXPECT_EQ(coordinates[5], 6.0);

    const MVector3f src[2] = {MVector3f(1, 2, 3), MVector3f(4, 5, 6)};
    const MVector3fArray narrow(src, 2);
    EXPECT_EQ(narrow.data()->data()[4], 5.0f);

    MColorArray colors(2, MColor::Red);
    EXPECT_EQ(colors.data()->argb(), 0xFFFF0000u);
    EXPECT_EQ(colors.sizeInBytes(), 8);
}
