#pragma once

#include "MFailure.h"
#include "MMatrix3.h"
#include "MVector3d.h"
#include "MVector3f.h"
#include "MVector4d.h"
#include "Zol3DExport.h"

#include <iosfwd>
#include <type_traits>

namespace ZOLAR3D {

// A 4x4 homogeneous transformation of column vectors, row-major: element
// (row, col) is at index row * 4 + col, the translation in column 3 and the
// perspective row in row 3.
class ZOL3D_API MMatrix4 {
public:
    constexpr MMatrix4() : m_m{1.0, 0.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 0.0, 1.0} {}
    constexpr MMatrix4(double m00, double m01, double m02, double m03, double m10, double m11, double m12, double m13,
                       double m20, double m21, double m22, double m23, double m30, double m31, double m32, double m33)
        : m_m{m00, m01, m02, m03, m10, m11, m12, m13, m20, m21, m22, m23, m30, m31, m32, m33}
    {
    }

    static const MMatrix4 Identity;
    static const MMatrix4 Zero;

    double &operator()(int row, int col)
    {
        if (unsigned(row) < 4u && unsigned(col) < 4u)
            return m_m[row * 4 + col];
        return MFailure::raiseElement("MMatrix4::operator(row,col): invalid index");
    }
    const double &operator()(int row, int col) const
    {
        if (unsigned(row) < 4u && unsigned(col) < 4u)
            return m_m[row * 4 + col];
        return MFailure::raiseConstElement("MMatrix4::operator(row,col): invalid index");
    }
    double *data() { return m_m; }
    const double *data() const { return m_m; }

    bool operator==(const MMatrix4 &o) const;
    bool operator!=(const MMatrix4 &o) const { return !(*this == o); }
    bool equals(const MMatrix4 &o, double tolerance) const;
    double determinant() const;
    // Frobenius norm.
    double norm() const;
    MMatrix4 transposed() const;
    // By cofactors; Zero when the determinant is exactly 0.
    MMatrix4 inverse() const;
    void invert() { *this = inverse(); }
    // The inverse of a rotation and translation: R^T and -R^T t.
    MMatrix4 rigidInverse() const;

    MMatrix4 operator*(const MMatrix4 &o) const;
    MMatrix4 operator*(double s) const;
    MMatrix4 operator/(double s) const;
    MMatrix4 &operator*=(double s) { return *this = *this * s; }
    MMatrix4 &operator/=(double s) { return *this = *this / s; }
    MMatrix4 operator+(const MMatrix4 &o) const;
    MMatrix4 operator-(const MMatrix4 &o) const;
    MMatrix4 &operator+=(const MMatrix4 &o) { return *this = *this + o; }
    MMatrix4 &operator-=(const MMatrix4 &o) { return *this = *this - o; }

    // The point (x, y, z, 1), divided back by w unless w is exactly 1;
    // Infinity for an invalid point.
    MVector3d operator*(const MVector3d &v) const { return v.isValid() ? map(v) : MVector3d::Infinity; }
    // Computed in double, narrowed at the end.
    MVector3f operator*(const MVector3f &v) const
    {
        return v.isValid() ? map(MVector3d(v)).toVector3f() : MVector3f::Infinity;
    }
    // The plain product, with no validity test.
    MVector4d operator*(const MVector4d &v) const
    {
        const double x = v.x(), y = v.y(), z = v.z(), w = v.w();
        return {m_m[0] * x + m_m[1] * y + m_m[2] * z + m_m[3] * w, m_m[4] * x + m_m[5] * y + m_m[6] * z + m_m[7] * w,
                m_m[8] * x + m_m[9] * y + m_m[10] * z + m_m[11] * w,
                m_m[12] * x + m_m[13] * y + m_m[14] * z + m_m[15] * w};
    }

