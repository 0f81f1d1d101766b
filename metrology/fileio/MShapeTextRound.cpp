// Text files of the round shapes and the box. A box is its size and then its
// pose; the inverse pose is not stored but formed again on reading.
#include "MBox.h"
#include "MCircle.h"
#include "MCone.h"
#include "MCylinder.h"
#include "MEllipse.h"
#include "MSphere.h"
#include "metrology/fileio/detail/MShapeTextFormat.h"

namespace ZOLAR3D {

std::wostream &operator<<(std::wostream &out, const MCircle &circle)
{
    return MShapeTextFormat::write(out, circle.position(), circle.normal(), circle.radius());
}

std::wistream &operator>>(std::wistream &in, MCircle &circle)
{
    MVector3d position, normal;
    double radius = MInvalid;
    if (MShapeTextFormat::read(in, position, normal, radius))
        circle = MCircle(position, normal, radius, true);
    return in;
}

std::wostream &operator<<(std::wostream &out, const MEllipse &ellipse)
{
    return MShapeTextFormat::write(out, ellipse.position(), ellipse.normal(), ellipse.radiusA(), ellipse.radiusB());
}

std::wistream &operator>>(std::wistream &in, MEllipse &ellipse)
{
    MVector3d position, normal;
    double radiusA = MInvalid, radiusB = MInvalid;
    if (MShapeTextFormat::read(in, position, normal, radiusA, radiusB))
        ellipse = MEllipse(position, normal, radiusA, radiusB, true);
    return in;
}

std::wostream &operator<<(std::wostream &out, const MSphere &sphere)
{
    return MShapeTextFormat::write(out, sphere.position(), sphere.radius());
}

std::wistream &operator>>(std::wistream &in, MSphere &sphere)
{
    MVector3d position;
    double radius = MInvalid;
    if (MShapeTextFormat::read(in, position, radius))
        sphere = MSphere(position, radius);
    return in;
}

std::wostream &operator<<(std::wostream &out, const MCylinder &cylinder)
{
    return MShapeTextFormat::write(out, cylinder.position(), cylinder.direction(), cylinder.radius(),
                                   cylinder.length());
}

std::wistream &operator>>(std::wistream &in, MCylinder &cylinder)
{
    MVector3d position, direction;
    double radius = MInvalid, length = MInvalid;
    if (MShapeTextFormat::read(in, position, direction, radius, length))
        cylinder = MCylinder(position, direction, radius, length, true);
    return in;
}

std::wostream &operator<<(std::wostream &out, const MCone &cone)
{
    return MShapeTextFormat::write(out, cone.position(), cone.direction(), cone.radius(), cone.angle(),
                                   cone.length());
}

std::wistream &operator>>(std::wistream &in, MCone &cone)
{
    MVector3d position, direction;
    double radius = MInvalid, angle = MInvalid, length = MInvalid;
    if (MShapeTextFormat::read(in, position, direction, radius, angle, length))
        cone = MCone(position, direction, radius, angle, length, true);
    return in;
}

std::wostream &operator<<(std::wostream &out, const MBox &box) { return MShapeTextFormat::write(out, box.size(), box.pose()); }

std::wistream &operator>>(std::wistream &in, MBox &box)
{
    MVector3d size;
    MMatrix4 pose;
    if (MShapeTextFormat::read(in, size, pose))
        box = MBox(size, pose);
    return in;
}

ZOL3D_SHAPE_TEXT_FILE(MCircle)
ZOL3D_SHAPE_TEXT_FILE(MEllipse)
ZOL3D_SHAPE_TEXT_FILE(MSphere)
ZOL3D_SHAPE_TEXT_FILE(MCylinder)
ZOL3D_SHAPE_TEXT_FILE(MCone)
ZOL3D_SHAPE_TEXT_FILE(MBox)

} // namespace ZOLAR3D
