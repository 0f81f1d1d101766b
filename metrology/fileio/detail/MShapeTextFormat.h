#pragma once

#include "MMatrix4.h"
#include "MVector3d.h"
#include "metrology/core/detail/MPathEncoding.h"
#include "metrology/fileio/detail/MTextFile.h"

#include <istream>
#include <ostream>

namespace ZOLAR3D {

// The text form of a shape: its members in the order of its data, each on a
// line of its own, vectors as the vector text form writes them and scalars
// with 12 digits. Every shape's stream operators are written with these two
// so that all shape files read and write alike.
struct MShapeTextFormat {
    template <class... Members>
    static std::wostream &write(std::wostream &out, const Members &...members)
    {
        (writeMember(out, members), ...);
        return out;
    }

    // Reads into the given variables, which the caller applies to the shape
    // only when the stream has not failed.
    template <class... Members>
    static std::wistream &read(std::wistream &in, Members &...members)
    {
        (readMember(in, members), ...);
        return in;
    }

private:
    static void writeMember(std::wostream &out, const MVector3d &v) { out << v; }
    static void writeMember(std::wostream &out, const MMatrix4 &m) { out << m; }
    static void writeMember(std::wostream &out, double value)
    {
        MStreamPrecision precision(out, MTextFile::DoublePrecision);
        out << value << L'\n';
    }
    static void writeMember(std::wostream &out, int value) { out << value << L'\n'; }

    static void readMember(std::wistream &in, MVector3d &v) { in >> v; }
    static void readMember(std::wistream &in, MMatrix4 &m) { in >> m; }
    static void readMember(std::wistream &in, double &value) { MTextFile::read(in, value); }
    static void readMember(std::wistream &in, int &value) { in >> value; }
};

// Defines the four load and save members of a shape class: the narrow path
// forms widen and forward, the wide forms go through MTextFile.
#define ZOL3D_SHAPE_TEXT_FILE(Class)                                                                   \
    bool Class::load(const char *path) { return load(MPathEncoding::widen(path).c_str()); }             \
    bool Class::load(const wchar_t *path) { return MTextFile::load(path, *this); }                      \
    bool Class::save(const char *path) const { return save(MPathEncoding::widen(path).c_str()); }       \
    bool Class::save(const wchar_t *path) const { return MTextFile::save(path, *this); }

} // namespace ZOLAR3D
