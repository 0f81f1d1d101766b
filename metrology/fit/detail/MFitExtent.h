#pragma once

#include "MInvalid.h"
#include "MLine.h"
#include "MPlane.h"
#include "MVector3d.h"

namespace ZOLAR3D {

// The range of line parameters t of the feet of the valid points on a valid
// line: t = (p - position) . direction. Left at the empty range (marker,
// -marker) when no point counts.
inline void lineParameterRange(const MLine &line, const MVector3d *points, int n, double &tmin, double &tmax)
{
    tmin = MInvalid;
    tmax = -MInvalid;
    if (!line.isValid())
        return;
    const MVector3d origin = line.position();
    const MVector3d direction = line.direction();
    for (int i = 0; i < n; ++i) {
        if (!points[i].isValid())
            continue;
        const double t = (points[i] - origin).dot(direction);
        tmin = t < tmin ? t : tmin;
        tmax = t > tmax ? t : tmax;
    }
}

// Gives a fitted plane its size. With unit in-plane axes u and v, the valid
// points are measured along both; the position moves to the centre of their
// bounding rectangle, projected onto the plane, and u and v become the
// half-extent vectors of that rectangle, turned so that (u, v, normal) is
// right-handed. The points are checked again, so a raw array will do.
inline void fitPlaneExtent(MPlane &plane, const MVector3d *points, int n)
{
    const MVector3d origin = plane.position();
    const MVector3d u = plane.u();
    const MVector3d v = plane.v();
    double amin = MInvalid, amax = -MInvalid, bmin = MInvalid, bmax = -MInvalid;
    for (int i = 0; i < n; ++i) {
        if (!points[i].isValid())
            continue;
        const MVector3d d = points[i] - origin;
        const double a = d.dot(u);
        const double b = d.dot(v);
        amin = a < amin ? a : amin;
        amax = a > amax ? a : amax;
        bmin = b < bmin ? b : bmin;
        bmax = b > bmax ? b : bmax;
    }
    plane.setPosition(plane.projection(origin + u * ((amin + amax) * 0.5) + v * ((bmin + bmax) * 0.5)));
    MVector3d halfU = u * ((amax - amin) * 0.5);
    const MVector3d halfV = v * ((bmax - bmin) * 0.5);
    if (halfU.cross(halfV).dot(plane.normal()) < 0.0)
        halfU = -halfU;
    plane.setU(halfU);
    plane.setV(halfV);
}

} // namespace ZOLAR3D