    // transform, rotateAndScale and translate leave an invalid vector untouched.
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
    void transform(MVector4d &v) const
    {
        if (v.isValid())
            v = *this * v;
    }
    // Applies the upper left 3x3 block only; w of an MVector4d is kept.
    void rotateAndScale(MVector3d &v) const
    {
        if (v.isValid())
            v = linear(v);
    }
    void rotateAndScale(MVector3f &v) const
    {
        if (v.isValid())
            v = linear(MVector3d(v)).toVector3f();
    }
    void rotateAndScale(MVector4d &v) const
    {
        if (v.isValid()) {
            const MVector3d p = linear(MVector3d(v.x(), v.y(), v.z()));
            v.setValues(p.x(), p.y(), p.z(), v.w());
        }
    }
    // Adds the translation column to x, y, z.
    void translate(MVector3d &v) const
    {
        if (v.isValid())
            v += translation();
    }
    void translate(MVector3f &v) const
    {
        if (v.isValid())
            v = (MVector3d(v) + translation()).toVector3f();
    }
    void translate(MVector4d &v) const
    {
        if (v.isValid())
            v.setValues(v.x() + m_m[3], v.y() + m_m[7], v.z() + m_m[11], v.w());
    }

    MVector3d translation() const { return {m_m[3], m_m[7], m_m[11]}; }
    void setTranslation(const MVector3d &t)
    {
        m_m[3] = t.x();
        m_m[7] = t.y();
        m_m[11] = t.z();
    }
    // The upper left block.
    MMatrix3 subMatrix3() const;
    void setSubMatrix3(const MMatrix3 &m);

    static MMatrix4 Translation(double x, double y, double z);
    static MMatrix4 Translation(const MVector3d &t) { return Translation(t.x(), t.y(), t.z()); }
    // Embeds m with zero translation.
    static MMatrix4 FromMatrix3(const MMatrix3 &m);
    // (3, 3) stays 1.
    static MMatrix4 Scaling(double s) { return Scaling(s, s, s); }
    static MMatrix4 Scaling(double sx, double sy, double sz);
    static MMatrix4 XRotation(const double &angle);
    static MMatrix4 YRotation(const double &angle);
    static MMatrix4 ZRotation(const double &angle);
    static MMatrix4 AxisAngleRotation(const MVector3d &axis, double angle);
    static MMatrix4 VectorIntoVectorRotation(const MVector3d &a, const MVector3d &b, bool alreadyNormalized = false);
    static MMatrix4 VectorIntoZRotation(const MVector3d &v, bool alreadyNormalized = false);
    static MMatrix4 FromEuler(double a, double b, double c);
    static MMatrix4 FromQuaternion(double w, double x, double y, double z);
    // The local frame (x, y, z directions, origin t) in world coordinates.
    static MMatrix4 Pose(const MVector3d &x, const MVector3d &y, const MVector3d &z, const MVector3d &t);
    MVector3d eulerAngles(MVector3d *second = nullptr) const;

    bool load(const char *path);
    bool load(const wchar_t *path);
    bool save(const char *path) const;
    bool save(const wchar_t *path) const;

private:
    MVector3d map(const MVector3d &v) const
    {
        const double x = v.x(), y = v.y(), z = v.z();
        const double px = m_m[0] * x + m_m[1] * y + m_m[2] * z + m_m[3];
        const double py = m_m[4] * x + m_m[5] * y + m_m[6] * z + m_m[7];
        const double pz = m_m[8] * x + m_m[9] * y + m_m[10] * z + m_m[11];
        const double w = m_m[12] * x + m_m[13] * y + m_m[14] * z + m_m[15];
        if (w == 1.0)
            return {px, py, pz};
        return {px / w, py / w, pz / w};
    }
    MVector3d linear(const MVector3d &v) const
    {
        const double x = v.x(), y = v.y(), z = v.z();
        return {m_m[0] * x + m_m[1] * y + m_m[2] * z, m_m[4] * x + m_m[5] * y + m_m[6] * z,
                m_m[8] * x + m_m[9] * y + m_m[10] * z};
    }

    double m_m[16];
};

static_assert(std::is_trivially_copyable_v<MMatrix4> && sizeof(MMatrix4) == 16 * sizeof(double));

// One row per line.
ZOL3D_API std::wostream &operator<<(std::wostream &out, const MMatrix4 &m);
ZOL3D_API std::wistream &operator>>(std::wistream &in, MMatrix4 &m);

} // namespace ZOLAR3D
