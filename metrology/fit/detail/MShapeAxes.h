#pragma once

#include "MCircle.h"
#include "MCone.h"
#include "MCylinder.h"
#include "MLine.h"
#include "MLineSegment.h"
#include "MPlane.h"
#include "MSphere.h"
#include "MVector3d.h"

namespace ZOLAR3D {
namespace detail {

// Whether a fit produced a shape worth an outlier pass, or a RANSAC
// hypothesis worth counting: its position and direction vectors hold neither
// the marker nor NaN. Sizes are not looked at.
inline bool hasValidAxes(const MPlane &plane) { return plane.position().isValid() && plane.normal().isValid(); }
inline bool hasValidAxes(const MLine &line) { return line.position().isValid() && line.direction().isValid(); }
inline bool hasValidAxes(const MLineSegment &segment) { return segment.start().isValid() && segment.end().isValid(); }
inline bool hasValidAxes(const MVector3d &point) { return point.isValid(); }
inline bool hasValidAxes(const MCircle &circle) { return circle.position().isValid() && circle.normal().isValid(); }
inline bool hasValidAxes(const MSphere &sphere) { return sphere.position().isValid(); }
inline bool hasValidAxes(const MCylinder &cylinder)
{
    return cylinder.position().isValid() && cylinder.direction().isValid();
}
inline bool hasValidAxes(const MCone &cone) { return cone.position().isValid() && cone.direction().isValid(); }

} // namespace detail
} // namespace ZOLAR3D
