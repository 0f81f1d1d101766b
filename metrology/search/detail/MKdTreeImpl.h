#pragma once

#include "MBlockAllocator.h"
#include "MKdTree.h"
#include "MVector3d.h"
#include "MVector3f.h"

namespace ZOLAR3D {

// The tree proper. Every node, inner nodes included, keeps up to eight points
// in its bucket and a single-precision box around everything at or below it.
// Queries are steered by the boxes alone, never by the split planes, which is
// what lets insert add points after a bulk build without rebalancing.
class MKdTree::Impl {
public:
    static constexpr int BucketSize = 8;
    static constexpr int InsertBlockSize = 10000;

    // The box and the links come first, so that a box test reads one cache
    // line; the bucket is kept as separate coordinate arrays, so that a whole
    // bucket is computed at once in vector registers. Slots beyond count hold
    // index -1.
    struct Node {
        // Rounded outwards from the points, so a box always holds its points
        // exactly and the queries lose nothing at the box edges.
        MVector3f boxMin;
        MVector3f boxMax;
        int count = 0;
        int splitAxis = -1;
        double splitValue = 0.0;
        Node *left = nullptr;
        Node *right = nullptr;
        // Unused slots hold zeros, so that whole buckets can be computed at once.
        double x[BucketSize] = {};
        double y[BucketSize] = {};
        double z[BucketSize] = {};
        int index[BucketSize] = {-1, -1, -1, -1, -1, -1, -1, -1};

        MVector3d position(int slot) const { return {x[slot], y[slot], z[slot]}; }
        void add(const MVector3d &p, int pointIndex)
        {
            x[count] = p.x();
            y[count] = p.y();
            z[count] = p.z();
            index[count++] = pointIndex;
        }
    };

    Node *root = nullptr;
    MBlockAllocator<Node> nodes;
    int numPoints = 0;

    void clear();
    void from(const MVector3d *points, int count);
    void from(const MVector3f *points, int count);
    void insert(const MVector3d &point);

    bool findNearestNeighbor(const MVector3d &query, double maxDistance, MVector3d *nearest, int *index,
                             bool ignoreZeroDistance) const;
    int findNearestNeighbors(const MVector3d &query, double maxDistance, int maxCount, MVector3d *points,
                             int *indices) const;
    int findAllNeighbors(const MVector3d &query, double radius, int maxCount, MVector3d *points, int *indices) const;
    bool findAnyNeighbor(const MVector3d &query, double radius, MVector3d *point, int *index) const;
    int findAllPointsInBox(const MVector3d &minimum, const MVector3d &maximum, int maxCount, MVector3d *points,
                           int *indices) const;

private:
    Node *newNode();
    // The bulk build of either point precision.
    template <class Point>
    void fromPoints(const Point *points, int count);
    template <class Point>
    void build(const Point *points, int count);
};

} // namespace ZOLAR3D
