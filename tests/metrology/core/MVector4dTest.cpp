#include "MVector4d.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

using namespace ZOLAR3D;

TEST(MVector4d, DefaultIsInvalidAndVector3dConversionsUseWOfOne)
{
    const MVector4d v;
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(v[i], MInvalid);
    EXPECT_EQ(MVector4d(MVector3d(1, 2, 3)), MVector4d(1, 2, 3, 1));
    // Back to three dimensions w divides unless it is zero or the marker.
    EXPECT_EQ(MVector4d(2, 4, 6, 2).toVector3d(), MVector3d(1, 2, 3));
    const MVector3d converted = MVector4d(2, 4, 6, -2);
    EXPECT_EQ(converted, MVector3d(-1, -2, -3));
    EXPECT_EQ(MVector4d(1, 2, 3, 0).toVector3d(), MVector3d::Infinity);
    EXPECT_EQ(MVector4d(1, 2, 3, MInvalid).toVector3d(), MVector3d::Infinity);
}

TEST(MVector4d, CheckedIndexThrowsWhateverThePolicy)
{
    MVector4d v(1, 2, 3, 4);
    v(3) = 5;
    EXPECT_EQ(v.w(), 5.0);
    const MVector4d &constant = v;
    EXPECT_EQ(constant(0), 1.0);
    {
        test::ScopedExceptions off(false);
        EXPECT_MEXCEPTION(v(4), "MVector4d::operator(): index parameter out of range!");
        EXPECT_MEXCEPTION(constant(-1), "MVector4d::operator(): index parameter out of range!");
    }
    test::ScopedExceptions on;
    EXPECT_MEXCEPTION(v(-1), "MVector4d::operator(): index parameter out of range!");
}

TEST(MVector4d, ArithmeticAndNorms)
{
    const MVector4d a(1, 2, 3, 4), b(4, 3, 2, 1);
    EXPECT_EQ(a + b, MVector4d(5, 5, 5, 5));
    EXPECT_EQ(a - b, MVector4d(-3, -1, 1, 3));
    EXPECT_EQ(a.dot(b), 20.0);
    EXPECT_EQ(a.schurProduct(b), MVector4d(4, 6, 6, 4));
    EXPECT_EQ(MVector4d(1, 1, 1, 1).norm(), 2.0);
    EXPECT_EQ(MVector4d(1, 1, 1, 1).normalized(), MVector4d(0.5, 0.5, 0.5, 0.5));
    EXPECT_FALSE(MVector4d::Zero.normalized().isValid());
    MVector4d v(1, 2, 3, 4);
    v.invalidate();
    EXPECT_EQ(v.norm(), MInvalid);
    EXPECT_EQ(v.w(), 4.0);
    EXPECT_EQ(MVector4d::maximum(v, a), a);
    EXPECT_EQ(MVector4d::minimum(a, b), MVector4d(1, 2, 2, 1));
    EXPECT_DOUBLE_EQ(MVector4d(1, 0, 0, 0).angle(MVector4d(0, 0, 0, 3)), 1.5707963267948966);
}
