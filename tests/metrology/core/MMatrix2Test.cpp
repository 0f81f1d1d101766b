#include "MAngle.h"
#include "MMatrix2.h"
#include "MMatrix3.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace ZOLAR3D;

// The arithmetic keeps rows at storage indices 0 and 3, element access and
// comparison use row * 2 + col; the two are kept apart on purpose.
TEST(MMatrix2, TwoIndexSchemesAreNotReconciled)
{
    MMatrix2 m(1, 2, 3, 4);
    const double *d = m.data();
    EXPECT_EQ(d[0], 1.0);
    EXPECT_EQ(d[1], 2.0);
    EXPECT_EQ(d[2], 0.0);
    EXPECT_EQ(d[3], 3.0);
    EXPECT_EQ(d[4], 4.0);
    // Element access sees index 2 as (1, 0) and index 3 as (1, 1).
    EXPECT_EQ(m(1, 0), 0.0);
    EXPECT_EQ(m(1, 1), 3.0);
    EXPECT_EQ(MMatrix2::Identity(1, 1), 0.0);
    // The products see the rows (1, 2) and (3, 4).
    EXPECT_EQ(m * MVector2d(1, 1), MVector2d(3, 7));
    EXPECT_EQ(m.determinant(), 4 - 6.0);
    // Comparison and norm ignore index 4.
    EXPECT_EQ(MMatrix2(1, 2, 3, 4), MMatrix2(1, 2, 3, 5));
    EXPECT_TRUE(MMatrix2(1, 2, 3, 4).equals(MMatrix2(1, 2, 3, 50), 0));
    EXPECT_EQ(m.norm(), std::sqrt(1 + 4 + 0 + 9.0));
    // Transposition swaps indices 1 and 2.
    const MMatrix2 t = m.transposed();
    EXPECT_EQ(t.data()[1], 0.0);
    EXPECT_EQ(t.data()[2], 2.0);
    EXPECT_EQ(t.data()[4], 4.0);
    EXPECT_EQ(t * MVector2d(1, 1), MVector2d(1, 7));
    // Writing through element access (1, 1) changes the lower left of the arithmetic.
    m(1, 1) = 10;
    EXPECT_EQ(m * MVector2d(0, 1), MVector2d(2, 4));
    EXPECT_EQ(m * MVector2d(1, 0), MVector2d(1, 10));
}

TEST(MMatrix2, ArithmeticOnTheRowsAtZeroAndThree)
{
    const MMatrix2 a(1, 2, 3, 4), b(0, 1, 1, 0);
    EXPECT_EQ((a * b).data()[0], 2.0);
    EXPECT_EQ((a * b).data()[4], 3.0);
    EXPECT_EQ(a * MMatrix2::Identity * MVector2d(5, -1), a * MVector2d(5, -1));
    EXPECT_EQ((a * 2.0).data()[4], 8.0);
    EXPECT_EQ((a / 2.0).data()[3], 1.5);
    MMatrix2 scaled = a;
    scaled *= 3;
    scaled /= 3;
    EXPECT_EQ(scaled * MVector2d(1, 1), a * MVector2d(1, 1));
    const MMatrix2 inverse = a.inverse();
    EXPECT_TRUE((inverse * a * MVector2d(2, -3)).equals(MVector2d(2, -3), 1e-14));
    EXPECT_EQ(MMatrix2(1, 2, 2, 4).inverse().data()[0], 0.0);
    EXPECT_EQ(MMatrix2::Zero.inverse().data()[4], 0.0);
    MMatrix2 inverted = a;
    inverted.invert();
    EXPECT_EQ(inverted * MVector2d(1, 0), inverse * MVector2d(1, 0));
}

TEST(MMatrix2, VectorTransformAndBuilders)
{
    EXPECT_EQ(MMatrix2::Scaling(2, 3, 99) * MVector2d(1, 1), MVector2d(2, 3));
    const double a = 0.4, b = -0.7;
    const MMatrix3 euler = MMatrix3::FromEuler(a, b, 0);
    const MVector2d p(1.5, -2);
    const MVector2d expected(euler(0, 0) * p.x() + euler(0, 1) * p.y(), euler(1, 0) * p.x() + euler(1, 1) * p.y());
    EXPECT_TRUE((MMatrix2::FromEuler(a, b) * p).equals(expected, 1e-15));
    EXPECT_EQ(MMatrix2::Identity * MVector2d::Invalid, MVector2d::Infinity);
    MVector2d hole(MInvalid, 3);
    MMatrix2::Scaling(2, 2, 2).transform(hole);
    EXPECT_EQ(hole.y(), 3.0);
    MVector2d v(1, 2);
    v.applyTransformation(MMatrix2(0, -1, 1, 0));
    EXPECT_EQ(v, MVector2d(-2, 1));
}

TEST(MMatrix2, BadIndexFollowsThePolicy)
{
    MMatrix2 m;
    EXPECT_EQ(m(2, 0), MInvalid);
    EXPECT_EQ(static_cast<const MMatrix2 &>(m)(0, -1), MInvalid);
    test::ScopedExceptions on;
    EXPECT_MEXCEPTION(m(0, 2), "MMatrix2::operator(row,col): invalid index");
    EXPECT_MEXCEPTION(static_cast<const MMatrix2 &>(m)(-1, 0), "MMatrix2::operator(row,col): invalid index");
}
