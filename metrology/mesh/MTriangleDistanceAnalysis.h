#pragma once

#include "MInvalid.h"
#include "MMatrix3.h"
#include "MVector3d.h"
#include "Zol3DExport.h"

#include <cmath>

namespace ZOLAR3D {

// The closest-point routine of one triangle, prepared once so that many
// points can be measured against it. The triangle is turned so that its
// normal is +Z: a point's height above the plane and its barycentric place in
// the triangle then come from three dot products.
//
// Corners are numbered 0, 1, 2 and edges 0 (corner 0 to 1), 1 (corner 0 to 2)
// and 2 (corner 1 to 2). A triangle whose normal cannot be formed (a repeated
// corner, collinear or invalid corners) is not valid, and every query on it
// answers with the marker.
class ZOL3D_API MTriangleDistanceAnalysis {
public:
    // Points within this fraction of the triangle outside an edge count as inside.
    static constexpr double InsideTolerance = 1e-7;

    MTriangleDistanceAnalysis() = default;
    MTriangleDistanceAnalysis(const MVector3d &a, const MVector3d &b, const MVector3d &c) { set(a, b, c); }

    // Prepares the triangle and tells whether it is valid.
    inline bool set(const MVector3d &a, const MVector3d &b, const MVector3d &c);

    bool isValid() const { return m_valid; }
    // Everything else is derived from the corners.
    bool operator==(const MTriangleDistanceAnalysis &o) const
    {
        return m_corner[0] == o.m_corner[0] && m_corner[1] == o.m_corner[1] && m_corner[2] == o.m_corner[2];
    }
    bool operator!=(const MTriangleDistanceAnalysis &o) const { return !(*this == o); }
    const MVector3d &corner(int i) const { return m_corner[i]; }
    // Unit normal, along (b - a) x (c - a).
    const MVector3d &normal() const { return m_normal; }
    const MVector3d &edgeDirection(int edge) const { return m_edgeDirection[edge]; }
    double edgeLength(int edge) const { return m_edgeLength[edge]; }

    // Signed distance from p to the triangle, positive on the side of the
    // normal; the closest point goes to `closest` when it is given.
    //
    // Points whose height above the plane exceeds `bound` in magnitude are
    // not measured further: the height itself is returned, which the caller's
    // test against its bound rejects, and `closest` is left alone. The marker
    // answers an invalid triangle or point, with `closest` left alone too.
    inline double distance(const MVector3d &p, double bound = MInvalid, MVector3d *closest = nullptr) const;

private:
    inline double distanceToEdge(int edge, const MVector3d &p, MVector3d *closest) const;

    bool m_valid = false;
    MVector3d m_corner[3];
    // Rows of the rotation that takes the normal into +Z, whose third row is
    // the normal itself.
    MVector3d m_rotatedX;
    MVector3d m_rotatedY;
    MVector3d m_normal;
    MVector3d m_edgeDirection[3];
    double m_edgeLength[3] = {0.0, 0.0, 0.0};
    // Edges 0 and 1 in the rotated plane and twice the (positive) area, the
    // divisor of the barycentric coordinates.
    double m_edge0X = 0.0;
    double m_edge0Y = 0.0;
    double m_edge1X = 0.0;
    double m_edge1Y = 0.0;
    double m_twiceArea = 0.0;
};

bool MTriangleDistanceAnalysis::set(const MVector3d &a, const MVector3d &b, const MVector3d &c)
{
    m_corner[0] = a;
    m_corner[1] = b;
    m_corner[2] = c;
    const MVector3d edges[3] = {b - a, c - a, c - b};
    m_normal = edges[0].cross(edges[1]).normalized();
    m_valid = a.isValid() && b.isValid() && c.isValid() && m_normal.isValid();
    if (!m_valid)
        return false;

    const MMatrix3 intoZ = MMatrix3::VectorIntoZRotation(m_normal, true);
    const double *row = intoZ.data();
    m_rotatedX = MVector3d(row[0], row[1], row[2]);
    m_rotatedY = MVector3d(row[3], row[4], row[5]);
    // A triangle with a normal has no zero-length edge, and dividing by the
    // length keeps the directions of edges too short for normalized().
    for (int edge = 0; edge < 3; ++edge) {
        m_edgeLength[edge] = std::sqrt(edges[edge].dot(edges[edge]));
        m_edgeDirection[edge] = edges[edge] / m_edgeLength[edge];
    }
    m_edge0X = edges[0].dot(m_rotatedX);
    m_edge0Y = edges[0].dot(m_rotatedY);
    m_edge1X = edges[1].dot(m_rotatedX);
    m_edge1Y = edges[1].dot(m_rotatedY);
    m_twiceArea = m_edge0X * m_edge1Y - m_edge0Y * m_edge1X;
    return true;
}

double MTriangleDistanceAnalysis::distance(const MVector3d &p, double bound, MVector3d *closest) const
{
    if (!m_valid || !p.isValid())
        return MInvalid;
    // Measured from corner 0 rather than from the origin, so that triangles
    // far from the origin keep their digits.
    const MVector3d w = p - m_corner[0];
    const double height = w.dot(m_normal);
    if (std::fabs(height) > bound)
        return height;

    const double x = w.dot(m_rotatedX);
    const double y = w.dot(m_rotatedY);
    // Weights of corners 2 and 1: u < 0 lies beyond edge 0, v < 0 beyond
    // edge 1 and u + v > 1 beyond edge 2.
    const double u = (m_edge0X * y - m_edge0Y * x) / m_twiceArea;
    const double v = (x * m_edge1Y - y * m_edge1X) / m_twiceArea;
    if (u >= -InsideTolerance && v >= -InsideTolerance && 1.0 - u - v >= -InsideTolerance) {
        if (closest)
            *closest = p - m_normal * height;
        return height;
    }

    // Outside: the nearest point lies on an edge the point is beyond. Near a
    // corner the point can be beyond two edges, and either may hold it.
    const bool beyond[3] = {u < 0.0, v < 0.0, u + v > 1.0};
    double nearest = MInvalid;
    for (int edge = 0; edge < 3; ++edge) {
        if (!beyond[edge])
            continue;
        MVector3d onEdge;
        const double d = distanceToEdge(edge, p, closest ? &onEdge : nullptr);
        if (d < nearest) {
            nearest = d;
            if (closest)
                *closest = onEdge;
        }
    }
    if (nearest == MInvalid)
        return MInvalid;
    return height < 0.0 ? -nearest : nearest;
}

double MTriangleDistanceAnalysis::distanceToEdge(int edge, const MVector3d &p, MVector3d *closest) const
{
    const MVector3d &origin = m_corner[edge == 2 ? 1 : 0];
    const double along = (p - origin).dot(m_edgeDirection[edge]);
    const double clamped = along > 0.0 ? (along < m_edgeLength[edge] ? along : m_edgeLength[edge]) : 0.0;
    const MVector3d foot = origin + m_edgeDirection[edge] * clamped;
    if (closest)
        *closest = foot;
    const MVector3d offset = p - foot;
    return std::sqrt(offset.dot(offset));
}

} // namespace ZOLAR3D
