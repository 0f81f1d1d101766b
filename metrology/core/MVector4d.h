#pragma once

#include "MInvalid.h"
#include "MVector3d.h"
#include "Zol3DExport.h"

#include <algorithm>
#include <cmath>
#include <iosfwd>
#include <type_traits>

namespace ZOLAR3D {

class MMatrix4;

// A homogeneous 3d point (x, y, z, w). Plain data like the other vectors.
class ZOL3D_API MVector4d {
public:
    constexpr MVector4d() : m_v{MInvalid, MInvalid, MInvalid, MInvalid} {}
    constexpr MVector4d(double x, double y, double z, double w) : m_v{x, y, z, w} {}
    // A point: w = 1.
    explicit constexpr MVector4d(const MVector3d &v) : m_v{v.x(), v.y(), v.z(), 1.0} {}

    static const MVector4d Zero;
    static const MVector4d One;

    constexpr double x() const { return m_v[0]; }
    constexpr double y() const { return m_v[1]; }
    constexpr double z() const { return m_v[2]; }
    constexpr double w() const { return m_v[3]; }
    void setX(double x) { m_v[0] = x; }
    void setY(double y) { m_v[1] = y; }
    void setZ(double z) { m_v[2] = z; }
    void setW(double w) { m_v[3] = w; }
    void setValues(double x, double y, double z, double w)
    {
        m_v[0] = x;
        m_v[1] = y;
        m_v[2] = z;
        m_v[3] = w;
    }
    double *data() { return m_v; }
    const double *data() const { return m_v; }
    double &operator[](int i) { return m_v[i]; }
    const double &operator[](int i) const { return m_v[i]; }
    // Checked access; a bad index always throws, whatever the failure policy.
    double &operator()(int i)
    {
        if (unsigned(i) > 3u)
            throwBadIndex();
        return m_v[i];
    }
    const double &operator()(int i) const
    {
        if (unsigned(i) > 3u)
            throwBadIndex();
        return m_v[i];
    }

    MVector4d &operator=(double value)
    {
        m_v[0] = m_v[1] = m_v[2] = m_v[3] = value;
        return *this;
    }

    // The Euclidean point; a point at infinity (w = 0) or an invalid w gives Infinity.
    MVector3d toVector3d() const
    {
        const double w = m_v[3];
        return (w == 0.0 || w == MInvalid) ? MVector3d::Infinity : MVector3d(m_v[0] / w, m_v[1] / w, m_v[2] / w);
    }
    operator MVector3d() const { return toVector3d(); }

    bool isValid() const
    {
        return MIsValidValue(m_v[0]) && MIsValidValue(m_v[1]) && MIsValidValue(m_v[2]) && MIsValidValue(m_v[3]);
    }
    bool isNaN() const { return std::isnan(m_v[0]) || std::isnan(m_v[1]) || std::isnan(m_v[2]) || std::isnan(m_v[3]); }
    // One store suffices: a marker in x makes the whole vector invalid.
    void invalidate() { m_v[0] = MInvalid; }

    bool operator==(const MVector4d &o) const
    {
        return m_v[0] == o.m_v[0] && m_v[1] == o.m_v[1] && m_v[2] == o.m_v[2] && m_v[3] == o.m_v[3];
    }
    bool operator!=(const MVector4d &o) const { return !(*this == o); }
    bool equals(const MVector4d &o, double tolerance) const
    {
        return std::fabs(m_v[0] - o.m_v[0]) <= tolerance && std::fabs(m_v[1] - o.m_v[1]) <= tolerance &&
               std::fabs(m_v[2] - o.m_v[2]) <= tolerance && std::fabs(m_v[3] - o.m_v[3]) <= tolerance;
    }

