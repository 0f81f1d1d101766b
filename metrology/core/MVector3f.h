#pragma once

#include "MInvalid.h"
#include "Zol3DExport.h"

#include <algorithm>
#include <cmath>
#include <iosfwd>
#include <type_traits>

namespace ZOLAR3D {

class MVector3d;
class MMatrix4;

// A single-precision 3d vector, used for normals and compact point storage.
// Sums are formed in float and widened; products with doubles are made in
// double and narrowed, so results match the double class where they can.
class ZOL3D_API MVector3f {
public:
    constexpr MVector3f() : m_v{MInvalidF, MInvalidF, MInvalidF} {}
    constexpr MVector3f(float x, float y, float z) : m_v{x, y, z} {}

    static const MVector3f Invalid;
    static const MVector3f Infinity;
    static const MVector3f Zero;
    static const MVector3f XUnit;
    static const MVector3f YUnit;
    static const MVector3f ZUnit;

    constexpr float x() const { return m_v[0]; }
    constexpr float y() const { return m_v[1]; }
    constexpr float z() const { return m_v[2]; }
    void setX(float x) { m_v[0] = x; }
    void setY(float y) { m_v[1] = y; }
    void setZ(float z) { m_v[2] = z; }
    void setValues(float x, float y, float z)
    {
        m_v[0] = x;
        m_v[1] = y;
        m_v[2] = z;
    }
    float *data() { return m_v; }
    const float *data() const { return m_v; }
    float &operator[](int i) { return m_v[i]; }
    const float &operator[](int i) const { return m_v[i]; }

    MVector3f &operator=(float value)
    {
        m_v[0] = m_v[1] = m_v[2] = value;
        return *this;
    }
    // Narrows each component (defined with MVector3d).
    inline MVector3f &operator=(const MVector3d &v);

    bool isValid() const { return MIsValidValue(m_v[0]) && MIsValidValue(m_v[1]) && MIsValidValue(m_v[2]); }
    bool isNaN() const { return std::isnan(m_v[0]) || std::isnan(m_v[1]) || std::isnan(m_v[2]); }
    // One store suffices: a marker in x makes the whole vector invalid.
    void invalidate() { m_v[0] = MInvalidF; }

    bool operator==(const MVector3f &o) const { return m_v[0] == o.m_v[0] && m_v[1] == o.m_v[1] && m_v[2] == o.m_v[2]; }
    bool operator!=(const MVector3f &o) const { return !(*this == o); }
    bool equals(const MVector3f &o, double tolerance) const
    {
        return double(std::fabs(m_v[0] - o.m_v[0])) <= tolerance && double(std::fabs(m_v[1] - o.m_v[1])) <= tolerance &&
               double(std::fabs(m_v[2] - o.m_v[2])) <= tolerance;
    }

    MVector3f operator+(const MVector3f &o) const { return {m_v[0] + o.m_v[0], m_v[1] + o.m_v[1], m_v[2] + o.m_v[2]}; }
    MVector3f operator-(const MVector3f &o) const { return {m_v[0] - o.m_v[0], m_v[1] - o.m_v[1], m_v[2] - o.m_v[2]}; }
    MVector3f operator-() const { return {-m_v[0], -m_v[1], -m_v[2]}; }
    MVector3f operator*(double s) const { return {float(m_v[0] * s), float(m_v[1] * s), float(m_v[2] * s)}; }
    MVector3f operator/(double s) const { return {float(m_v[0] / s), float(m_v[1] / s), float(m_v[2] / s)}; }
    MVector3f &operator+=(const MVector3f &o) { return *this = *this + o; }
    MVector3f &operator-=(const MVector3f &o) { return *this = *this - o; }
    MVector3f &operator*=(double s) { return *this = *this * s; }
    MVector3f &operator/=(double s) { return *this = *this / s; }

