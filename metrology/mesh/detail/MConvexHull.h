#pragma once

#include "MVector3d.h"
#include "Zol3DExport.h"

#include <vector>

namespace ZOLAR3D {

// The convex hull of a point set as an indexed triangle surface. Every
// vertex is one of the input points, unchanged; the corners of each
// triangle run counter-clockwise seen from outside, so that
// (b - a) x (c - a) points out of the solid. Planar, collinear and
// otherwise flat input has no hull solid and gives no triangles.
struct ZOL3D_API MConvexHull {
    std::vector<MVector3d> vertices;
    // Three vertex indices per triangle.
    std::vector<int> triangles;

    int numTriangles() const { return static_cast<int>(triangles.size() / 3); }
    // Every side once, as two vertex indices with the smaller first, taken
    // from the triangle that runs along it from the smaller to the larger.
    std::vector<int> edges() const;
};

// The hull of the valid points among n. Points closer to a hull face than a
// tolerance scaled to the points' extent count as lying on it, so that
// duplicates and coplanar points neither add slivers nor stall the build.
ZOL3D_API MConvexHull convexHullOf(const MVector3d *points, int n);

} // namespace ZOLAR3D
