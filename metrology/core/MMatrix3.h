#pragma once

#include "MFailure.h"
#include "MVector2d.h"
#include "MVector3d.h"
#include "MVector3f.h"
#include "Zol3DExport.h"

#include <iosfwd>
#include <type_traits>

namespace ZOLAR3D {

// A 3x3 matrix, row-major: element (row, col) is at index row * 3 + col.
// Rotations, and homogeneous transformations of the plane.
class ZOL3D_API MMatrix3 {
public:
    constexpr MMatrix3() : m_m{1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 1.0} {}
    constexpr MMatrix3(double m00, double m01, double m02, double m10, double m11, double m12, double m20, double m21,
                       double m22)
        : m_m{m00, m01, m02, m10, m11, m12, m20, m21, m22}
    {
    }

    static const MMatrix3 Identity;
    static const MMatrix3 Zero;

    double &operator()(int row, int col)
    {
        if (unsigned(row) < 3u && unsigned(col) < 3u)
            return m_m[row * 3 + col];
        return MFailure::raiseElement("MMatrix3::operator(row,col): invalid index");
    }
    const double &operator()(int row, int col) const
    {
        if (unsigned(row) < 3u && unsigned(col) < 3u)
            return m_m[row * 3 + col];
        return MFailure::raiseConstElement("MMatrix3::operator(row,col): invalid index");
    }
    double *data() { return m_m; }
    const double *data() const { return m_m; }

    bool operator==(const MMatrix3 &o) const;
    bool operator!=(const MMatrix3 &o) const { return !(*this == o); }
    bool equals(const MMatrix3 &o, double tolerance) const;
    double determinant() const;
    // Frobenius norm.
    double norm() const;
    MMatrix3 transposed() const;
    // By cofactors; Zero when the determinant is exactly 0.
    MMatrix3 inverse() const;
    void invert() { *this = inverse(); }

    MMatrix3 operator*(const MMatrix3 &o) const;
    MMatrix3 operator*(double s) const;
    MMatrix3 operator/(double s) const;
    MMatrix3 &operator*=(double s) { return *this = *this * s; }
    MMatrix3 &operator/=(double s) { return *this = *this / s; }

    // The 2d point as homogeneous (x, y, 1). When w differs from 1 only the
    // translation terms are divided by it: that grouping is the behaviour
    // callers have always had, unlike the full division of MMatrix4.
    MVector2d operator*(const MVector2d &v) const { return v.isValid() ? map(v) : MVector2d::Infinity; }
    MVector3d operator*(const MVector3d &v) const { return v.isValid() ? map(v) : MVector3d::Infinity; }
    // Computed in double, narrowed at the end.
    MVector3f operator*(const MVector3f &v) const
    {
        return v.isValid() ? map(MVector3d(v)).toVector3f() : MVector3f::Infinity;
    }
    // An invalid vector is left untouched.
    void transform(MVector2d &v) const
    {
        if (v.isValid())
            v = map(v);
    }
    void transform(MVector3d &v) const
    {
        if (v.isValid())
            v = map(v);
    }
    void transform(MVector3f &v) const
    {
        if (v.isValid())
            v = map(MVector3d(v)).toVector3f();
    }

    static MMatrix3 Scaling(double s) { return Scaling(s, s, s); }
    static MMatrix3 Scaling(double sx, double sy, double sz);
    // Right-handed rotations by an angle in radians.
    static MMatrix3 XRotation(const double &angle);
    static MMatrix3 YRotation(const double &angle);
    static MMatrix3 ZRotation(const double &angle);
    static MMatrix3 AxisAngleRotation(const MVector3d &axis, double angle);
    // The rotation taking direction a into direction b.
    static MMatrix3 VectorIntoVectorRotation(const MVector3d &a, const MVector3d &b, bool alreadyNormalized = false);
    // The rotation taking the direction of v into +Z.
    static MMatrix3 VectorIntoZRotation(const MVector3d &v, bool alreadyNormalized = false);
    // Rz(c) Ry(b) Rx(a).
    static MMatrix3 FromEuler(double a, double b, double c);
    // The quaternion need not be unit.
    static MMatrix3 FromQuaternion(double w, double x, double y, double z);
    // The angles (a, b, c) of FromEuler; `second` receives the other solution.
    // Invalid at gimbal lock, where second gets the marker in x.
    MVector3d eulerAngles(MVector3d *second = nullptr) const;

    bool load(const char *path);
    bool load(const wchar_t *path);
    bool save(const char *path) const;
    bool save(const wchar_t *path) const;

private:
    MVector2d map(const MVector2d &v) const
    {
        const double x = v.x(), y = v.y();
        const double w = m_m[6] * x + m_m[7] * y + m_m[8];
        if (w == 1.0)
            return {m_m[0] * x + m_m[1] * y + m_m[2], m_m[3] * x + m_m[4] * y + m_m[5]};
        return {m_m[0] * x + m_m[1] * y + m_m[2] / w, m_m[3] * x + m_m[4] * y + m_m[5] / w};
    }
    MVector3d map(const MVector3d &v) const
    {
        const double x = v.x(), y = v.y(), z = v.z();
        return {m_m[0] * x + m_m[1] * y + m_m[2] * z, m_m[3] * x + m_m[4] * y + m_m[5] * z,
                m_m[6] * x + m_m[7] * y + m_m[8] * z};
    }

    double m_m[9];
};

static_assert(std::is_trivially_copyable_v<MMatrix3> && sizeof(MMatrix3) == 9 * sizeof(double));

// One row per line.
ZOL3D_API std::wostream &operator<<(std::wostream &out, const MMatrix3 &m);
ZOL3D_API std::wistream &operator>>(std::wistream &in, MMatrix3 &m);

} // namespace ZOLAR3D
