#include "MAngle.h"
#include "MVector3d.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

using namespace ZOLAR3D;

TEST(MVector3d, ArraysReadAsPlainDoubles)
{
    std::vector<MVector3d> points{{1, 2, 3}, {4, 5, 6}};
    const double *raw = points[0].data();
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(raw[i], i + 1.0);
    MVector3d v(7, 8, 9);
    v[1] = -1;
    EXPECT_EQ(v, MVector3d(7, -1, 9));
    v = 2.5;
    EXPECT_EQ(v, MVector3d(2.5, 2.5, 2.5));
}

TEST(MVector3d, DefaultIsInvalidAndInvalidateWritesTheMarkerIntoXOnly)
{
    EXPECT_EQ(MVector3d(), MVector3d(MInvalid, MInvalid, MInvalid));
    EXPECT_EQ(MVector3d::Invalid, MVector3d::Infinity);
    EXPECT_EQ(MVector3d::Invalid, MVector3d());
    EXPECT_TRUE(MVector3d(0, 0, 0).isValid());
    MVector3d v(1, 2, 3);
    v.invalidate();
    EXPECT_EQ(v.x(), MInvalid);
    EXPECT_EQ(v.y(), 2.0);
    EXPECT_EQ(v.z(), 3.0);
    EXPECT_FALSE(v.isValid());
    EXPECT_EQ(v.norm(), MInvalid);
    EXPECT_EQ(v.squaredNorm(), MInvalid);
}

TEST(MVector3d, NaNMakesAVectorInvalidAndUnequal)
{
    const MVector3d v(std::nan(""), 0, 0);
    EXPECT_FALSE(v.isValid());
    EXPECT_TRUE(v.isNaN());
    EXPECT_FALSE(MVector3d(0, 0, 1).isNaN());
    EXPECT_EQ(v.norm(), MInvalid);
    EXPECT_NE(v, v);
    EXPECT_FALSE(v.equals(v, 1.0));
    EXPECT_FALSE(MVector3d(0, 0, MInvalid).isValid());
}

TEST(MVector3d, ArithmeticIsComponentwiseAndIgnoresTheMarker)
{
    const MVector3d a(1, 2, 3), b(4, -5, 6);
    EXPECT_EQ(a + b, MVector3d(5, -3, 9));
    EXPECT_EQ(a - b, MVector3d(-3, 7, -3));
    EXPECT_EQ(-a, MVector3d(-1, -2, -3));
    EXPECT_EQ(a * 2.0, MVector3d(2, 4, 6));
    EXPECT_EQ(b / 2.0, MVector3d(2, -2.5, 3));
    MVector3d c = a;
    c += b;
    c -= a;
    c *= 3;
    c /= 3;
    EXPECT_EQ(c, b);
    EXPECT_EQ(a.dot(b), 4 - 10 + 18);
    EXPECT_EQ(MVector3d::XUnit.cross(MVector3d::YUnit), MVector3d::ZUnit);
    EXPECT_EQ(a.cross(b), MVector3d(27, 6, -13));
    EXPECT_EQ(a.schurProduct(b), MVector3d(4, -10, 18));
    EXPECT_EQ(b.abs(), MVector3d(4, 5, 6));
    EXPECT_EQ(a.inverse(), -a);
    c = a;
    c.invert();
    EXPECT_EQ(c, -a);
    // The marker does not survive arithmetic: halving an invalid vector makes a valid one.
    EXPECT_TRUE((MVector3d::Invalid * 0.5).isValid());
    EXPECT_TRUE(a.equals(a + MVector3d(0.25, -0.25, 0), 0.25));
    EXPECT_FALSE(a.equals(a + MVector3d(0, 0, 0.5), 0.25));
}

TEST(MVector3d, NormsAndDistances)
{
    const MVector3d v(2, 3, 6);
    EXPECT_EQ(v.norm(), 7.0);
    EXPECT_EQ(v.length(), 7.0);
    EXPECT_EQ(v.squaredNorm(), 49.0);
    EXPECT_EQ(v.distance(MVector3d(2, 3, 0)), 6.0);
    EXPECT_EQ(v.squaredDistance(MVector3d(0, 0, 0)), 49.0);
    // The operands themselves are not tested, only their difference.
    EXPECT_EQ(MVector3d::Invalid.distance(MVector3d::Invalid), 0.0);
    EXPECT_EQ(MVector3d::Invalid.distance(MVector3d::Zero), MInvalid);
}

