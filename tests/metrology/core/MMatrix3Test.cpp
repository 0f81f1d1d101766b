#include "MAngle.h"
#include "MMatrix3.h"
#include "GeometryTestSupport.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace ZOLAR3D;

namespace {

test::RandomGeometry draw(20240611);

// Directions of any length from 0.5 to 20.
MVector3d randomDirection() { return draw.unitVector() * draw.uniform(0.5, 20); }

bool isRotation(const MMatrix3 &r) { return (r * r.transposed()).equals(MMatrix3::Identity, 1e-12) && std::fabs(r.determinant() - 1) < 1e-12; }

} // namespace

TEST(MMatrix3, RowMajorWithIdentityDefault)
{
    EXPECT_EQ(MMatrix3(), MMatrix3::Identity);
    EXPECT_EQ(MMatrix3::Identity, MMatrix3(1, 0, 0, 0, 1, 0, 0, 0, 1));
    EXPECT_EQ(MMatrix3::Zero, MMatrix3() * 0.0);
    MMatrix3 m(1, 2, 3, 4, 5, 6, 7, 8, 9);
    EXPECT_EQ(m(1, 0), 4.0);
    EXPECT_EQ(m(0, 2), 3.0);
    EXPECT_EQ(m.data()[5], 6.0);
    m(2, 1) = -8;
    EXPECT_EQ(m.data()[7], -8.0);
    EXPECT_EQ(m.transposed(), MMatrix3(1, 4, 7, 2, 5, -8, 3, 6, 9));
    EXPECT_DOUBLE_EQ(MMatrix3(1, 2, 3, 4, 5, 6, 7, 8, 9).norm(), std::sqrt(285.0));
    EXPECT_EQ(MMatrix3(1, 2, 3, 4, 5, 6, 7, 8, 9) * MMatrix3::Identity, MMatrix3(1, 2, 3, 4, 5, 6, 7, 8, 9));
    EXPECT_EQ(MMatrix3(1, 2, 0, 0, 1, 0, 0, 0, 1) * MMatrix3(1, 0, 0, 3, 1, 0, 0, 0, 2), MMatrix3(7, 2, 0, 3, 1, 0, 0, 0, 2));
    EXPECT_EQ(MMatrix3::Scaling(2) / 2.0, MMatrix3::Identity);
    EXPECT_NE(MMatrix3::Scaling(1, 2, 3), MMatrix3::Identity);
    EXPECT_TRUE(MMatrix3::Identity.equals(MMatrix3::Scaling(1.5, 1, 0.5), 0.5));
    EXPECT_FALSE(MMatrix3::Identity.equals(MMatrix3::Scaling(1.5, 1, 0.4), 0.5));
}

TEST(MMatrix3, BadIndexFollowsThePolicy)
{
    MMatrix3 m;
    const MMatrix3 &constant = m;
    {
        test::ScopedExceptions on;
        EXPECT_MEXCEPTION(m(3, 0), "MMatrix3::operator(row,col): invalid index");
        EXPECT_MEXCEPTION(m(0, -1), "MMatrix3::operator(row,col): invalid index");
        EXPECT_MEXCEPTION(constant(-1, 2), "MMatrix3::operator(row,col): invalid index");
    }
    double &dummy = m(-1, 0);
    EXPECT_EQ(dummy, MInvalid);
    dummy = 5;
    EXPECT_EQ(m(0, 3), MInvalid) << "the scratch element is refilled on every bad access";
    EXPECT_EQ(constant(3, 3), MInvalid);
    EXPECT_EQ(m, MMatrix3::Identity);
}

