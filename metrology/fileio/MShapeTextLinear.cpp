// Text files of the straight and flat shapes.
#include "MLine.h"
#include "MLineSegment.h"
#include "MPlane.h"
#include "MPolygon.h"
#include "MRay.h"
#include "MTriangle.h"
#include "metrology/fileio/detail/MShapeTextFormat.h"

namespace ZOLAR3D {

std::wostream &operator<<(std::wostream &out, const MLine &line)
{
    return MShapeTextFormat::write(out, line.position(), line.direction(), line.lengthAttribute());
}

std::wistream &operator>>(std::wistream &in, MLine &line)
{
    MVector3d position, direction;
    double length = MInvalid;
    if (MShapeTextFormat::read(in, position, direction, length)) {
        line.setPosition(position);
        line.setDirection(direction, true);
        line.setLengthAttribute(length);
    }
    return in;
}

std::wostream &operator<<(std::wostream &out, const MRay &ray)
{
    return MShapeTextFormat::write(out, ray.start(), ray.direction(), ray.lengthAttribute());
}

std::wistream &operator>>(std::wistream &in, MRay &ray)
{
    MVector3d start, direction;
    double length = MInvalid;
    if (MShapeTextFormat::read(in, start, direction, length)) {
        ray.setStart(start);
        ray.setDirection(direction, true);
        ray.setLengthAttribute(length);
    }
    return in;
}

std::wostream &operator<<(std::wostream &out, const MLineSegment &segment)
{
    return MShapeTextFormat::write(out, segment.start(), segment.end());
}

std::wistream &operator>>(std::wistream &in, MLineSegment &segment)
{
    MVector3d start, end;
    if (MShapeTextFormat::read(in, start, end))
        segment = MLineSegment(start, end);
    return in;
}

std::wostream &operator<<(std::wostream &out, const MPlane &plane)
{
    return MShapeTextFormat::write(out, plane.position(), plane.normal(), plane.u(), plane.v());
}

std::wistream &operator>>(std::wistream &in, MPlane &plane)
{
    MVector3d position, normal, u, v;
    if (MShapeTextFormat::read(in, position, normal, u, v)) {
        plane = MPlane(position, normal, true);
        plane.setU(u);
        plane.setV(v);
    }
    return in;
}

std::wostream &operator<<(std::wostream &out, const MTriangle &triangle)
{
    return MShapeTextFormat::write(out, triangle.vertex(0), triangle.vertex(1), triangle.vertex(2));
}

std::wistream &operator>>(std::wistream &in, MTriangle &triangle)
{
    MVector3d a, b, c;
    if (MShapeTextFormat::read(in, a, b, c))
        triangle = MTriangle(a, b, c);
    return in;
}

// The vertex count on a line of its own, then one vertex per line.
std::wostream &operator<<(std::wostream &out, const MPolygon &polygon)
{
    MShapeTextFormat::write(out, polygon.size());
    for (int i = 0; i < polygon.size(); ++i)
        MShapeTextFormat::write(out, polygon[i]);
    return out;
}

// The polygon grows vertex by vertex as they are read, so a count larger
// than the file fails at its end instead of reserving memory for it.
std::wistream &operator>>(std::wistream &in, MPolygon &polygon)
{
    int count = 0;
    if (!MShapeTextFormat::read(in, count))
        return in;
    if (count < 0) {
        in.setstate(std::ios_base::failbit);
        return in;
    }
    MPolygon read;
    for (int i = 0; i < count; ++i) {
        MVector3d vertex;
        if (!MShapeTextFormat::read(in, vertex))
            return in;
        read.add(vertex);
    }
    polygon = read;
    return in;
}

ZOL3D_SHAPE_TEXT_FILE(MLine)
ZOL3D_SHAPE_TEXT_FILE(MRay)
ZOL3D_SHAPE_TEXT_FILE(MLineSegment)
ZOL3D_SHAPE_TEXT_FILE(MPlane)
ZOL3D_SHAPE_TEXT_FILE(MTriangle)
ZOL3D_SHAPE_TEXT_FILE(MPolygon)

} // namespace ZOLAR3D
