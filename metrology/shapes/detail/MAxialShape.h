#pragma once

#include "MMatrix4.h"
#include "MVector3d.h"
#include "metrology/shapes/detail/MShapeFrame.h"

#include <cmath>

namespace ZOLAR3D {

// What the shapes built around an axis (circle, ellipse, cylinder, cone)
// share: their local frame and how a transformation moves them.
struct MAxialShape {
    // Origin at the position, Z along the axis; Zero for an invalid shape.
    static MMatrix4 pose(bool valid, const MVector3d &position, const MVector3d &axis)
    {
        return valid ? axisFrame(position, axis) : MMatrix4::Zero;
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

    static void setAxis(MVector3d &axis, const MVector3d &v, bool alreadyNormalized)
    {
        axis = v;
        if (!alreadyNormalized && v.isValid())
            axis.normalize();
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
