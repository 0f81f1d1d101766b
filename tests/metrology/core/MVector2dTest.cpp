#include "MAngle.h"
#include "MVector2d.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace ZOLAR3D;

TEST(MVector2d, CrossIsTheScalarOfThePlane)
{
    EXPECT_EQ(MVector2d::XUnit.cross(MVector2d::YUnit), 1.0);
    EXPECT_EQ(MVector2d(2, 3).cross(MVector2d(4, 5)), 2 * 5 - 3 * 4.0);
    EXPECT_EQ(MVector2d::PerpendicularTo(MVector2d(2, 3)), MVector2d(3, -2));
    EXPECT_EQ(MVector2d(2, 3).dot(MVector2d::PerpendicularTo(MVector2d(2, 3))), 0.0);
}

TEST(MVector2d, ValidityNormAndAngle)
{
    EXPECT_FALSE(MVector2d().isValid());
    EXPECT_EQ(MVector2d::Invalid, MVector2d(MInvalid, MInvalid));
    EXPECT_EQ(MVector2d::Infinity, MVector2d::Invalid);
    MVector2d v(3, 4);
    EXPECT_EQ(v.norm(), 5.0);
    EXPECT_EQ(v.normalized(), MVector2d(0.6, 0.8));
    v.invalidate();
    EXPECT_EQ(v.y(), 4.0);
    EXPECT_EQ(v.norm(), MInvalid);
    EXPECT_TRUE(MVector2d(std::nan(""), 1).isNaN());
    MVector2d null(0, 0);
    null.normalize();
    EXPECT_EQ(null.x(), MInvalid);
    EXPECT_EQ(null.y(), 0.0);
    EXPECT_DOUBLE_EQ(MVector2d(1, 0).angle(MVector2d(-1, 1)), 3 * MAngle::Pi / 4);
    EXPECT_EQ(MVector2d(1, 0).angle(MVector2d::Invalid), MInvalid);
    EXPECT_EQ(MVector2d::maximum(MVector2d(1, 5), MVector2d(2, 2)), MVector2d(2, 5));
    EXPECT_EQ(MVector2d::minimum(MVector2d(1, 5), MVector2d::Invalid), MVector2d(1, 5));
    EXPECT_EQ(MVector2d(1, -2).schurProduct(MVector2d(3, 4)), MVector2d(3, -8));
    EXPECT_EQ(MVector2d(1, -2).abs(), MVector2d(1, 2));
    EXPECT_EQ(MVector2d(1, 1).distance(MVector2d(4, 5)), 5.0);
}
