#pragma once

#include "MMatrix3.h"
#include "MMatrix4.h"
#include "MVector3d.h"

#include <cmath>

namespace ZOLAR3D {

// What the shapes built around an axis (lines, rays, segments, circles,
// ellipses, cylinders, cones) share: their local frame and how a
// transformation moves them.
struct MAxialShape {
    // The frame whose origin is the position and whose Z axis is the axis.
    // The rotation comes from the 3x3 form, which also turns an axis exactly
    // opposite to Z into a proper frame instead of a matrix of non-finite
    // entries; everywhere else both forms agree. Both arguments must be valid.
    static MMatrix4 pose(const MVector3d &position, const MVector3d &axis)
    {
        const MMatrix4 intoZ = MMatrix4::FromMatrix3(MMatrix3::VectorIntoZRotation(axis, false));
        return MMatrix4::Translation(position) * intoZ.rigidInverse();
    }

    // An invalid shape is left alone. Radii and lengths are not touched: a
    // scaling moves the shape, it does not resize it.
    static void transform(bool valid, const MMatrix4 &m, MVector3d &position, MVector3d &axis)
    {
        if (!valid)
            return;
        position = m * position;
        m.rotateAndScale(axis);
    }

    // A unit vector perpendicular to the axis, for points on the axis that
    // have no radial direction of their own. The library's fixed
    // perpendicular is taken where it is well conditioned; near the
    // (1, 1, 1) diagonal, where it vanishes, the cross product with the unit
    // axis least aligned with the axis is used instead.
    static MVector3d unitPerpendicular(const MVector3d &axis)
    {
        const MVector3d fixed = MVector3d::PerpendicularTo(axis);
        const double squaredAxis = axis.dot(axis);
        if (fixed.dot(fixed) >= 1e-6 * squaredAxis * squaredAxis)
            return fixed.normalized();
        const MVector3d a = axis.abs();
        const MVector3d &least = (a.x() <= a.y() && a.x() <= a.z()) ? MVector3d::XUnit
                                 : (a.y() <= a.z())                   ? MVector3d::YUnit
                                                                      : MVector3d::ZUnit;
        return axis.cross(least).normalized();
    }
};

} // namespace ZOLAR3D
