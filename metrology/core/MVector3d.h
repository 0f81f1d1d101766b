#pragma once

#include "MInvalid.h"
#include "MVector3f.h"
#include "Zol3DExport.h"

#include <algorithm>
#include <cmath>
#include <iosfwd>
#include <type_traits>

namespace ZOLAR3D {

class MMatrix4;

// A 3d point or direction, the coordinate type of every scan. Plain data:
// arrays of it are read as arrays of doubles, so it must stay three adjacent
// components without a virtual table.
class ZOL3D_API MVector3d {
public:
    constexpr MVector3d() : m_v{MInvalid, MInvalid, MInvalid} {}
    constexpr MVector3d(double x, double y, double z) : m_v{x, y, z} {}
    // Widening is exact, the marker included.
    constexpr MVector3d(const MVector3f &v) : m_v{v.x(), v.y(), v.z()} {}

    static const MVector3d Invalid;
    static const MVector3d Infinity;
    static const MVector3d Zero;
    static const MVector3d XUnit;
    static const MVector3d YUnit;
    static const MVector3d ZUnit;

    constexpr double x() const { return m_v[0]; }
    constexpr double y() const { return m_v[1]; }
    constexpr double z() const { return m_v[2]; }
    void setX(double x) { m_v[0] = x; }
    void setY(double y) { m_v[1] = y; }
    void setZ(double z) { m_v[2] = z; }
    void setValues(double x, double y, double z)
    {
        m_v[0] = x;
        m_v[1] = y;
        m_v[2] = z;
    }
    double *data() { return m_v; }
    const double *data() const { return m_v; }
    double &operator[](int i) { return m_v[i]; }
    const double &operator[](int i) const { return m_v[i]; }

    MVector3d &operator=(double value)
    {
        m_v[0] = m_v[1] = m_v[2] = value;
        return *this;
    }

    MVector3f toVector3f() const { return {float(m_v[0]), float(m_v[1]), float(m_v[2])}; }
    operator MVector3f() const { return toVector3f(); }

    bool isValid() const { return MIsValidValue(m_v[0]) & MIsValidValue(m_v[1]) & MIsValidValue(m_v[2]); }
    bool isNaN() const { return std::isnan(m_v[0]) || std::isnan(m_v[1]) || std::isnan(m_v[2]); }
    // One store suffices: a marker in x makes the whole vector invalid.
    void invalidate() { m_v[0] = MInvalid; }

    bool operator==(const MVector3d &o) const { return m_v[0] == o.m_v[0] && m_v[1] == o.m_v[1] && m_v[2] == o.m_v[2]; }
    bool operator!=(const MVector3d &o) const { return !(*this == o); }
    bool equals(const MVector3d &o, double tolerance) const
    {
        return std::fabs(m_v[0] - o.m_v[0]) <= tolerance && std::fabs(m_v[1] - o.m_v[1]) <= tolerance &&
               std::fabs(m_v[2] - o.m_v[2]) <= tolerance;
    }

    MVector3d operator+(const MVector3d &o) const { return {m_v[0] + o.m_v[0], m_v[1] + o.m_v[1], m_v[2] + o.m_v[2]}; }
    MVector3d operator-(const MVector3d &o) const { return {m_v[0] - o.m_v[0], m_v[1] - o.m_v[1], m_v[2] - o.m_v[2]}; }
    MVector3d operator-() const { return {-m_v[0], -m_v[1], -m_v[2]}; }
    MVector3d operator*(double s) const { return {m_v[0] * s, m_v[1] * s, m_v[2] * s}; }
    MVector3d operator/(double s) const { return {m_v[0] / s, m_v[1] / s, m_v[2] / s}; }
    MVector3d &operator+=(const MVector3d &o) { return *this = *this + o; }
    MVector3d &operator-=(const MVector3d &o) { return *this = *this - o; }
    MVector3d &operator*=(double s) { return *this = *this * s; }
    MVector3d &operator/=(double s) { return *this = *this / s; }

