#pragma once

#include "MInvalid.h"
#include "MLine.h"
#include "MMatrix4.h"
#include "MTriangleDistanceAnalysis.h"
#include "MVector3d.h"
#include "Zol3DExport.h"

#include <cmath>
#include <iosfwd>
#include <utility>

namespace ZOLAR3D {

// A triangle of three vertices a, b, c. A degenerate triangle, which has no
// normal, is invalid.
class ZOL3D_API MTriangle {
public:
    MTriangle() = default;
    MTriangle(const MVector3d &a, const MVector3d &b, const MVector3d &c) : m_vertex{a, b, c} {}

    // Vertices 0, 1, 2 are a, b, c; any other index gives Infinity.
    MVector3d vertex(int i) const { return unsigned(i) <= 2u ? m_vertex[i] : MVector3d::Infinity; }
    // Any other index than 0, 1, 2 is ignored.
    void setVertex(int i, const MVector3d &p)
    {
        if (unsigned(i) <= 2u)
            m_vertex[i] = p;
    }

    bool isValid() const { return hasValidVertices() && normal().isValid(); }
    void invalidate() { m_vertex[0].invalidate(); }

    bool operator==(const MTriangle &o) const
    {
        return m_vertex[0] == o.m_vertex[0] && m_vertex[1] == o.m_vertex[1] && m_vertex[2] == o.m_vertex[2];
    }
    bool operator!=(const MTriangle &o) const { return !(*this == o); }

    // The measures below answer for degenerate triangles too; only an
    // invalid vertex makes them the marker or Infinity.
    MVector3d centroid() const;
    // Perimeter.
    double length() const;
    // Signed area of the triangle's projection on the xy plane: positive for
    // counter-clockwise vertices seen from +Z, 0 for a triangle standing in
    // the xz plane. It serves triangles that lie in that plane.
    double area() const;
    // Unit normal along (a - b) x (b - c).
    MVector3d normal() const;
    // Reverses the winding by swapping a and c.
    void flip() { std::swap(m_vertex[0], m_vertex[2]); }
    // Whether the xy projection of p lies in the xy projection of the
    // triangle, with a margin of 1e-7 in barycentric terms.
    bool pointInTriangle(const MVector3d &p) const;

    // Signed distance to the triangle, positive on the side of the normal;
    // the marker for an invalid triangle or point.
    double distance(const MVector3d &p) const { return analysis().distance(p); }
    // Closest point of the triangle; an invalid vector when there is none.
    // The second argument is part of the interface and is not written.
    MVector3d projection(const MVector3d &p, double * /*unused*/ = nullptr) const
    {
        MVector3d closest;
        const double d = analysis().distance(p, MInvalid, &closest);
        return std::fabs(d) < MInvalid ? closest : MVector3d();
    }
    // Where the line, taken both ways, passes through the triangle; t
    // receives the line parameter of the hit and stays untouched on a miss,
    // which gives an invalid vector.
    MVector3d intersection(const MLine &line, double &t) const;

    // Frame at the centroid with the edge directions a - b and b - c as X
    // and Y (not orthogonal in general) and the normal as Z.
    MMatrix4 pose() const;
    void applyTransformation(const MMatrix4 &m);

    bool load(const char *path);
    bool load(const wchar_t *path);
    bool save(const char *path) const;
    bool save(const wchar_t *path) const;

private:
    MTriangleDistanceAnalysis analysis() const { return {m_vertex[0], m_vertex[1], m_vertex[2]}; }
    bool hasValidVertices() const { return m_vertex[0].isValid() && m_vertex[1].isValid() && m_vertex[2].isValid(); }

    MVector3d m_vertex[3];
};

ZOL3D_API std::wostream &operator<<(std::wostream &out, const MTriangle &triangle);
ZOL3D_API std::wistream &operator>>(std::wistream &in, MTriangle &triangle);

} // namespace ZOLAR3D
