#include "MAngle.h"
#include "MMatrix4.h"
#include "GeometryTestSupport.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace ZOLAR3D;

namespace {

test::RandomGeometry draw(4711);

MMatrix4 randomRigid()
{
    MMatrix4 m = MMatrix4::AxisAngleRotation(draw.unitVector(), draw.uniform(-3, 3));
    m.setTranslation(draw.point(500));
    return m;
}

} // namespace

TEST(MMatrix4, RowMajorWithTranslationInColumnThree)
{
    EXPECT_EQ(MMatrix4(), MMatrix4::Identity);
    EXPECT_EQ(MMatrix4::Zero, MMatrix4::Identity * 0.0);
    const MMatrix4 t = MMatrix4::Translation(1, 2, 3);
    EXPECT_EQ(t(0, 3), 1.0);
    EXPECT_EQ(t(1, 3), 2.0);
    EXPECT_EQ(t.data()[11], 3.0);
    EXPECT_EQ(t.translation(), MVector3d(1, 2, 3));
    EXPECT_EQ(MMatrix4::Translation(MVector3d(1, 2, 3)), t);
    EXPECT_EQ(t * MVector3d(1, 1, 1), MVector3d(2, 3, 4));
    EXPECT_EQ(t.transposed().transposed(), t);
    EXPECT_EQ(t.transposed()(3, 2), 3.0);
    EXPECT_EQ(MMatrix4::Scaling(2, 3, 4)(3, 3), 1.0);
    EXPECT_EQ(MMatrix4::Scaling(2) * MVector3d(1, 2, 3), MVector3d(2, 4, 6));
    EXPECT_EQ(t + t - t, t);
    MMatrix4 sum = t;
    sum += MMatrix4::Identity;
    sum -= t;
    EXPECT_EQ(sum, MMatrix4::Identity);
    sum *= 4;
    sum /= 2;
    EXPECT_EQ(sum, MMatrix4::Identity * 2.0);
    EXPECT_DOUBLE_EQ(t.norm(), std::sqrt(4 + 14.0));
    EXPECT_TRUE(t.equals(MMatrix4::Translation(1, 2, 3.5), 0.5));
    EXPECT_FALSE(t.equals(MMatrix4::Translation(1, 2, 3.5), 0.25));
}

TEST(MMatrix4, BadIndexFollowsThePolicy)
{
    MMatrix4 m;
    const MMatrix4 &constant = m;
    EXPECT_EQ(m(4, 0), MInvalid);
    EXPECT_EQ(constant(0, -1), MInvalid);
    test::ScopedExceptions on;
    EXPECT_MEXCEPTION(m(0, 4), "MMatrix4::operator(row,col): invalid index");
    EXPECT_MEXCEPTION(constant(-2, 0), "MMatrix4::operator(row,col): invalid index");
}

TEST(MMatrix4, PointProductDividesByWUnlessItIsExactlyOne)
{
    MMatrix4 perspective = MMatrix4::Translation(2, 4, 6);
    perspective(3, 2) = 1;
    perspective(3, 3) = 0;
    EXPECT_EQ(perspective * MVector3d(0, 0, 2), MVector3d(1, 2, 4));
    EXPECT_EQ(perspective * MVector3f(0, 0, 2), MVector3f(1, 2, 4));
    EXPECT_EQ(perspective * MVector3d::Invalid, MVector3d::Infinity);
    EXPECT_EQ(perspective * MVector3f::Invalid, MVector3f::Infinity);
    // The homogeneous product tests nothing.
    EXPECT_EQ(perspective * MVector4d(0, 0, 2, 1), MVector4d(2, 4, 8, 2));
    EXPECT_EQ(MMatrix4::Identity * MVector4d(), MVector4d());
    // Computed in double: in float, 244 * 0.3f would round to 73.20000457763672.
    EXPECT_EQ((MMatrix4::Scaling(0.3) * MVector3f(244, 0, 0)).x(), 73.19999694824219f);
}

