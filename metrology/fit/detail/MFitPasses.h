#pragma once

#include "MInvalid.h"
#include "MLine.h"
#include "MPlane.h"
#include "MVector3d.h"
#include "metrology/core/detail/MPointStream.h"

#include <limits>

namespace ZOLAR3D {

// The passes of the linear fits over raw point arrays. Each skips invalid
// points, so that a fit gives the same result on a cloud with holes as on
// the copy of its valid points.

// The sum of squared distances of points from a shape: how the axial fits
// tell the right start axis from the wrong ones.
template <class Shape>
double sumOfSquaredDistances(const Shape &shape, const MVector3d *points, int n)
{
    double sum = 0.0;
    for (int i = 0; i < n; ++i) {
        const double d = shape.distance(points[i]);
        sum += d * d;
    }
    return sum;
}

// Copies the first valid points, at most `wanted` of them, into first;
// returns how many it found. Stops early, so that a fit learns whether it
// has enough points without a counting pass.
inline int gatherValidPoints(const MVector3d *points, int n, MVector3d *first, int wanted)
{
    int found = 0;
    for (int i = 0; i < n && found < wanted; ++i)
        if (points[i].isValid())
            first[found++] = points[i];
    return found;
}

// The extent passes visit every point of a large cloud, so they test
// validity without branches: a point with a marker coordinate has its
// projections replaced by NaN, and a NaN projection, whether from there or
// from a NaN coordinate, never passes the comparisons of the running minimum
// and maximum. Invalid points thus drop out as if they had been skipped.
inline double projectionOfValid(const MVector3d &p, double projection)
{
    const bool marked = (int(p.x() == MInvalid) | int(p.y() == MInvalid) | int(p.z() == MInvalid)) != 0;
    return marked ? std::numeric_limits<double>::quiet_NaN() : projection;
}

inline void extendRange(double value, double &low, double &high)
{
    low = value < low ? value : low;
    high = value > high ? value : high;
}

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
    streamPoints(points, n, [&](const MVector3d &p) {
        extendRange(projectionOfValid(p, (p - origin).dot(direction)), tmin, tmax);
    });
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
    streamPoints(points, n, [&](const MVector3d &p) {
        const MVector3d d = p - origin;
        extendRange(projectionOfValid(p, d.dot(u)), amin, amax);
        extendRange(projectionOfValid(p, d.dot(v)), bmin, bmax);
    });
    plane.setPosition(plane.projection(origin + u * ((amin + amax) * 0.5) + v * ((bmin + bmax) * 0.5)));
    MVector3d halfU = u * ((amax - amin) * 0.5);
    const MVector3d halfV = v * ((bmax - bmin) * 0.5);
    if (halfU.cross(halfV).dot(plane.normal()) < 0.0)
        halfU = -halfU;
    plane.setU(halfU);
    plane.setV(halfV);
}

} // namespace ZOLAR3D
