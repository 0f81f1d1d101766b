#include "MMatrix4.h"

#include "metrology/core/detail/MVectorIntoZ.h"

#include <cmath>

namespace ZOLAR3D {

const MMatrix4 MMatrix4::Identity;
const MMatrix4 MMatrix4::Zero(0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0);

bool MMatrix4::operator==(const MMatrix4 &o) const
{
    for (int i = 0; i < 16; ++i)
        if (m_m[i] != o.m_m[i])
            return false;
    return true;
}

bool MMatrix4::equals(const MMatrix4 &o, double tolerance) const
{
    for (int i = 0; i < 16; ++i)
        if (!(std::fabs(m_m[i] - o.m_m[i]) <= tolerance))
            return false;
    return true;
}

double MMatrix4::norm() const
{
    double sum = 0.0;
    for (double value : m_m)
        sum += value * value;
    return std::sqrt(sum);
}

MMatrix4 MMatrix4::transposed() const
{
    MMatrix4 t;
    for (int row = 0; row < 4; ++row)
        for (int col = 0; col < 4; ++col)
            t.m_m[col * 4 + row] = m_m[row * 4 + col];
    return t;
}

namespace {

// The 2x2 minors of the upper two rows (s) and of the lower two rows (c),
// from which both the determinant and every cofactor are built.
struct Minors {
    double s[6];
    double c[6];

    explicit Minors(const double *m)
        : s{m[0] * m[5] - m[4] * m[1], m[0] * m[6] - m[4] * m[2], m[0] * m[7] - m[4] * m[3],
            m[1] * m[6] - m[5] * m[2], m[1] * m[7] - m[5] * m[3], m[2] * m[7] - m[6] * m[3]},
          c{m[8] * m[13] - m[12] * m[9],  m[8] * m[14] - m[12] * m[10], m[8] * m[15] - m[12] * m[11],
            m[9] * m[14] - m[13] * m[10], m[9] * m[15] - m[13] * m[11], m[10] * m[15] - m[14] * m[11]}
    {
    }

