#pragma once

#include "MInvalid.h"
#include "MLine.h"
#include "MMatrix4.h"
#include "MVector3d.h"
#include "MVector3dArray.h"
#include "Zol3DExport.h"

#include <iosfwd>

namespace ZOLAR3D {

class MCircle;

// A polygon as its vertices p0, p1, ... in order. Normal, perimeter and
// pose are taken from the first three vertices only, and area() is the
// library's own measure rather than the geometric area; see there.
class ZOL3D_API MPolygon {
public:
    MPolygon() = default;
    explicit MPolygon(const MVector3dArray &vertices) : m_vertices(vertices) {}

    int add(const MVector3d &p) { return m_vertices.add(p); }
    int size() const { return m_vertices.size(); }
    // Unchecked, as in the array.
    MVector3d &operator[](int i) { return m_vertices[i]; }
    const MVector3d &operator[](int i) const { return m_vertices[i]; }
    // Checked: Infinity for an index outside the polygon.
    MVector3d vertex(int i) const { return unsigned(i) < unsigned(size()) ? m_vertices[i] : MVector3d::Infinity; }
    // Checked: an index outside the polygon is ignored.
    void setVertex(int i, const MVector3d &p)
    {
        if (unsigned(i) < unsigned(size()))
            m_vertices[i] = p;
    }
    const MVector3dArray &vertices() const { return m_vertices; }

    // Vertex by vertex, as MVector3d compares.
    bool operator==(const MPolygon &o) const;
    bool operator!=(const MPolygon &o) const { return !(*this == o); }

    // Every vertex valid; an empty polygon is valid.
    bool isValid() const;
    // Marks the first vertex; an empty polygon has none to mark.
    void invalidate();

    // Mean of the vertices; Infinity for an empty polygon.
    MVector3d centroid() const;
    // The sum of p(i) x p(i+1) for i from 0 to n - 2, without the closing
    // edge and without halving, projected on normal(). Callers rely on this
    // convention; it is 0 for an empty polygon, one with an invalid vertex
    // and one without a normal.
    double area() const;
    // |p0 - p1| + |p0 - p2| + |p1 - p2|; the marker below three valid vertices.
    double length() const;
    // Unit normal along (p0 - p1) x (p1 - p2); Infinity below three vertices.
    MVector3d normal() const;
    // Frame at the centroid with p0 - p1, p1 - p2 and the normal as axes;
    // MMatrix4::Zero when a vertex is invalid or there is no normal.
    MMatrix4 pose() const;
    void applyTransformation(const MMatrix4 &m);

    // Reserved in the interface for general polygons; each gives a fixed answer.
    double distance(const MVector3d &p) const;
    bool isConvex() const;
    MCircle circumscribedCircle() const;
    MVector3d intersection(const MLine &line, double &t) const;
    MVector3d projection(const MVector3d &p, double *t = nullptr) const;

    bool load(const char *path);
    bool load(const wchar_t *path);
    bool save(const char *path) const;
    bool save(const wchar_t *path) const;

private:
    MVector3dArray m_vertices;
};

ZOL3D_API std::wostream &operator<<(std::wostream &out, const MPolygon &polygon);
ZOL3D_API std::wistream &operator>>(std::wistream &in, MPolygon &polygon);

} // namespace ZOLAR3D