    double dot(const MVector3f &o) const { return double(m_v[0] * o.m_v[0] + m_v[1] * o.m_v[1] + m_v[2] * o.m_v[2]); }
    MVector3f cross(const MVector3f &o) const
    {
        return {m_v[1] * o.m_v[2] - m_v[2] * o.m_v[1], m_v[2] * o.m_v[0] - m_v[0] * o.m_v[2],
                m_v[0] * o.m_v[1] - m_v[1] * o.m_v[0]};
    }
    MVector3f schurProduct(const MVector3f &o) const { return {m_v[0] * o.m_v[0], m_v[1] * o.m_v[1], m_v[2] * o.m_v[2]}; }
    MVector3f abs() const { return {std::fabs(m_v[0]), std::fabs(m_v[1]), std::fabs(m_v[2])}; }
    MVector3f inverse() const { return -*this; }
    void invert() { *this = -*this; }

    double squaredNorm() const { return isValid() ? dot(*this) : MInvalid; }
    double norm() const { return isValid() ? double(std::sqrt(m_v[0] * m_v[0] + m_v[1] * m_v[1] + m_v[2] * m_v[2])) : MInvalid; }
    double length() const { return norm(); }
    // A null or invalid vector has no direction: it becomes invalid, not null.
    void normalize()
    {
        const double n = norm();
        if (n < 1e-12 || n == MInvalid)
            invalidate();
        else
            *this /= n;
    }
    MVector3f normalized() const
    {
        const double n = norm();
        return (n < 1e-12 || n == MInvalid) ? Infinity : *this / n;
    }
    double distance(const MVector3f &o) const { return (*this - o).norm(); }
    double squaredDistance(const MVector3f &o) const { return (*this - o).squaredNorm(); }
    // Against a double point the difference is taken in double precision.
    inline double distance(const MVector3d &o) const;
    inline double squaredDistance(const MVector3d &o) const;
    // Unsigned angle in [0, pi]; the marker when either vector is invalid.
    double angle(const MVector3f &o, bool alreadyNormalized = false) const
    {
        if (!isValid() || !o.isValid())
            return MInvalid;
        const double d = alreadyNormalized ? dot(o) : normalized().dot(o.normalized());
        return std::acos(std::clamp(d, -1.0, 1.0));
    }

    // Bounding box accumulators: an invalid operand is skipped.
    static MVector3f maximum(const MVector3f &a, const MVector3f &b)
    {
        if (!a.isValid())
            return b;
        if (!b.isValid())
            return a;
        return {std::max(a.m_v[0], b.m_v[0]), std::max(a.m_v[1], b.m_v[1]), std::max(a.m_v[2], b.m_v[2])};
    }
    static MVector3f minimum(const MVector3f &a, const MVector3f &b)
    {
        if (!a.isValid())
            return b;
        if (!b.isValid())
            return a;
        return {std::min(a.m_v[0], b.m_v[0]), std::min(a.m_v[1], b.m_v[1]), std::min(a.m_v[2], b.m_v[2])};
    }
    // A fixed polynomial, perpendicular to any v without branching; it
    // vanishes on the (1, 1, 1) diagonal, which callers must allow for.
    static MVector3f PerpendicularTo(const MVector3f &v)
    {
        const float x = v.m_v[0], y = v.m_v[1], z = v.m_v[2];
        return {y * x - z * z, z * y - x * x, x * z - y * y};
    }

    // matrix.transform(*this).
    void applyTransformation(const MMatrix4 &matrix);

    bool load(const char *path);
    bool load(const wchar_t *path);
    bool save(const char *path) const;
    bool save(const wchar_t *path) const;

private:
    float m_v[3];
};

static_assert(std::is_trivially_copyable_v<MVector3f> && std::is_standard_layout_v<MVector3f>);
static_assert(sizeof(MVector3f) == 3 * sizeof(float));

ZOL3D_API std::wostream &operator<<(std::wostream &out, const MVector3f &v);
ZOL3D_API std::wistream &operator>>(std::wistream &in, MVector3f &v);

} // namespace ZOLAR3D

// The conversions to and from MVector3d are defined there.
#include "MVector3d.h"