TEST(MMatrix3, AxisRotationsTurnCounterclockwise)
{
    const double quarter = MAngle::PiHalf;
    EXPECT_TRUE((MMatrix3::XRotation(quarter) * MVector3d(0, 1, 0)).equals(MVector3d(0, 0, 1), 1e-15));
    EXPECT_TRUE((MMatrix3::YRotation(quarter) * MVector3d(0, 0, 1)).equals(MVector3d(1, 0, 0), 1e-15));
    EXPECT_TRUE((MMatrix3::ZRotation(quarter) * MVector3d(1, 0, 0)).equals(MVector3d(0, 1, 0), 1e-15));
    EXPECT_TRUE(MMatrix3::XRotation(0.3).equals(MMatrix3::AxisAngleRotation(MVector3d::XUnit, 0.3), 1e-15));
    EXPECT_TRUE(MMatrix3::YRotation(-1.1).equals(MMatrix3::AxisAngleRotation(MVector3d(0, 7, 0), -1.1), 1e-15));
    EXPECT_TRUE(MMatrix3::ZRotation(2.5).equals(MMatrix3::AxisAngleRotation(MVector3d::ZUnit, 2.5), 1e-15));
    // A third of a turn about the diagonal cycles the axes.
    const MMatrix3 cycle = MMatrix3::AxisAngleRotation(MVector3d(1, 1, 1), MAngle::TwoPi / 3);
    EXPECT_TRUE((cycle * MVector3d::XUnit).equals(MVector3d::YUnit, 1e-15));
    EXPECT_TRUE((cycle * MVector3d::YUnit).equals(MVector3d::ZUnit, 1e-15));
}

TEST(MMatrix3, RotationBuildersRefuseVectorsWithoutDirection)
{
    const MVector3d null(0, 0, 0);
    EXPECT_EQ(MMatrix3::AxisAngleRotation(MVector3d::Invalid, 1), MMatrix3::Zero);
    EXPECT_EQ(MMatrix3::AxisAngleRotation(null, 1), MMatrix3::Zero);
    EXPECT_EQ(MMatrix3::VectorIntoVectorRotation(MVector3d::XUnit, MVector3d::Invalid), MMatrix3::Zero);
    EXPECT_EQ(MMatrix3::VectorIntoVectorRotation(null, MVector3d::XUnit, true), MMatrix3::Zero);
    EXPECT_EQ(MMatrix3::VectorIntoZRotation(MVector3d(std::nan(""), 0, 1)), MMatrix3::Zero);
    test::ScopedExceptions on;
    EXPECT_MEXCEPTION(MMatrix3::AxisAngleRotation(MVector3d::Invalid, 1), "MMatrix3::AxisAngleRotation: invalid argument");
    EXPECT_MEXCEPTION(MMatrix3::VectorIntoVectorRotation(MVector3d::Invalid, MVector3d::XUnit),
                      "MMatrix3::VectorIntoVectorRotation: invalid argument");
    EXPECT_MEXCEPTION(MMatrix3::VectorIntoZRotation(null), "MMatrix3::VectorIntoZRotation: invalid argument");
}

TEST(MMatrix3, VectorIntoVectorRotationTakesOneDirectionIntoTheOther)
{
    for (int i = 0; i < 200; ++i) {
        const MVector3d a = randomDirection(), b = randomDirection();
        const MMatrix3 r = MMatrix3::VectorIntoVectorRotation(a, b);
        EXPECT_TRUE(isRotation(r));
        EXPECT_TRUE((r * a.normalized()).equals(b.normalized(), 1e-12));
        // The axis a x b is kept fixed: the smallest turn.
        const MVector3d axis = a.cross(b).normalized();
        EXPECT_TRUE((r * axis).equals(axis, 1e-12));
    }
    EXPECT_EQ(MMatrix3::VectorIntoVectorRotation(MVector3d(2, 0, 0), MVector3d(5, 0, 0)), MMatrix3::Identity);
}

