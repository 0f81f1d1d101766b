#pragma once

#include "MMatrix3.h"

namespace ZOLAR3D {

// The rotation taking the unit vector u into +Z, in closed form with
// k = 1 / (z + 1). It has no answer for u = -Z: each caller decides what to
// do there.
inline MMatrix3 vectorIntoZRows(const MVector3d &u)
{
    const double x = u.x(), y = u.y(), z = u.z();
    const double k = 1.0 / (z + 1.0);
    return {1.0 - x * x * k, -x * y * k, -x, -x * y * k, 1.0 - y * y * k, -y, x, y, z};
}

} // namespace ZOLAR3D
