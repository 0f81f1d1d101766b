#include "MVector3d.h"
#include "MVector3f.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace ZOLAR3D;

TEST(MVector3f, ScalingIsDoneInDoubleThenNarrowed)
{
    static_assert(sizeof(MVector3f[4]) == 12 * sizeof(float));
    // In float arithmetic 244 * float(0.3) would round to 73.20000457763672.
    EXPECT_EQ((MVector3f(244, 0, 0) * 0.3).x(), float(244 * 0.3));
    EXPECT_EQ((MVector3f(244, 0, 0) * 0.3).x(), 73.19999694824219f);
    EXPECT_EQ((MVector3f(1, 0, 0) / 3.0).x(), float(1.0 / 3.0));
    MVector3f v(244, 0, 0);
    v *= 0.3;
    EXPECT_EQ(v.x(), 73.19999694824219f);
}

TEST(MVector3f, SumsAreFormedInSinglePrecision)
{
    const MVector3f v(6927.28564453125f, 11308.2861328125f, 8876.5712890625f);
    // The double sum of these squares would be 254658139.51...
    EXPECT_EQ(v.squaredNorm(), 254658144.0);
    EXPECT_EQ(v.dot(v), 254658144.0);
    EXPECT_EQ(v.norm(), double(std::sqrt(254658144.0f)));
    EXPECT_EQ(MVector3f(3, 4, 12).norm(), 13.0);
}

TEST(MVector3f, EqualsTakesTheDifferenceInSinglePrecision)
{
    const MVector3f a(1, 2, 3);
    const MVector3f b(1, 2, std::nextafter(3.0f, 4.0f));
    const double gap = double(b.z()) - 3.0;
    EXPECT_TRUE(a.equals(b, gap));
    EXPECT_FALSE(a.equals(b, gap / 2));
    EXPECT_FALSE(MVector3f(std::nanf(""), 0, 0).equals(MVector3f(0, 0, 0), 1e30));
}

TEST(MVector3f, NormalisationAndAngleFollowTheDoubleRules)
{
    EXPECT_FALSE(MVector3f().isValid());
    EXPECT_EQ(MVector3f::Invalid, MVector3f::Infinity);
    EXPECT_EQ(MVector3f::Invalid.x(), MInvalidF);
    MVector3f null(0, 0, 0);
    EXPECT_EQ(null.normalized(), MVector3f::Infinity);
    null.normalize();
    EXPECT_EQ(null.x(), MInvalidF);
    EXPECT_EQ(null.z(), 0.0f);
    EXPECT_EQ(MVector3f(0, 3, 4).normalized(), MVector3f(0, 0.6f, 0.8f));
    EXPECT_DOUBLE_EQ(MVector3f(1, 0, 0).angle(MVector3f(0, 0, 2)), 1.5707963267948966);
    EXPECT_EQ(MVector3f(1, 0, 0).angle(MVector3f::Invalid), MInvalid);
    EXPECT_EQ(MVector3f(1, 2, 3).cross(MVector3f(4, -5, 6)), MVector3f(27, 6, -13));
    EXPECT_EQ(MVector3f::PerpendicularTo(MVector3f(1, 2, 3)), MVector3f(-7, 5, -1));
    EXPECT_EQ(MVector3f::maximum(MVector3f::Invalid, MVector3f(1, 2, 3)), MVector3f(1, 2, 3));
    EXPECT_EQ(MVector3f::minimum(MVector3f(1, 5, 3), MVector3f(2, 2, 2)), MVector3f(1, 2, 2));
}

TEST(MVector3f, DistanceToADoublePointIsTakenInDouble)
{
    const MVector3f f(0.1f, 0, 0);
    const MVector3d d(0.1, 0, 0);
    EXPECT_EQ(f.distance(d), std::fabs(double(0.1f) - 0.1));
    EXPECT_EQ(f.squaredDistance(d), (double(0.1f) - 0.1) * (double(0.1f) - 0.1));
    EXPECT_EQ(MVector3f::Invalid.distance(d), MInvalid);
    EXPECT_EQ(MVector3f::Invalid.squaredDistance(MVector3d::Zero), MInvalid);
    EXPECT_EQ(MVector3f(1, 1, 1).distance(MVector3f(1, 4, 5)), 5.0);
}

TEST(MVector3f, ConversionsToAndFromDouble)
{
    const MVector3d d(0.1, -2.5, 1e10);
    const MVector3f f = d.toVector3f();
    EXPECT_EQ(f, MVector3f(0.1f, -2.5f, 1e10f));
    const MVector3f g = d;
    EXPECT_EQ(g, f);
    MVector3f h;
    h = d;
    EXPECT_EQ(h, f);
    const MVector3d back = f;
    EXPECT_EQ(back, MVector3d(double(0.1f), -2.5, double(1e10f)));
}
