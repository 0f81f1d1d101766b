#pragma once

#include "MCircle.h"
#include "MMatrix3.h"
#include "MPrincipalComponentAnalysis.h"
#include "MSphere.h"
#include "MVector3d.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace ZOLAR3D {

// The closed-form fits that give the round fits their start values, and the
// exact spheres of the smallest point counts. Each takes valid points and
// answers an invalid shape where the points do not determine one.

// The algebraic (Kasa) circle of the points' x and y: the centre minimises
// the sum of (x² + y² + D x + E y + F)². Its z is the mean z, its normal
// (0, 0, 1). Collinear points, and fewer than 3, have none.
MCircle algebraicCircle(const MVector3d *points, int n);

// The algebraic sphere: x² + y² + z² = t0 + t1 x + t2 y + t3 z in the least
// squares sense. Coplanar points, and fewer than 4, have none.
MSphere algebraicSphere(const MVector3d *points, int n);

// The sphere through 2 to 4 points whose centre lies in their affine hull:
// for 2 points the midpoint, for 3 the circumcentre in their plane, for 4
// that of the tetrahedron. Points that are affinely dependent have none.
MSphere circumsphere(const MVector3d *points, int n);

// The points turned by `rotation`, for the start fits that look along an axis.
std::vector<MVector3d> rotatedPoints(const MMatrix3 &rotation, const MVector3d *points, int n);

// Whether n points with these principal components lie on one line, or on
// one point, as far as the numbers can tell: their spread across the
// principal axis is lost in the rounding of the eigen solver, which is about
// the double epsilon of the largest eigenvalue, or in that of their
// coordinates. An axis through such points has nothing around it: projected
// along it they collapse into a point whose rounding noise would pass for a
// tiny circle.
inline bool isLineLike(const MPrincipalComponentAnalysis &pca, int n)
{
    const MVector3d c = pca.center();
    const double farthest = std::max(std::fabs(c.x()), std::max(std::fabs(c.y()), std::fabs(c.z())));
    const double across = std::fabs(pca.eigenValue(1));
    return !(across > 1e-14 * std::fabs(pca.eigenValue(0)) && std::sqrt(across / n) > 1e-12 * farthest);
}

// Whether a fixed radius is usable: 0 for a free radius, or positive and finite.
inline bool isUsableFixedRadius(double fixedRadius)
{
    return fixedRadius == 0.0 || (fixedRadius > 0.0 && fixedRadius < MInvalid);
}

// Whether every parameter came out as a finite number.
inline bool allFinite(const double *parameters, int n)
{
    for (int i = 0; i < n; ++i)
        if (!(parameters[i] - parameters[i] == 0.0))
            return false;
    return true;
}

} // namespace ZOLAR3D
