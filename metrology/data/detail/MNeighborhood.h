#pragma once

#include "MVector3d.h"
#include "MVector3f.h"

#include <cmath>

namespace ZOLAR3D::detail {

// Weight of a neighbour at distance d under a Gaussian of standard deviation
// s. The ratio is formed first, so that no square overflows for huge radii.
inline double gaussian(double d, double s)
{
    const double t = d / s;
    return std::exp(-0.5 * t * t);
}

// The angle between the lines of two directions, in [0, pi/2]: a normal and
// its negation stand for the same surface. The arc tangent keeps the digits
// of small angles that an arc cosine of the dot product would lose.
inline double lineAngle(const MVector3d &a, const MVector3d &b)
{
    return std::atan2(a.cross(b).norm(), std::fabs(a.dot(b)));
}

// The normal of a neighbourhood that spreads like a surface patch: the
// direction of least spread, turned towards +Z. False, with the normal left
// alone, when the two largest spreads differ too much for a surface (a line
// or a thin strip of points).
bool surfaceNormal(const MVector3d *points, int count, MVector3f &normal);

} // namespace ZOLAR3D::detail