TEST(MMatrix3, OppositeDirectionsTurnByPiAboutAPerpendicular)
{
    const MMatrix3 r = MMatrix3::VectorIntoVectorRotation(MVector3d::XUnit, -MVector3d::XUnit, true);
    EXPECT_TRUE(isRotation(r));
    EXPECT_TRUE((r * MVector3d::XUnit).equals(-MVector3d::XUnit, 1e-15));
    // For (1, -1, 0) the first perpendicular choice vanishes and the second is taken.
    const MVector3d u = MVector3d(1, -1, 0).normalized();
    const MMatrix3 s = MMatrix3::VectorIntoVectorRotation(u, -u, true);
    EXPECT_TRUE(isRotation(s));
    EXPECT_TRUE((s * u).equals(-u, 1e-15));
    const MVector3d secondChoice = u.cross(MVector3d(-u.y() - u.z(), u.x(), u.x())).normalized();
    EXPECT_TRUE((s * secondChoice).equals(secondChoice, 1e-15));
}

TEST(MMatrix3, VectorIntoZRotation)
{
    for (int i = 0; i < 200; ++i) {
        const MVector3d v = randomDirection();
        const MMatrix3 r = MMatrix3::VectorIntoZRotation(v);
        EXPECT_TRUE(isRotation(r));
        EXPECT_TRUE((r * v.normalized()).equals(MVector3d::ZUnit, 1e-12));
    }
    EXPECT_EQ(MMatrix3::VectorIntoZRotation(MVector3d(0, 0, -1), true), MMatrix3(1, 0, 0, 0, -1, 0, 0, 0, -1));
    EXPECT_EQ(MMatrix3::VectorIntoZRotation(MVector3d(0, 0, -3)), MMatrix3(1, 0, 0, 0, -1, 0, 0, 0, -1));
    EXPECT_EQ(MMatrix3::VectorIntoZRotation(MVector3d(0, 0, 2)), MMatrix3::Identity);
}

TEST(MMatrix3, EulerAnglesRoundTripAndSecondSolution)
{
    const MMatrix3 r = MMatrix3::FromEuler(0.3, -0.4, 1.2);
    const MMatrix3 product = MMatrix3::ZRotation(1.2) * MMatrix3::YRotation(-0.4) * MMatrix3::XRotation(0.3);
    EXPECT_TRUE(r.equals(product, 1e-15));
    for (int i = 0; i < 200; ++i) {
        const MVector3d angles(draw.uniform(-3.1, 3.1), draw.uniform(-1.5, 1.5), draw.uniform(-3.1, 3.1));
        const MMatrix3 m = MMatrix3::FromEuler(angles.x(), angles.y(), angles.z());
        MVector3d second;
        EXPECT_TRUE(m.eulerAngles(&second).equals(angles, 1e-9));
        EXPECT_TRUE(MMatrix3::FromEuler(second.x(), second.y(), second.z()).equals(m, 1e-12));
        EXPECT_NEAR(second.y(), MAngle::Pi - angles.y(), 1e-9);
    }
    EXPECT_TRUE(MMatrix3::FromEuler(0.3, -0.4, 1.2).eulerAngles().equals(MVector3d(0.3, -0.4, 1.2), 1e-14));
}

TEST(MMatrix3, EulerAnglesAtGimbalLockAreInvalid)
{
    const MMatrix3 locked(0, 0, -1, 0, 1, 0, 1, 0, 0);
    MVector3d second(1, 2, 3);
    EXPECT_FALSE(locked.eulerAngles(&second).isValid());
    EXPECT_EQ(second.x(), MInvalid);
    EXPECT_EQ(second.y(), 2.0);
    EXPECT_EQ(second.z(), 3.0);
    EXPECT_FALSE(MMatrix3(0, 0, 1, 0, 1, 0, -1, 0, 0).eulerAngles().isValid());
    EXPECT_FALSE(MMatrix3(0, 0, 1, 0, 1, 0, -1 - 2e-16, 0, 0).eulerAngles().isValid());
    EXPECT_TRUE(MMatrix3(0, 0, 1, 0, 1, 0, std::nextafter(-1.0, 0.0), 0, 0).eulerAngles().isValid());
}