    MVector4d operator+(const MVector4d &o) const
    {
        return {m_v[0] + o.m_v[0], m_v[1] + o.m_v[1], m_v[2] + o.m_v[2], m_v[3] + o.m_v[3]};
    }
    MVector4d operator-(const MVector4d &o) const
    {
        return {m_v[0] - o.m_v[0], m_v[1] - o.m_v[1], m_v[2] - o.m_v[2], m_v[3] - o.m_v[3]};
    }
    MVector4d operator-() const { return {-m_v[0], -m_v[1], -m_v[2], -m_v[3]}; }
    MVector4d operator*(double s) const { return {m_v[0] * s, m_v[1] * s, m_v[2] * s, m_v[3] * s}; }
    MVector4d operator/(double s) const { return {m_v[0] / s, m_v[1] / s, m_v[2] / s, m_v[3] / s}; }
    MVector4d &operator+=(const MVector4d &o) { return *this = *this + o; }
    MVector4d &operator-=(const MVector4d &o) { return *this = *this - o; }
    MVector4d &operator*=(double s) { return *this = *this * s; }
    MVector4d &operator/=(double s) { return *this = *this / s; }

    double dot(const MVector4d &o) const
    {
        return m_v[0] * o.m_v[0] + m_v[1] * o.m_v[1] + m_v[2] * o.m_v[2] + m_v[3] * o.m_v[3];
    }
    MVector4d schurProduct(const MVector4d &o) const
    {
        return {m_v[0] * o.m_v[0], m_v[1] * o.m_v[1], m_v[2] * o.m_v[2], m_v[3] * o.m_v[3]};
    }
    MVector4d abs() const { return {std::fabs(m_v[0]), std::fabs(m_v[1]), std::fabs(m_v[2]), std::fabs(m_v[3])}; }
    MVector4d inverse() const { return -*this; }
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
    MVector4d normalized() const
    {
        const double n = norm();
        return (n < 1e-12 || n == MInvalid) ? MVector4d() : *this / n;
    }
    double distance(const MVector4d &o) const { return (*this - o).norm(); }
    double squaredDistance(const MVector4d &o) const { return (*this - o).squaredNorm(); }
    // Unsigned angle in [0, pi]; the marker when either vector is invalid.
    double angle(const MVector4d &o, bool alreadyNormalized = false) const
    {
        if (!isValid() || !o.isValid())
            return MInvalid;
        const double d = alreadyNormalized ? dot(o) : normalized().dot(o.normalized());
        return std::acos(std::clamp(d, -1.0, 1.0));
    }

    // Bounding box accumulators: an invalid operand is skipped.
    static MVector4d maximum(const MVector4d &a, const MVector4d &b)
    {
        if (!a.isValid())
            return b;
        if (!b.isValid())
            return a;
        return {std::max(a.m_v[0], b.m_v[0]), std::max(a.m_v[1], b.m_v[1]), std::max(a.m_v[2], b.m_v[2]),
                std::max(a.m_v[3], b.m_v[3])};
    }
    static MVector4d minimum(const MVector4d &a, const MVector4d &b)
    {
        if (!a.isValid())
            return b;
        if (!b.isValid())
            return a;
        return {std::min(a.m_v[0], b.m_v[0]), std::min(a.m_v[1], b.m_v[1]), std::min(a.m_v[2], b.m_v[2]),
                std::min(a.m_v[3], b.m_v[3])};
    }

    // matrix.transform(*this).
    void applyTransformation(const MMatrix4 &matrix);

    bool load(const char *path);
    bool load(const wchar_t *path);
    bool save(const char *path) const;
    bool save(const wchar_t *path) const;

private:
    [[noreturn]] static void throwBadIndex();

    double m_v[4];
};

static_assert(std::is_trivially_copyable_v<MVector4d> && std::is_standard_layout_v<MVector4d>);
static_assert(sizeof(MVector4d) == 4 * sizeof(double));

ZOL3D_API std::wostream &operator<<(std::wostream &out, const MVector4d &v);
ZOL3D_API std::wistream &operator>>(std::wistream &in, MVector4d &v);

} // namespace ZOLAR3D
