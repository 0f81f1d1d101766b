#pragma once

#include "MBox.h"
#include "MCone.h"
#include "MCylinder.h"
#include "MInvalid.h"
#include "MRangeImage.h"
#include "MSphere.h"
#include "MVector3d.h"

#include <cmath>
#include <type_traits>

namespace ZOLAR3D::detail {

// The per-point questions that the cloud asks of every shape, inline so that
// the loops over millions of points pay for no call.

// The shape's own distance, which answers the marker for an invalid point or
// shape.
template <class Shape>
inline double distanceOf(const Shape &shape, const MVector3d &p)
{
    return shape.distance(p);
}

// A distance of the marker means that the shape has none for the point, and
// that is never in range, however wide the range.
inline bool isDistanceInRange(double d, double min, double max) { return d != MInvalid && min <= d && d <= max; }

// The image looks a point up by two of its coordinates only, so a marker in
// the third would pass as a height: the point is tested here.
inline double distanceOf(const MRangeImage &image, const MVector3d &p)
{
    return p.isValid() ? image.distance(p) : MInvalid;
}

inline double distanceOfValid(const MVector3d &point, const MVector3d &p)
{
    const MVector3d w = p - point;
    return std::sqrt(w.dot(w));
}

inline double distanceOf(const MVector3d &point, const MVector3d &p)
{
    return point.isValid() && p.isValid() ? distanceOfValid(point, p) : MInvalid;
}

// The shape's distance for a valid shape and a valid point, without the
// checks, for loops that have checked both once.
template <class Shape>
inline double distanceOfValid(const Shape &shape, const MVector3d &p)
{
    return shape.distanceOfValid(p);
}

// Whether an along-axis offset lies between the two ends; a length equal to
// the marker leaves the solid open along the axis.
inline bool isWithinLength(double along, double length)
{
    return length == MInvalid || std::fabs(along) <= 0.5 * length;
}

// Membership of the closed solid; false for invalid points and shapes.
inline bool isInside(const MBox &box, const MVector3d &p) { return box.distance(p) <= 0.0; }
inline bool isInside(const MSphere &sphere, const MVector3d &p) { return sphere.distance(p) <= 0.0; }
inline bool isInside(const MCylinder &cylinder, const MVector3d &p)
{
    return cylinder.distance(p) <= 0.0 && isWithinLength((p - cylinder.position()).dot(cylinder.direction()), cylinder.length());
}
// The mantle's sign already ends the solid at the apex.
inline bool isInside(const MCone &cone, const MVector3d &p)
{
    return cone.distance(p) <= 0.0 && isWithinLength((p - cone.position()).dot(cone.direction()), cone.length());
}

// Runs body on a local copy of a small shape: stores through the loop's
// output pointers cannot alias a local, so its members stay in registers.
// Shapes that own storage, such as a range image, are passed as they are.
template <class Shape, class Body>
inline void withLocalShape(const Shape &shape, Body body)
{
    if constexpr (std::is_trivially_copyable_v<Shape>) {
        const Shape local = shape;
        body(local);
    } else {
        body(shape);
    }
}

} // namespace ZOLAR3D::detail