TEST(MMatrix3, QuaternionAgreesWithAxisAngle)
{
    for (int i = 0; i < 100; ++i) {
        const MVector3d axis = randomDirection().normalized();
        const double angle = draw.uniform(-3, 3);
        const double scale = draw.uniform(0.1, 10); // the quaternion need not be unit
        const double w = std::cos(angle / 2) * scale;
        const MVector3d q = axis * (std::sin(angle / 2) * scale);
        EXPECT_TRUE(MMatrix3::FromQuaternion(w, q.x(), q.y(), q.z()).equals(MMatrix3::AxisAngleRotation(axis, angle), 1e-12));
    }
    EXPECT_EQ(MMatrix3::FromQuaternion(1, 0, 0, 0), MMatrix3::Identity);
    EXPECT_TRUE(MMatrix3::FromQuaternion(0, 0, 0, 1).equals(MMatrix3::ZRotation(MAngle::Pi), 1e-15));
}

TEST(MMatrix3, InverseByCofactors)
{
    for (int i = 0; i < 100; ++i) {
        MMatrix3 m;
        for (int k = 0; k < 9; ++k)
            m.data()[k] = draw.uniform(-1, 1) + (k % 4 == 0 ? 3.0 : 0.0);
        EXPECT_TRUE((m.inverse() * m).equals(MMatrix3::Identity, 1e-13));
        EXPECT_TRUE((m * m.inverse()).equals(MMatrix3::Identity, 1e-13));
        MMatrix3 inverted = m;
        inverted.invert();
        EXPECT_EQ(inverted, m.inverse());
    }
    EXPECT_EQ(MMatrix3(2, 0, 0, 0, 4, 0, 0, 0, 8).inverse(), MMatrix3(0.5, 0, 0, 0, 0.25, 0, 0, 0, 0.125));
    EXPECT_EQ(MMatrix3(1, 2, 3, 4, 5, 6, 7, 8, 10).determinant(), -3.0);
    EXPECT_EQ(MMatrix3::Zero.inverse(), MMatrix3::Zero);
    EXPECT_EQ(MMatrix3(1, 2, 3, 2, 4, 6, 0, 1, 1).inverse(), MMatrix3::Zero);
    // Nearly singular is still invertible: there is no tolerance.
    EXPECT_NE(MMatrix3(1, 0, 0, 0, 1e-300, 0, 0, 0, 1).inverse(), MMatrix3::Zero);
}

TEST(MMatrix3, Vector2dProductDividesOnlyTheTranslationByW)
{
    const MMatrix3 m(1, 0, 4, 0, 1, 6, 0, 0, 2);
    EXPECT_EQ(m * MVector2d(1, 1), MVector2d(1 + 2, 1 + 3));
    EXPECT_EQ(MMatrix3(2, 0, 4, 0, 3, 6, 0, 0, 1) * MVector2d(1, 1), MVector2d(6, 9));
    EXPECT_EQ(m * MVector2d::Invalid, MVector2d::Infinity);
    MVector2d p(1, 1);
    p.applyTransformation(m);
    EXPECT_EQ(p, MVector2d(3, 4));
    MVector2d hole(MInvalid, 7);
    m.transform(hole);
    EXPECT_EQ(hole.y(), 7.0);
}

TEST(MMatrix3, Vector3ProductsAndTransform)
{
    const MMatrix3 m(1, 2, 3, 4, 5, 6, 7, 8, 9);
    EXPECT_EQ(m * MVector3d(1, 0, -1), MVector3d(-2, -2, -2));
    EXPECT_EQ(m * MVector3d(MInvalid, 0, 0), MVector3d::Infinity);
    EXPECT_EQ(m * MVector3f(1, 0, -1), MVector3f(-2, -2, -2));
    EXPECT_EQ(m * MVector3f::Invalid, MVector3f::Infinity);
    // Computed in double: in float, 244 * 0.3f would round to 73.20000457763672.
    EXPECT_EQ((MMatrix3::Scaling(0.3) * MVector3f(244, 0, 0)).x(), 73.19999694824219f);
    MVector3d v(1, 0, -1);
    m.transform(v);
    EXPECT_EQ(v, MVector3d(-2, -2, -2));
    MVector3f f(MInvalidF, 1, 1);
    m.transform(f);
    EXPECT_EQ(f.y(), 1.0f);
}
