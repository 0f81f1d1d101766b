#pragma once

#include "MMatrix4.h"
#include "MVector3d.h"

namespace ZOLAR3D {

// MMatrix4::Pose for shapes, whose poses never raise: a frame with an axis
// that has no direction is MMatrix4::Zero.
inline MMatrix4 shapePose(const MVector3d &x, const MVector3d &y, const MVector3d &z, const MVector3d &origin)
{
    if (!x.normalized().isValid() || !y.normalized().isValid() || !z.normalized().isValid() || !origin.isValid())
        return MMatrix4::Zero;
    return MMatrix4::Pose(x, y, z, origin);
}

// An axis perpendicular to the unit vector n: n x (n.y, n.z, n.x), and for the
// normals on the (1, 1, 1) diagonal, where that product vanishes, n x X.
inline MVector3d perpendicularAxis(const MVector3d &n)
{
    const MVector3d axis = n.cross(MVector3d(n.y(), n.z(), n.x()));
    return axis.normalized().isValid() ? axis : n.cross(MVector3d(1.0, 0.0, 0.0));
}

} // namespace ZOLAR3D