TEST(MMatrix4, TransformRotateAndTranslateLeaveInvalidVectorsUntouched)
{
    const MMatrix4 m = MMatrix4::Translation(1, 2, 3) * MMatrix4::Scaling(2, 2, 2);
    // translate adds the translation as it is, transform weighs it by w.
    const auto expectSteps = [&m](auto one, auto scaled, auto translated, auto transformed) {
        auto v = one;
        m.transform(v);
        EXPECT_EQ(v, transformed);
        v = one;
        v.applyTransformation(m);
        EXPECT_EQ(v, transformed);
        v = one;
        m.rotateAndScale(v);
        EXPECT_EQ(v, scaled);
        m.translate(v);
        EXPECT_EQ(v, translated);
    };
    expectSteps(MVector3d(1, 1, 1), MVector3d(2, 2, 2), MVector3d(3, 4, 5), MVector3d(3, 4, 5));
    expectSteps(MVector3f(1, 1, 1), MVector3f(2, 2, 2), MVector3f(3, 4, 5), MVector3f(3, 4, 5));
    expectSteps(MVector4d(1, 1, 1, 7), MVector4d(2, 2, 2, 7), MVector4d(3, 4, 5, 7), MVector4d(9, 16, 23, 7));
    expectSteps(MVector4d(1, 1, 1, 1), MVector4d(2, 2, 2, 1), MVector4d(3, 4, 5, 1), MVector4d(3, 4, 5, 1));

    const auto expectHoleKept = [&m](auto hole) {
        const auto kept = hole;
        m.transform(hole);
        m.rotateAndScale(hole);
        m.translate(hole);
        EXPECT_EQ(hole, kept);
    };
    expectHoleKept(MVector3d(MInvalid, 1, 1));
    expectHoleKept(MVector3f(1, MInvalidF, 1));
    expectHoleKept(MVector4d(1, 1, 1, MInvalid));
}

TEST(MMatrix4, InverseTimesMatrixIsIdentity)
{
    for (int i = 0; i < 100; ++i) {
        MMatrix4 m;
        for (int k = 0; k < 16; ++k)
            m.data()[k] = draw.uniform(-1, 1) + (k % 5 == 0 ? 4.0 : 0.0);
        EXPECT_TRUE((m.inverse() * m).equals(MMatrix4::Identity, 1e-13));
        EXPECT_TRUE((m * m.inverse()).equals(MMatrix4::Identity, 1e-13));
        const MMatrix4 n =
            MMatrix4::Scaling(draw.uniform(0.5, 2), draw.uniform(0.5, 2), draw.uniform(0.5, 2)) * randomRigid();
        EXPECT_NEAR((m * n).determinant(), m.determinant() * n.determinant(), 1e-10 * std::fabs(m.determinant() * n.determinant()));
        MMatrix4 inverted = m;
        inverted.invert();
        EXPECT_EQ(inverted, m.inverse());
    }
    EXPECT_EQ(MMatrix4::Scaling(2, 4, 8).determinant(), 64.0);
    EXPECT_EQ(MMatrix4(0, 1, 0, 0, 1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1).determinant(), -1.0);
    EXPECT_EQ(MMatrix4::Zero.inverse(), MMatrix4::Zero);
    EXPECT_EQ(MMatrix4(1, 2, 3, 4, 2, 4, 6, 8, 0, 1, 0, 0, 0, 0, 1, 0).inverse(), MMatrix4::Zero);
}

TEST(MMatrix4, RigidInverseMatchesTheGeneralInverse)
{
    for (int i = 0; i < 100; ++i) {
        const MMatrix4 m = randomRigid();
        const MMatrix4 rigid = m.rigidInverse();
        EXPECT_TRUE(rigid.equals(m.inverse(), 1e-12));
        EXPECT_TRUE((rigid * m).equals(MMatrix4::Identity, 1e-12));
        EXPECT_EQ(rigid(3, 0), 0.0);
        EXPECT_EQ(rigid(3, 3), 1.0);
    }
    // A perspective row is dropped: the inverse assumes a rigid transformation.
    MMatrix4 m = MMatrix4::Translation(1, 2, 3);
    m(3, 0) = 0.5;
    EXPECT_EQ(m.rigidInverse(), MMatrix4::Translation(-1, -2, -3));
}

TEST(MMatrix4, SubMatrixAndEmbedding)
{
    const MMatrix3 r = MMatrix3::FromEuler(0.1, 0.2, 0.3);
    MMatrix4 m = MMatrix4::FromMatrix3(r);
    EXPECT_EQ(m.subMatrix3(), r);
    EXPECT_EQ(m.translation(), MVector3d::Zero);
    EXPECT_EQ(m(3, 3), 1.0);
    m = MMatrix4::Translation(1, 2, 3);
    m(3, 1) = 9;
    m.setSubMatrix3(r);
    EXPECT_EQ(m.subMatrix3(), r);
    EXPECT_EQ(m.translation(), MVector3d(1, 2, 3));
    EXPECT_EQ(m(3, 1), 9.0);
    EXPECT_EQ(MMatrix4::FromEuler(0.1, 0.2, 0.3), MMatrix4::FromMatrix3(r));
    EXPECT_EQ(MMatrix4::XRotation(0.5).subMatrix3(), MMatrix3::XRotation(0.5));
    EXPECT_EQ(MMatrix4::YRotation(0.5).subMatrix3(), MMatrix3::YRotation(0.5));
    EXPECT_EQ(MMatrix4::ZRotation(0.5).subMatrix3(), MMatrix3::ZRotation(0.5));
    EXPECT_EQ(MMatrix4::FromQuaternion(1, 2, 3, 4).subMatrix3(), MMatrix3::FromQuaternion(1, 2, 3, 4));
    EXPECT_EQ(MMatrix4::AxisAngleRotation(MVector3d(1, 2, 3), 0.7).subMatrix3(),
              MMatrix3::AxisAngleRotation(MVector3d(1, 2, 3), 0.7));
    EXPECT_EQ(MMatrix4::VectorIntoVectorRotation(MVector3d(1, 2, 3), MVector3d(0, 1, 0)).subMatrix3(),
              MMatrix3::VectorIntoVectorRotation(MVector3d(1, 2, 3), MVector3d(0, 1, 0)));
    MVector3d second;
    EXPECT_TRUE(MMatrix4::FromEuler(0.1, 0.2, 0.3).eulerAngles(&second).equals(MVector3d(0.1, 0.2, 0.3), 1e-14));
    EXPECT_NEAR(second.y(), MAngle::Pi - 0.2, 1e-14);
}

