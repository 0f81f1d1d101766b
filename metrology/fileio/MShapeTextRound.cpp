// Text form of the round shapes and the box: member by member in the order of
// the class, each vector and each scalar on a line of its own, doubles with
// 12 digits. A box is its size and then its pose; the inverse pose is not
// stored but formed again on reading.
#include "MBox.h"
#include "MCircle.h"
#include "MCone.h"
#include "MCylinder.h"
#include "MEllipse.h"
#include "MMatrix4.h"
#include "MSphere.h"
#include "metrology/fileio/detail/MTextFile.h"

#include <istream>
#include <ostream>

namespace ZOLAR3D {

namespace {

// Writes the scalars one per line.
template <class... Scalars>
std::wostream &writeScalars(std::wostream &out, Scalars... scalars)
{
    MStreamPrecision precision(out, MTextFile::DoublePrecision);
    ((out << scalars << L'\n'), ...);
    return out;
}

// Reads the scalars in order; each keeps the marker as the marker.
template <class... Scalars>
std::wistream &readScalars(std::wistream &in, Scalars &...scalars)
{
    (MTextFile::read(in, scalars), ...);
    return in;
}

} // namespace

// Each reader fills locals and changes the shape only when everything was read.

std::wostream &operator<<(std::wostream &out, const MCircle &circle)
{
    out << circle.position() << circle.normal();
    return writeScalars(out, circle.radius());
}

std::wistream &operator>>(std::wistream &in, MCircle &circle)
{
    MVector3d position, normal;
    double radius;
    if (readScalars(in >> position >> normal, radius))
        circle = MCircle(position, normal, radius, true);
    return in;
}

std::wostream &operator<<(std::wostream &out, const MEllipse &ellipse)
{
    out << ellipse.position() << ellipse.normal();
    return writeScalars(out, ellipse.radiusA(), ellipse.radiusB());
}

std::wistream &operator>>(std::wistream &in, MEllipse &ellipse)
{
    MVector3d position, normal;
    double radiusA, radiusB;
    if (readScalars(in >> position >> normal, radiusA, radiusB))
        ellipse = MEllipse(position, normal, radiusA, radiusB, true);
    return in;
}

std::wostream &operator<<(std::wostream &out, const MSphere &sphere)
{
    out << sphere.position();
    return writeScalars(out, sphere.radius());
}

std::wistream &operator>>(std::wistream &in, MSphere &sphere)
{
    MVector3d position;
    double radius;
    if (readScalars(in >> position, radius))
        sphere = MSphere(position, radius);
    return in;
}

std::wostream &operator<<(std::wostream &out, const MCylinder &cylinder)
{
    out << cylinder.position() << cylinder.direction();
    return writeScalars(out, cylinder.radius(), cylinder.length());
}

std::wistream &operator>>(std::wistream &in, MCylinder &cylinder)
{
    MVector3d position, direction;
    double radius, length;
    if (readScalars(in >> position >> direction, radius, length))
        cylinder = MCylinder(position, direction, radius, length, true);
    return in;
}

std::wostream &operator<<(std::wostream &out, const MCone &cone)
{
    out << cone.position() << cone.direction();
    return writeScalars(out, cone.radius(), cone.angle(), cone.length());
}

std::wistream &operator>>(std::wistream &in, MCone &cone)
{
    MVector3d position, direction;
    double radius, angle, length;
    if (readScalars(in >> position >> direction, radius, angle, length))
        cone = MCone(position, direction, radius, angle, length, true);
    return in;
}

std::wostream &operator<<(std::wostream &out, const MBox &box) { return out << box.size() << box.pose(); }

std::wistream &operator>>(std::wistream &in, MBox &box)
{
    MVector3d size;
    MMatrix4 pose;
    if (in >> size >> pose)
        box = MBox(size, pose);
    return in;
}

// The narrow path forms widen and forward; the wide forms go through the
// shared text file mechanism.
#define ZOL3D_SHAPE_TEXT_FILE(Class)                                                                   \
    bool Class::load(const char *path) { return load(MPathEncoding::widen(path).c_str()); }             \
    bool Class::load(const wchar_t *path) { return MTextFile::load(path, *this); }                      \
    bool Class::save(const char *path) const { return save(MPathEncoding::widen(path).c_str()); }       \
    bool Class::save(const wchar_t *path) const { return MTextFile::save(path, *this); }

ZOL3D_SHAPE_TEXT_FILE(MCircle)
ZOL3D_SHAPE_TEXT_FILE(MEllipse)
ZOL3D_SHAPE_TEXT_FILE(MSphere)
ZOL3D_SHAPE_TEXT_FILE(MCylinder)
ZOL3D_SHAPE_TEXT_FILE(MCone)
ZOL3D_SHAPE_TEXT_FILE(MBox)

#undef ZOL3D_SHAPE_TEXT_FILE

} // namespace ZOLAR3D
