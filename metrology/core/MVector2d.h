#pragma once

#include "MInvalid.h"
#include "Zol3DExport.h"

#include <algorithm>
#include <cmath>
#include <iosfwd>
#include <type_traits>

namespace ZOLAR3D {

class MMatrix2;
class MMatrix3;

// A 2d point or direction. Plain data: arrays of it are read as arrays of
// doubles, so it must stay two adjacent components without a virtual table.
class ZOL3D_API MVector2d {
public:
    constexpr MVector2d() : m_v{MInvalid, MInvalid} {}
    constexpr MVector2d(double x, double y) : m_v{x, y} {}

    static const MVector2d Invalid;
    static const MVector2d Infinity;
    static const MVector2d Zero;
    static const MVector2d XUnit;
    static const MVector2d YUnit;

    constexpr double x() const { return m_v[0]; }
    constexpr double y() const { return m_v[1]; }
    void setX(double x) { m_v[0] = x; }
    void setY(double y) { m_v[1] = y; }
    void setValues(double x, double y)
    {
        m_v[0] = x;
        m_v[1] = y;
    }
    double *data() { return m_v; }
    const double *data() const { return m_v; }
    double &operator[](int i) { return m_v[i]; }
    const double &operator[](int i) const { return m_v[i]; }

    MVector2d &operator=(double value)
    {
        m_v[0] = m_v[1] = value;
        return *this;
    }

    bool isValid() const { return MIsValidValue(m_v[0]) && MIsValidValue(m_v[1]); }
    bool isNaN() const { return std::isnan(m_v[0]) || std::isnan(m_v[1]); }
    // One store suffices: a marker in x makes the whole vector invalid.
    void invalidate() { m_v[0] = MInvalid; }

    bool operator==(const MVector2d &o) const { return m_v[0] == o.m_v[0] && m_v[1] == o.m_v[1]; }
    bool operator!=(const MVector2d &o) const { return !(*this == o); }
    bool equals(const MVector2d &o, double tolerance) const
    {
        return std::fabs(m_v[0] - o.m_v[0]) <= tolerance && std::fabs(m_v[1] - o.m_v[1]) <= tolerance;
    }

    MVector2d operator+(const MVector2d &o) const { return {m_v[0] + o.m_v[0], m_v[1] + o.m_v[1]}; }
    MVector2d operator-(const MVector2d &o) const { return {m_v[0] - o.m_v[0], m_v[1] - o.m_v[1]}; }
    MVector2d operator-() const { return {-m_v[0], -m_v[1]}; }
    MVector2d operator*(double s) const { return {m_v[0] * s, m_v[1] * s}; }
    MVector2d operator/(double s) const { return {m_v[0] / s, m_v[1] / s}; }
    MVector2d &operator+=(const MVector2d &o) { return *this = *this + o; }
    MVector2d &operator-=(const MVector2d &o) { return *this = *this - o; }
    MVector2d &operator*=(double s) { return *this = *this * s; }
    MVector2d &operator/=(double s) { return *this = *this / s; }

    double dot(const MVector2d &o) const { return m_v[0] * o.m_v[0] + m_v[1] * o.m_v[1]; }
    // The z component of the 3d cross product of the two vectors.
    double cross(const MVector2d &o) const { return m_v[0] * o.m_v[1] - m_v[1] * o.m_v[0]; }
    MVector2d schurProduct(const MVector2d &o) const { return {m_v[0] * o.m_v[0], m_v[1] * o.m_v[1]}; }
    MVector2d abs() const { return {std::fabs(m_v[0]), std::fabs(m_v[1])}; }
    MVector2d inverse() const { return -*this; }
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
    MVector2d normalized() const
    {
        const double n = norm();
        return (n < 1e-12 || n == MInvalid) ? Infinity : *this / n;
    }
    double distance(const MVector2d &o) const { return (*this - o).norm(); }
    double squaredDistance(const MVector2d &o) const { return (*this - o).squaredNorm(); }
    // Unsigned angle in [0, pi]; the marker when either vector is invalid.
    double angle(const MVector2d &o, bool alreadyNormalized = false) const
    {
        if (!isValid() || !o.isValid())
            return MInvalid;
        const double d = alreadyNormalized ? dot(o) : normalized().dot(o.normalized());
        return std::acos(std::clamp(d, -1.0, 1.0));
    }

    // Bounding box accumulators: an invalid operand is skipped.
    static MVector2d maximum(const MVector2d &a, const MVector2d &b)
    {
        if (!a.isValid())
            return b;
        if (!b.isValid())
            return a;
        return {std::max(a.m_v[0], b.m_v[0]), std::max(a.m_v[1], b.m_v[1])};
    }
    static MVector2d minimum(const MVector2d &a, const MVector2d &b)
    {
        if (!a.isValid())
            return b;
        if (!b.isValid())
            return a;
        return {std::min(a.m_v[0], b.m_v[0]), std::min(a.m_v[1], b.m_v[1])};
    }
    static MVector2d PerpendicularTo(const MVector2d &v) { return {v.m_v[1], -v.m_v[0]}; }

    // matrix.transform(*this).
    void applyTransformation(const MMatrix2 &matrix);
    void applyTransformation(const MMatrix3 &matrix);

    bool load(const char *path);
    bool load(const wchar_t *path);
    bool save(const char *path) const;
    bool save(const wchar_t *path) const;

private:
    double m_v[2];
};

static_assert(std::is_trivially_copyable_v<MVector2d> && std::is_standard_layout_v<MVector2d>);
static_assert(sizeof(MVector2d) == 2 * sizeof(double));

ZOL3D_API std::wostream &operator<<(std::wostream &out, const MVector2d &v);
ZOL3D_API std::wistream &operator>>(std::wistream &in, MVector2d &v);

} // namespace ZOLAR3D
