#pragma once

#include "MVector3d.h"

#include <algorithm>
#include <cmath>

namespace ZOLAR3D {

// Makes the sign of a direction unique: the component of largest magnitude
// comes out positive. When several components tie for the largest magnitude
// and any of them is negative, the whole vector flips once, so (1, -1, 0)
// and (-1, 1, 0) swap into each other. Every fitted direction and principal
// axis of the library comes out of this rule, so it stays exactly so and
// does not become a lexical order. A zero vector, and a vector holding the
// marker, stay as they are.
inline void orientDominantPositive(MVector3d &direction)
{
    const double x = direction.x(), y = direction.y(), z = direction.z();
    const double ax = std::fabs(x), ay = std::fabs(y), az = std::fabs(z);
    const double largest = std::max(ax, std::max(ay, az));
    if ((ax == largest && x < 0.0) || (ay == largest && y < 0.0) || (az == largest && z < 0.0))
        direction = -direction;
}

} // namespace ZOLAR3D
