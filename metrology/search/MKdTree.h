#pragma once

#include "MVector3d.h"
#include "MVector3f.h"
#include "Zol3DExport.h"

namespace ZOLAR3D {

class MPointCloud;

// Spatial index over 3d points: a bucket k-d tree with a bounding box at every
// node. Points keep the index they had in the array given to `from`, or get
// consecutive numbers from `insert`; invalid points use up an index but are
// not stored.
//
// All find... members are const and keep their scratch on the caller's stack,
// so any number of threads may query one tree at once. `from`, `insert` and
// `clear` need the tree to themselves. Output pointers may each be null; the
// buffers hold `maxCount` elements.
class ZOL3D_API MKdTree {
public:
    class Impl;

    MKdTree();
    ~MKdTree();

    void clear();
    // Bulk build, replacing whatever the tree held.
    void from(const MVector3d *points, int numPoints);
    // Validity is judged in single precision; the points are kept as doubles.
    void from(const MVector3f *points, int numPoints);
    void from(const MPointCloud &cloud);
    // Adds one point under the next free index.
    void insert(const MVector3d &point);

    // The nearest point within maxDistance. A query lying on a stored point
    // may still get that point back when ignoreZeroDistance is set, because
    // the first guess is taken without the flag; the flag only keeps further
    // zero-distance points from replacing a better candidate.
    bool findNearestNeighbor(const MVector3d &query, double maxDistance, MVector3d *nearest, int *index,
                             bool ignoreZeroDistance) const;
    // Up to maxCount of the nearest points within maxDistance, unsorted. Only
    // the first 10 * maxCount points of the ball in tree order are weighed,
    // so with a crowded ball the answer is approximate.
    int findNearestNeighbors(const MVector3d &query, double maxDistance, int maxCount, MVector3d *points,
                             int *indices) const;
    // Points within the closed ball, up to maxCount, in tree order.
    int findAllNeighbors(const MVector3d &query, double radius, int maxCount, MVector3d *points,
                         int *indices) const;
    // The first point found within the closed ball.
    bool findAnyNeighbor(const MVector3d &query, double radius, MVector3d *point, int *index) const;
    // Points within the closed box, up to maxCount, in tree order.
    int findAllPointsInBox(const MVector3d &minimum, const MVector3d &maximum, int maxCount, MVector3d *points,
                           int *indices) const;

private:
    MKdTree(const MKdTree &) = delete;
    MKdTree &operator=(const MKdTree &) = delete;

    Impl *m_impl;
};

} // namespace ZOLAR3D