    double determinant() const { return s[0] * c[5] - s[1] * c[4] + s[2] * c[3] + s[3] * c[2] - s[4] * c[1] + s[5] * c[0]; }
};

} // namespace

double MMatrix4::determinant() const { return Minors(m_m).determinant(); }

MMatrix4 MMatrix4::inverse() const
{
    const Minors minors(m_m);
    const double det = minors.determinant();
    if (det == 0.0)
        return Zero;
    const double *m = m_m;
    const double *s = minors.s;
    const double *c = minors.c;
    const MMatrix4 adjugate(
        m[5] * c[5] - m[6] * c[4] + m[7] * c[3], -m[1] * c[5] + m[2] * c[4] - m[3] * c[3],
        m[13] * s[5] - m[14] * s[4] + m[15] * s[3], -m[9] * s[5] + m[10] * s[4] - m[11] * s[3],
        -m[4] * c[5] + m[6] * c[2] - m[7] * c[1], m[0] * c[5] - m[2] * c[2] + m[3] * c[1],
        -m[12] * s[5] + m[14] * s[2] - m[15] * s[1], m[8] * s[5] - m[10] * s[2] + m[11] * s[1],
        m[4] * c[4] - m[5] * c[2] + m[7] * c[0], -m[0] * c[4] + m[1] * c[2] - m[3] * c[0],
        m[12] * s[4] - m[13] * s[2] + m[15] * s[0], -m[8] * s[4] + m[9] * s[2] - m[11] * s[0],
        -m[4] * c[3] + m[5] * c[1] - m[6] * c[0], m[0] * c[3] - m[1] * c[1] + m[2] * c[0],
        -m[12] * s[3] + m[13] * s[1] - m[14] * s[0], m[8] * s[3] - m[9] * s[1] + m[10] * s[0]);
    return adjugate / det;
}

MMatrix4 MMatrix4::rigidInverse() const
{
    return FromMatrix3(subMatrix3().transposed()) * Translation(-translation());
}

MMatrix4 MMatrix4::operator*(const MMatrix4 &o) const
{
    MMatrix4 product;
    for (int row = 0; row < 4; ++row)
        for (int col = 0; col < 4; ++col) {
            const double *r = m_m + row * 4;
            product.m_m[row * 4 + col] = r[0] * o.m_m[col] + r[1] * o.m_m[4 + col] + r[2] * o.m_m[8 + col] +
                                         r[3] * o.m_m[12 + col];
        }
    return product;
}

MMatrix4 MMatrix4::operator*(double s) const
{
    MMatrix4 scaled = *this;
    for (double &value : scaled.m_m)
        value *= s;
    return scaled;
}

MMatrix4 MMatrix4::operator/(double s) const
{
    MMatrix4 scaled = *this;
    for (double &value : scaled.m_m)
        value /= s;
    return scaled;
}

MMatrix4 MMatrix4::operator+(const MMatrix4 &o) const
{
    MMatrix4 sum = *this;
    for (int i = 0; i < 16; ++i)
        sum.m_m[i] += o.m_m[i];
    return sum;
}

MMatrix4 MMatrix4::operator-(const MMatrix4 &o) const
{
    MMatrix4 difference = *this;
    for (int i = 0; i < 16; ++i)
        difference.m_m[i] -= o.m_m[i];
    return difference;
}

MMatrix3 MMatrix4::subMatrix3() const
{
    const double *m = m_m;
    return {m[0], m[1], m[2], m[4], m[5], m[6], m[8], m[9], m[10]};
}

void MMatrix4::setSubMatrix3(const MMatrix3 &m)
{
    for (int row = 0; row < 3; ++row)
        for (int col = 0; col < 3; ++col)
            m_m[row * 4 + col] = m.data()[row * 3 + col];
}

MMatrix4 MMatrix4::Translation(double x, double y, double z)
{
    MMatrix4 t;
    t.setTranslation(MVector3d(x, y, z));
    return t;
}

MMatrix4 MMatrix4::FromMatrix3(const MMatrix3 &m)
{
    MMatrix4 embedded;
    embedded.setSubMatrix3(m);
    return embedded;
}

MMatrix4 MMatrix4::Scaling(double sx, double sy, double sz) { return FromMatrix3(MMatrix3::Scaling(sx, sy, sz)); }
MMatrix4 MMatrix4::XRotation(const double &angle) { return FromMatrix3(MMatrix3::XRotation(angle)); }
MMatrix4 MMatrix4::YRotation(const double &angle) { return FromMatrix3(MMatrix3::YRotation(angle)); }
MMatrix4 MMatrix4::ZRotation(const double &angle) { return FromMatrix3(MMatrix3::ZRotation(angle)); }

// The arguments are checked here, with this class's texts, exactly as the
// 3x3 builders check them; the 3x3 builders then cannot fail.
MMatrix4 MMatrix4::AxisAngleRotation(const MVector3d &axis, double angle)
{
    if (!axis.normalized().isValid())
        return MFailure::raise("MMatrix4::AxisAngleRotation: invalid argument", Zero);
    return FromMatrix3(MMatrix3::AxisAngleRotation(axis, angle));
}

MMatrix4 MMatrix4::VectorIntoVectorRotation(const MVector3d &a, const MVector3d &b, bool alreadyNormalized)
{
    if (!a.normalized().isValid() || !b.normalized().isValid())
        return MFailure::raise("MMatrix4::VectorIntoVectorRotation: invalid argument", Zero);
    return FromMatrix3(MMatrix3::VectorIntoVectorRotation(a, b, alreadyNormalized));
}

// Unlike the 3x3 form this one has no special case for v = -Z and divides
// by z + 1 as it stands; callers of the two classes have always seen this
// difference, so it is kept.
MMatrix4 MMatrix4::VectorIntoZRotation(const MVector3d &v, bool alreadyNormalized)
{
    if (!v.normalized().isValid())
        return MFailure::raise("MMatrix4::VectorIntoZRotation: invalid argument", Zero);
    return FromMatrix3(vectorIntoZRows(alreadyNormalized ? v : v.normalized()));
}

MMatrix4 MMatrix4::FromEuler(double a, double b, double c) { return FromMatrix3(MMatrix3::FromEuler(a, b, c)); }

MMatrix4 MMatrix4::FromQuaternion(double w, double x, double y, double z)
{
    return FromMatrix3(MMatrix3::FromQuaternion(w, x, y, z));
}

// The directions are normalised but not orthogonalised; a null direction is
// refused like an invalid one. The failure text carries the method's former
// name; callers already see that text, so it is kept.
MMatrix4 MMatrix4::Pose(const MVector3d &x, const MVector3d &y, const MVector3d &z, const MVector3d &t)
{
    const MVector3d ux = x.normalized(), uy = y.normalized(), uz = z.normalized();
    if (!ux.isValid() || !uy.isValid() || !uz.isValid() || !t.isValid())
        return MFailure::raise("MMatrix4::WorldToLocalTransformation: invalid arguments", Zero);
    return {ux.x(), uy.x(), uz.x(), t.x(), //
            ux.y(), uy.y(), uz.y(), t.y(), //
            ux.z(), uy.z(), uz.z(), t.z(), //
            0.0,    0.0,    0.0,    1.0};
}

MVector3d MMatrix4::eulerAngles(MVector3d *second) const { return subMatrix3().eulerAngles(second); }

} // namespace ZOLAR3D
