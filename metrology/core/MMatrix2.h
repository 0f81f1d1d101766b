#pragma once

#include "MFailure.h"
#include "MVector2d.h"
#include "Zol3DExport.h"

#include <iosfwd>
#include <type_traits>

namespace ZOLAR3D {

// A 2x2 matrix kept in five doubles, a layout that readers of data() rely on.
// Two index schemes live side by side and are deliberately not reconciled:
// the arithmetic (four-number constructor, products, transform, inverse,
// determinant, FromEuler, Scaling) has its rows at indices 0 and 3, while
// operator(), ==, equals, norm and transposed address index row * 2 + col.
class ZOL3D_API MMatrix2 {
public:
    constexpr MMatrix2() : m_m{1.0, 0.0, 0.0, 0.0, 1.0} {}
    // Rows (a, b) and (c, d), stored at indices 0, 1 and 3, 4.
    constexpr MMatrix2(double a, double b, double c, double d) : m_m{a, b, 0.0, c, d} {}

    static const MMatrix2 Identity;
    static const MMatrix2 Zero;

    // Element row * 2 + col of the storage.
    double &operator()(int row, int col)
    {
        if (unsigned(row) < 2u && unsigned(col) < 2u)
            return m_m[row * 2 + col];
        return MFailure::raiseElement("MMatrix2::operator(row,col): invalid index");
    }
    const double &operator()(int row, int col) const
    {
        if (unsigned(row) < 2u && unsigned(col) < 2u)
            return m_m[row * 2 + col];
        return MFailure::raiseConstElement("MMatrix2::operator(row,col): invalid index");
    }
    double *data() { return m_m; }
    const double *data() const { return m_m; }

    bool operator==(const MMatrix2 &o) const;
    bool operator!=(const MMatrix2 &o) const { return !(*this == o); }
    bool equals(const MMatrix2 &o, double tolerance) const;
    double norm() const;
    MMatrix2 transposed() const;

    double determinant() const { return m_m[0] * m_m[4] - m_m[1] * m_m[3]; }
    // Zero when the determinant is exactly 0.
    MMatrix2 inverse() const;
    void invert() { *this = inverse(); }

    MMatrix2 operator*(const MMatrix2 &o) const;
    MMatrix2 operator*(double s) const { return {m_m[0] * s, m_m[1] * s, m_m[2], m_m[3] * s, m_m[4] * s}; }
    MMatrix2 operator/(double s) const { return {m_m[0] / s, m_m[1] / s, m_m[2], m_m[3] / s, m_m[4] / s}; }
    MMatrix2 &operator*=(double s) { return *this = *this * s; }
    MMatrix2 &operator/=(double s) { return *this = *this / s; }

    // Infinity for an invalid vector.
    MVector2d operator*(const MVector2d &v) const { return v.isValid() ? map(v) : MVector2d::Infinity; }
    // An invalid vector is left untouched.
    void transform(MVector2d &v) const
    {
        if (v.isValid())
            v = map(v);
    }

    // The third factor is taken for symmetry with the larger matrices and ignored.
    static MMatrix2 Scaling(double sx, double sy, double sz = 1.0);
    // The upper left block of MMatrix3::FromEuler(a, b, 0).
    static MMatrix2 FromEuler(double a, double b);

    bool load(const char *path);
    bool load(const wchar_t *path);
    bool save(const char *path) const;
    bool save(const wchar_t *path) const;

private:
    // All five storage places, for the scalar products that keep index 2 as it is.
    constexpr MMatrix2(double m0, double m1, double m2, double m3, double m4) : m_m{m0, m1, m2, m3, m4} {}
    MVector2d map(const MVector2d &v) const
    {
        return {m_m[0] * v.x() + m_m[1] * v.y(), m_m[3] * v.x() + m_m[4] * v.y()};
    }

    double m_m[5];
};

static_assert(std::is_trivially_copyable_v<MMatrix2> && sizeof(MMatrix2) == 5 * sizeof(double));

// Written and read as the rows of the arithmetic scheme, one per line.
ZOL3D_API std::wostream &operator<<(std::wostream &out, const MMatrix2 &m);
ZOL3D_API std::wistream &operator>>(std::wistream &in, MMatrix2 &m);

} // namespace ZOLAR3D