// The 4x4 form has no special case for -Z and divides by z + 1 as it stands.
TEST(MMatrix4, VectorIntoZRotationOppositeToZIsNonFiniteOnlyInMMatrix4)
{
    const MMatrix4 m = MMatrix4::VectorIntoZRotation(MVector3d(0, 0, -1), true);
    EXPECT_FALSE(std::isfinite(m(0, 0)));
    EXPECT_FALSE(std::isfinite(m(1, 1)));
    EXPECT_EQ(MMatrix3::VectorIntoZRotation(MVector3d(0, 0, -1), true), MMatrix3(1, 0, 0, 0, -1, 0, 0, 0, -1));
    const MVector3d v(1, -2, 0.5);
    EXPECT_EQ(MMatrix4::VectorIntoZRotation(v).subMatrix3(), MMatrix3::VectorIntoZRotation(v));
    EXPECT_TRUE((MMatrix4::VectorIntoZRotation(v) * v.normalized()).equals(MVector3d::ZUnit, 1e-15));
}

TEST(MMatrix4, PoseNormalisesTheAxesWithoutOrthogonalising)
{
    const MMatrix4 pose = MMatrix4::Pose(MVector3d(2, 0, 0), MVector3d(0, 0, 3), MVector3d(0, -4, 4), MVector3d(7, 8, 9));
    const double h = 1 / std::sqrt(2.0);
    EXPECT_TRUE(pose.equals(MMatrix4(1, 0, 0, 7, 0, 0, -h, 8, 0, 1, h, 9, 0, 0, 0, 1), 1e-15));
    EXPECT_EQ(pose * MVector3d(0, 0, 0), MVector3d(7, 8, 9));
}

// The failure text names the method's former name and is kept as callers know it.
TEST(MMatrix4, PoseFailsWithTheWorldToLocalTransformationText)
{
    EXPECT_EQ(MMatrix4::Pose(MVector3d::XUnit, MVector3d::YUnit, MVector3d::ZUnit, MVector3d::Invalid), MMatrix4::Zero);
    EXPECT_EQ(MMatrix4::Pose(MVector3d::XUnit, MVector3d::Zero, MVector3d::ZUnit, MVector3d::Zero), MMatrix4::Zero);
    test::ScopedExceptions on;
    EXPECT_MEXCEPTION(MMatrix4::Pose(MVector3d::Invalid, MVector3d::YUnit, MVector3d::ZUnit, MVector3d::Zero),
                      "MMatrix4::WorldToLocalTransformation: invalid arguments");
}

TEST(MMatrix4, RotationBuildersFailWithTheirOwnTexts)
{
    const MVector3d null(0, 0, 0);
    EXPECT_EQ(MMatrix4::AxisAngleRotation(null, 1), MMatrix4::Zero);
    EXPECT_EQ(MMatrix4::VectorIntoVectorRotation(MVector3d::XUnit, MVector3d::Invalid), MMatrix4::Zero);
    EXPECT_EQ(MMatrix4::VectorIntoZRotation(MVector3d::Invalid), MMatrix4::Zero);
    test::ScopedExceptions on;
    EXPECT_MEXCEPTION(MMatrix4::AxisAngleRotation(MVector3d::Invalid, 1), "MMatrix4::AxisAngleRotation: invalid argument");
    EXPECT_MEXCEPTION(MMatrix4::VectorIntoVectorRotation(null, MVector3d::XUnit, true),
                      "MMatrix4::VectorIntoVectorRotation: invalid argument");
    EXPECT_MEXCEPTION(MMatrix4::VectorIntoZRotation(null), "MMatrix4::VectorIntoZRotation: invalid argument");
}