    double dot(const MVector3d &o) const { return m_v[0] * o.m_v[0] + m_v[1] * o.m_v[1] + m_v[2] * o.m_v[2]; }
    MVector3d cross(const MVector3d &o) const
    {
        return {m_v[1] * o.m_v[2] - m_v[2] * o.m_v[1], m_v[2] * o.m_v[0] - m_v[0] * o.m_v[2],
                m_v[0] * o.m_v[1] - m_v[1] * o.m_v[0]};
    }
    MVector3d schurProduct(const MVector3d &o) const { return {m_v[0] * o.m_v[0], m_v[1] * o.m_v[1], m_v[2] * o.m_v[2]}; }
    MVector3d abs() const { return {std::fabs(m_v[0]), std::fabs(m_v[1]), std::fabs(m_v[2])}; }
    MVector3d inverse() const { return -*this; }
    void invert() { *this = -*this; }

    double squaredNorm() const { return isValid() ? dot(*this) : MInvalid; }
    double norm() const { return isValid() ? std::sqrt(dot(*this)) : MInvalid; }
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
    MVector3d normalized() const
    {
        const double n = norm();
        return (n < 1e-12 || n == MInvalid) ? Infinity : *this / n;
    }
    double distance(const MVector3d &o) const { return (*this - o).norm(); }
    double squaredDistance(const MVector3d &o) const { return (*this - o).squaredNorm(); }
    // Unsigned angle in [0, pi]; the marker when either vector is invalid.
    double angle(const MVector3d &o, bool alreadyNormalized = false) const
    {
        if (!isValid() || !o.isValid())
            return MInvalid;
        const double d = alreadyNormalized ? dot(o) : normalized().dot(o.normalized());
        return std::acos(std::clamp(d, -1.0, 1.0));
    }

    // Bounding box accumulators: an invalid operand is skipped.
    static MVector3d maximum(const MVector3d &a, const MVector3d &b)
    {
        if (!a.isValid())
            return b;
        if (!b.isValid())
            return a;
        return {std::max(a.m_v[0], b.m_v[0]), std::max(a.m_v[1], b.m_v[1]), std::max(a.m_v[2], b.m_v[2])};
    }
    static MVector3d minimum(const MVector3d &a, const MVector3d &b)
    {
        if (!a.isValid())
            return b;
        if (!b.isValid())
            return a;
        return {std::min(a.m_v[0], b.m_v[0]), std::min(a.m_v[1], b.m_v[1]), std::min(a.m_v[2], b.m_v[2])};
    }
    // A fixed polynomial, perpendicular to any v without branching; it
    // vanishes on the (1, 1, 1) diagonal, which callers must allow for.
    static MVector3d PerpendicularTo(const MVector3d &v)
    {
        const double x = v.m_v[0], y = v.m_v[1], z = v.m_v[2];
        return {y * x - z * z, z * y - x * x, x * z - y * y};
    }

    // matrix.transform(*this).
    void applyTransformation(const MMatrix4 &matrix);

    bool load(const char *path);
    bool load(const wchar_t *path);
    bool save(const char *path) const;
    bool save(const wchar_t *path) const;

private:
    double m_v[3];
};

static_assert(std::is_trivially_copyable_v<MVector3d> && std::is_standard_layout_v<MVector3d>);
static_assert(sizeof(MVector3d) == 3 * sizeof(double));

ZOL3D_API std::wostream &operator<<(std::wostream &out, const MVector3d &v);
ZOL3D_API std::wistream &operator>>(std::wistream &in, MVector3d &v);

inline MVector3f &MVector3f::operator=(const MVector3d &v) { return *this = v.toVector3f(); }

inline double MVector3f::distance(const MVector3d &o) const { return isValid() ? (MVector3d(*this) - o).norm() : MInvalid; }

inline double MVector3f::squaredDistance(const MVector3d &o) const
{
    return isValid() ? (MVector3d(*this) - o).squaredNorm() : MInvalid;
}

} // namespace ZOLAR3D