TEST(MVector3d, NormalisingANullVectorMakesItInvalidNotNull)
{
    const MVector3d null(0, 0, 0);
    EXPECT_EQ(null.normalized(), MVector3d::Infinity);
    MVector3d v = null;
    v.normalize();
    EXPECT_EQ(v.x(), MInvalid);
    EXPECT_EQ(v.y(), 0.0);
    EXPECT_EQ(v.z(), 0.0);
    EXPECT_EQ(MVector3d(1e-13, 0, 0).normalized(), MVector3d::Infinity);
    EXPECT_EQ(MVector3d::Invalid.normalized(), MVector3d::Infinity);

    MVector3d w(0, 3, 4);
    w.normalize();
    EXPECT_EQ(w, MVector3d(0, 0.6, 0.8));
    EXPECT_EQ(MVector3d(0, 3, 4).normalized(), w);
}

TEST(MVector3d, AngleIsUnsignedAndClamped)
{
    EXPECT_DOUBLE_EQ(MVector3d::XUnit.angle(MVector3d(0, 5, 0)), MAngle::PiHalf);
    EXPECT_DOUBLE_EQ(MVector3d(0, -5, 0).angle(MVector3d::XUnit), MAngle::PiHalf);
    EXPECT_EQ(MVector3d(1, 0, 0).angle(MVector3d(-2, 0, 0)), MAngle::Pi);
    EXPECT_DOUBLE_EQ(MVector3d(1, 0, 0).angle(MVector3d(1, 1, 0)), MAngle::Pi / 4);
    // With the flag the dot product is taken as it stands.
    EXPECT_DOUBLE_EQ(MVector3d(0.5, 0, 0).angle(MVector3d(1, 0, 0), true), MAngle::Pi / 3);
    EXPECT_EQ(MVector3d::Invalid.angle(MVector3d::XUnit), MInvalid);
    EXPECT_EQ(MVector3d::XUnit.angle(MVector3d(std::nan(""), 0, 0)), MInvalid);

    // The unit copy of this vector has a dot product with itself of 1 + 2^-52.
    const MVector3d v(-4.899, -0.091, -1.01);
    const MVector3d u = v.normalized();
    ASSERT_GT(u.dot(u), 1.0);
    EXPECT_EQ(v.angle(v), 0.0);
}

TEST(MVector3d, MaximumAndMinimumSkipInvalidOperands)
{
    const MVector3d a(1, 5, -2), b(3, 0, -4);
    EXPECT_EQ(MVector3d::maximum(a, b), MVector3d(3, 5, -2));
    EXPECT_EQ(MVector3d::minimum(a, b), MVector3d(1, 0, -4));
    EXPECT_EQ(MVector3d::maximum(a, MVector3d::Invalid), a);
    EXPECT_EQ(MVector3d::minimum(MVector3d::Invalid, b), b);
    MVector3d firstInvalid(1, 2, 3), secondInvalid(4, 5, 6);
    firstInvalid.invalidate();
    secondInvalid.invalidate();
    const MVector3d both = MVector3d::maximum(firstInvalid, secondInvalid);
    EXPECT_EQ(both.y(), 5.0);

    // A bounding box accumulated from an invalid start.
    MVector3d low, high;
    for (const MVector3d &p : {MVector3d(1, 1, 1), MVector3d::Invalid, MVector3d(-1, 2, 0)}) {
        low = MVector3d::minimum(low, p);
        high = MVector3d::maximum(high, p);
    }
    EXPECT_EQ(low, MVector3d(-1, 1, 0));
    EXPECT_EQ(high, MVector3d(1, 2, 1));
}

TEST(MVector3d, PerpendicularToVanishesOnTheDiagonal)
{
    std::mt19937 random(7);
    std::uniform_real_distribution<double> coordinate(-10, 10);
    for (int i = 0; i < 100; ++i) {
        const MVector3d v(coordinate(random), coordinate(random), coordinate(random));
        const MVector3d p = MVector3d::PerpendicularTo(v);
        EXPECT_NEAR(p.dot(v), 0.0, 1e-12 * v.squaredNorm() * v.norm());
    }
    EXPECT_EQ(MVector3d::PerpendicularTo(MVector3d(1, 2, 3)), MVector3d(2 - 9, 6 - 1, 3 - 4));
    EXPECT_EQ(MVector3d::PerpendicularTo(MVector3d(2, 2, 2)), MVector3d::Zero);
}
