// Text form of the vector and matrix values: numbers separated by one blank,
// one line per vector or matrix row, doubles with 12 digits, floats with 7.
#include "MMatrix2.h"
#include "MMatrix3.h"
#include "MMatrix4.h"
#include "MVector2d.h"
#include "MVector3d.h"
#include "MVector3f.h"
#include "MVector4d.h"
#include "metrology/fileio/detail/MTextFile.h"

#include <algorithm>
#include <istream>
#include <ostream>

namespace ZOLAR3D {

namespace {

template <class T>
constexpr int precisionOf()
{
    return sizeof(T) == sizeof(float) ? MTextFile::FloatPrecision : MTextFile::DoublePrecision;
}

// Writes `rows` lines of `columns` numbers each.
template <class T>
std::wostream &writeRows(std::wostream &out, const T *values, int rows, int columns)
{
    MStreamPrecision precision(out, precisionOf<T>());
    for (int row = 0; row < rows; ++row) {
        for (int col = 0; col < columns; ++col) {
            if (col > 0)
                out << L' ';
            out << values[row * columns + col];
        }
        out << L'\n';
    }
    return out;
}

// Reads count numbers; the target is changed only when all of them were read.
template <class T, int Count>
std::wistream &readAll(std::wistream &in, T *target)
{
    T values[Count];
    for (T &value : values)
        MTextFile::read(in, value);
    if (!in.fail())
        std::copy(values, values + Count, target);
    return in;
}

} // namespace

std::wostream &operator<<(std::wostream &out, const MVector2d &v) { return writeRows(out, v.data(), 1, 2); }
std::wostream &operator<<(std::wostream &out, const MVector3d &v) { return writeRows(out, v.data(), 1, 3); }
std::wostream &operator<<(std::wostream &out, const MVector3f &v) { return writeRows(out, v.data(), 1, 3); }
std::wostream &operator<<(std::wostream &out, const MVector4d &v) { return writeRows(out, v.data(), 1, 4); }

std::wistream &operator>>(std::wistream &in, MVector2d &v) { return readAll<double, 2>(in, v.data()); }
std::wistream &operator>>(std::wistream &in, MVector3d &v) { return readAll<double, 3>(in, v.data()); }
std::wistream &operator>>(std::wistream &in, MVector3f &v) { return readAll<float, 3>(in, v.data()); }
std::wistream &operator>>(std::wistream &in, MVector4d &v) { return readAll<double, 4>(in, v.data()); }

// MMatrix2 is written as the rows of its arithmetic, (0, 1) and (3, 4), and
// read back through the four-number constructor.
std::wostream &operator<<(std::wostream &out, const MMatrix2 &m)
{
    const double rows[4] = {m.data()[0], m.data()[1], m.data()[3], m.data()[4]};
    return writeRows(out, rows, 2, 2);
}
std::wostream &operator<<(std::wostream &out, const MMatrix3 &m) { return writeRows(out, m.data(), 3, 3); }
std::wostream &operator<<(std::wostream &out, const MMatrix4 &m) { return writeRows(out, m.data(), 4, 4); }

std::wistream &operator>>(std::wistream &in, MMatrix2 &m)
{
    double rows[4];
    if (readAll<double, 4>(in, rows))
        m = MMatrix2(rows[0], rows[1], rows[2], rows[3]);
    return in;
}
std::wistream &operator>>(std::wistream &in, MMatrix3 &m) { return readAll<double, 9>(in, m.data()); }
std::wistream &operator>>(std::wistream &in, MMatrix4 &m) { return readAll<double, 16>(in, m.data()); }

// The narrow path forms widen and forward; the wide forms go through the
// shared text file mechanism.
#define ZOL3D_VALUE_TEXT_FILE(Class)                                                                   \
    bool Class::load(const char *path) { return load(MPathEncoding::widen(path).c_str()); }             \
    bool Class::load(const wchar_t *path) { return MTextFile::load(path, *this); }                      \
    bool Class::save(const char *path) const { return save(MPathEncoding::widen(path).c_str()); }       \
    bool Class::save(const wchar_t *path) const { return MTextFile::save(path, *this); }

ZOL3D_VALUE_TEXT_FILE(MVector2d)
ZOL3D_VALUE_TEXT_FILE(MVector3d)
ZOL3D_VALUE_TEXT_FILE(MVector3f)
ZOL3D_VALUE_TEXT_FILE(MVector4d)
ZOL3D_VALUE_TEXT_FILE(MMatrix2)
ZOL3D_VALUE_TEXT_FILE(MMatrix3)
ZOL3D_VALUE_TEXT_FILE(MMatrix4)

#undef ZOL3D_VALUE_TEXT_FILE

} // namespace ZOLAR3D
