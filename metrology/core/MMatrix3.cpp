#include "MMatrix3.h"

#include "MAngle.h"
#include "metrology/core/detail/MVectorIntoZ.h"

#include <cmath>

namespace ZOLAR3D {

const MMatrix3 MMatrix3::Identity;
const MMatrix3 MMatrix3::Zero(0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0);

bool MMatrix3::operator==(const MMatrix3 &o) const
{
    for (int i = 0; i < 9; ++i)
        if (m_m[i] != o.m_m[i])
            return false;
    return true;
}

bool MMatrix3::equals(const MMatrix3 &o, double tolerance) const
{
    for (int i = 0; i < 9; ++i)
        if (!(std::fabs(m_m[i] - o.m_m[i]) <= tolerance))
            return false;
    return true;
}

double MMatrix3::determinant() const
{
    const double *m = m_m;
    return m[0] * (m[4] * m[8] - m[5] * m[7]) + m[1] * (m[5] * m[6] - m[3] * m[8]) + m[2] * (m[3] * m[7] - m[4] * m[6]);
}

double MMatrix3::norm() const
{
    double sum = 0.0;
    for (double value : m_m)
        sum += value * value;
    return std::sqrt(sum);
}

MMatrix3 MMatrix3::transposed() const
{
    const double *m = m_m;
    return {m[0], m[3], m[6], m[1], m[4], m[7], m[2], m[5], m[8]};
}

MMatrix3 MMatrix3::inverse() const
{
    const double *m = m_m;
    const MMatrix3 adjugate(m[4] * m[8] - m[5] * m[7], m[2] * m[7] - m[1] * m[8], m[1] * m[5] - m[2] * m[4],
                            m[5] * m[6] - m[3] * m[8], m[0] * m[8] - m[2] * m[6], m[2] * m[3] - m[0] * m[5],
                            m[3] * m[7] - m[4] * m[6], m[1] * m[6] - m[0] * m[7], m[0] * m[4] - m[1] * m[3]);
    const double det = determinant();
    if (det == 0.0)
        return Zero;
    return adjugate / det;
}

MMatrix3 MMatrix3::operator*(const MMatrix3 &o) const
{
    MMatrix3 product = Zero;
    for (int row = 0; row < 3; ++row)
        for (int col = 0; col < 3; ++col)
            product.m_m[row * 3 + col] = m_m[row * 3] * o.m_m[col] + m_m[row * 3 + 1] * o.m_m[3 + col] +
                                         m_m[row * 3 + 2] * o.m_m[6 + col];
    return product;
}

MMatrix3 MMatrix3::operator*(double s) const
{
    MMatrix3 scaled = *this;
    for (double &value : scaled.m_m)
        value *= s;
    return scaled;
}

MMatrix3 MMatrix3::operator/(double s) const
{
    MMatrix3 scaled = *this;
    for (double &value : scaled.m_m)
        value /= s;
    return scaled;
}

MMatrix3 MMatrix3::Scaling(double sx, double sy, double sz) { return {sx, 0.0, 0.0, 0.0, sy, 0.0, 0.0, 0.0, sz}; }

MMatrix3 MMatrix3::XRotation(const double &angle)
{
    const double c = std::cos(angle), s = std::sin(angle);
    return {1.0, 0.0, 0.0, 0.0, c, -s, 0.0, s, c};
}

MMatrix3 MMatrix3::YRotation(const double &angle)
{
    const double c = std::cos(angle), s = std::sin(angle);
    return {c, 0.0, s, 0.0, 1.0, 0.0, -s, 0.0, c};
}

MMatrix3 MMatrix3::ZRotation(const double &angle)
{
    const double c = std::cos(angle), s = std::sin(angle);
    return {c, -s, 0.0, s, c, 0.0, 0.0, 0.0, 1.0};
}

// A null axis is refused along with an invalid one: it has no direction to
// turn about, and normalising it would spread the marker over the matrix.
MMatrix3 MMatrix3::AxisAngleRotation(const MVector3d &axis, double angle)
{
    const MVector3d unit = axis.normalized();
    if (!unit.isValid())
        return MFailure::raise("MMatrix3::AxisAngleRotation: invalid argument", Zero);
    const double x = unit.x(), y = unit.y(), z = unit.z();
    const double c = std::cos(angle), s = std::sin(angle), t = 1.0 - c;
    return {x * x * t + c,     x * y * t - z * s, x * z * t + y * s, //
            x * y * t + z * s, y * y * t + c,     y * z * t - x * s, //
            x * z * t - y * s, y * z * t + x * s, z * z * t + c};
}

MMatrix3 MMatrix3::VectorIntoVectorRotation(const MVector3d &a, const MVector3d &b, bool alreadyNormalized)
{
    if (!a.normalized().isValid() || !b.normalized().isValid())
        return MFailure::raise("MMatrix3::VectorIntoVectorRotation: invalid argument", Zero);
    const MVector3d u = alreadyNormalized ? a : a.normalized();
    const MVector3d v = alreadyNormalized ? b : b.normalized();
    const double d = u.dot(v);
    if (std::fabs(d - 1.0) < 1e-12)
        return Identity;
    if (std::fabs(d + 1.0) < 1e-12) {
        // Opposite directions: any axis perpendicular to u will do.
        MVector3d p(u.z(), u.z(), -u.x() - u.y());
        if (p.norm() < 1e-12)
            p = MVector3d(-u.y() - u.z(), u.x(), u.x());
        return AxisAngleRotation(u.cross(p), MAngle::Pi);
    }
    return AxisAngleRotation(u.cross(v), u.angle(v, true));
}

MMatrix3 MMatrix3::VectorIntoZRotation(const MVector3d &v, bool alreadyNormalized)
{
    if (!v.normalized().isValid())
        return MFailure::raise("MMatrix3::VectorIntoZRotation: invalid argument", Zero);
    const MVector3d u = alreadyNormalized ? v : v.normalized();
    if (std::fabs(u.z() + 1.0) < 1e-20)
        return {1.0, 0.0, 0.0, 0.0, -1.0, 0.0, 0.0, 0.0, -1.0};
    return vectorIntoZRows(u);
}

MMatrix3 MMatrix3::FromEuler(double a, double b, double c) { return ZRotation(c) * YRotation(b) * XRotation(a); }

MMatrix3 MMatrix3::FromQuaternion(double w, double x, double y, double z)
{
    const double s = 2.0 / (w * w + x * x + y * y + z * z);
    return {1.0 - (z * z + y * y) * s, (x * y - w * z) * s,       (x * z + w * y) * s, //
            (x * y + w * z) * s,       1.0 - (z * z + x * x) * s, (y * z - w * x) * s, //
            (x * z - w * y) * s,       (y * z + w * x) * s,       1.0 - (y * y + x * x) * s};
}

MVector3d MMatrix3::eulerAngles(MVector3d *second) const
{
    const double *m = m_m;
    // Beyond 1, which only rounding in a product of rotations produces, the
    // angle is as undefined as at 1 itself and is reported the same way.
    if (std::fabs(m[6]) >= 1.0) {
        if (second)
            second->invalidate();
        return MVector3d::Invalid;
    }
    const double b = -std::asin(m[6]);
    const double c = std::cos(b);
    if (second) {
        const double b2 = MAngle::Pi - b;
        const double c2 = std::cos(b2);
        *second = MVector3d(std::atan2(m[7] / c2, m[8] / c2), b2, std::atan2(m[3] / c2, m[0] / c2));
    }
    return {std::atan2(m[7] / c, m[8] / c), b, std::atan2(m[3] / c, m[0] / c)};
}

} // namespace ZOLAR3D
