#pragma once

#include "MVector3d.h"

#include <algorithm>
#include <cmath>

namespace ZOLAR3D {

// Makes the sign of a direction unique: the component of largest magnitude
// comes out positive. When several components share that magnitude and any of
// them is negative, the vector is negated once, whichever it is; so (1, -1, 0)
// and (-1, 1, 0) swap, and a null vector stays as it is.
inline void orientDirection(MVector3d &direction)
{
    const double ax = std::fabs(direction.x()), ay = std::fabs(direction.y()), az = std::fabs(direction.z());
    const double largest = std::max({ax, ay, az});
    if ((ax == largest && direction.x() < 0.0) || (ay == largest && direction.y() < 0.0) ||
        (az == largest && direction.z() < 0.0))
        direction = -direction;
}

} // namespace ZOLAR3D
