#pragma once

#include "MSphere.h"
#include "MVector3d.h"

namespace ZOLAR3D {

// The smallest sphere that encloses the valid points, exactly up to
// rounding: the pivoting method with move-to-front recursion. A single
// point gives itself with radius 0; no valid point, an invalid sphere.
MSphere smallestEnclosingBall(const MVector3d *points, int n);

} // namespace ZOLAR3D
