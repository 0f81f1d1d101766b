#include "metrology/search/detail/MKdTreeImpl.h"
#include "metrology/search/detail/MSmallStack.h"

#include <algorithm>
#include <cmath>
#include <memory>

namespace ZOLAR3D {
namespace {

using Node = MKdTree::Impl::Node;
using Entry = MKdTree::Impl::Entry;

// Deep enough for balanced trees of any size that fits in memory.
constexpr int InlineStackDepth = 64;

// The distance tests round; a box test with the plain radius could then turn
// away a node whose point the rounded test would accept. A radius larger by a
// few units in the last place keeps the box tests on the safe side. It only
// lets a few more boxes be opened: which points are found is decided by the
// distance tests alone.
double boxReach(double radius) { return radius + radius * 1e-14; }

double squaredDistance(const Entry &entry, const double *query)
{
    const double *p = entry.position.data();
    const double dx = query[0] - p[0];
    const double dy = query[1] - p[1];
    const double dz = query[2] - p[2];
    return dx * dx + dy * dy + dz * dz;
}

// The query lies within the node's box grown by reach on every side.
bool reaches(const Node &node, const double *query, double reach)
{
    for (int axis = 0; axis < 3; ++axis)
        if (!(query[axis] >= double(node.boxMin[axis]) - reach && double(node.boxMax[axis]) + reach >= query[axis]))
            return false;
    return true;
}

void emit(const Entry &entry, int slot, MVector3d *points, int *indices)
{
    if (points)
        points[slot] = entry.position;
    if (indices)
        indices[slot] = entry.index;
}

void emitNothing(MVector3d *point, int *index)
{
    if (point)
        *point = MVector3d::Infinity;
    if (index)
        *index = -1;
}

// Visits the entries in tree order: a node's own bucket, then its left
// subtree, then its right one, entering only children that `near` accepts.
// The walk ends when `visit` returns false.
template <class Near, class Visit>
void walkInTreeOrder(const Node *root, Near near, Visit visit)
{
    MSmallStack<const Node *, InlineStackDepth> pending;
    const Node *node = root;
    for (;;) {
        for (int i = 0; i < node->count; ++i)
            if (!visit(node->bucket[i]))
                return;
        if (node->right && near(*node->right))
            pending.push(node->right);
        if (node->left && near(*node->left))
            node = node->left;
        else if (pending.isEmpty())
            return;
        else
            node = pending.pop();
    }
}

// Walks the closed ball and hands every point in it to `take`, until `take`
// returns false.
template <class Take>
void walkBall(const Node *root, const double *query, double radius, Take take)
{
    const double squaredRadius = radius * radius;
    const double reach = boxReach(radius);
    walkInTreeOrder(
        root, [&](const Node &node) { return reaches(node, query, reach); },
        [&](const Entry &entry) {
            const double d2 = squaredDistance(entry, query);
            return d2 <= squaredRadius ? take(entry, d2) : true;
        });
}

// The first guess of the nearest-neighbour search: descend while a child's box
// holds the query, left before right, and take the nearest point of the node
// reached, the first one on ties.
const Entry *seed(const Node *root, const double *query)
{
    const Node *node = root;
    for (;;) {
        if (node->left && reaches(*node->left, query, 0.0))
            node = node->left;
        else if (node->right && reaches(*node->right, query, 0.0))
            node = node->right;
        else
            break;
    }
    if (node->count == 0)
        return nullptr;
    const Entry *best = &node->bucket[0];
    double best2 = squaredDistance(*best, query);
    for (int i = 1; i < node->count; ++i) {
        const double d2 = squaredDistance(node->bucket[i], query);
        if (d2 < best2) {
            best2 = d2;
            best = &node->bucket[i];
        }
    }
    return best;
}

// A point found by the walk of findNearestNeighbors; the walk position breaks
// ties of distance, so the selection is the same whatever its algorithm.
struct Candidate {
    double squaredDistance;
    int order;
    const Entry *entry;

    bool operator<(const Candidate &other) const
    {
        return squaredDistance < other.squaredDistance ||
               (squaredDistance == other.squaredDistance && order < other.order);
    }
};

// Scratch of the caller's stack for the usual small counts, of the heap beyond.
constexpr int InlineCandidates = 320;

} // namespace

bool MKdTree::Impl::findNearestNeighbor(const MVector3d &query, double maxDistance, MVector3d *nearest, int *index,
                                        bool ignoreZeroDistance) const
{
    if (!root)
        return false;
    if (!(maxDistance >= 0.0)) {
        emitNothing(nearest, index);
        return false;
    }
    const double *q = query.data();
    const Entry *best = seed(root, q);
    double best2 = best ? squaredDistance(*best, q) : MInvalid;
    double bestDistance = best ? std::sqrt(best2) : MInvalid;
    const double max2 = maxDistance * maxDistance;

    // The stack takes the right child first. Equal distances replace the
    // earlier best, so among equally near points the one visited last wins.
    MSmallStack<const Node *, InlineStackDepth> pending;
    pending.push(root);
    while (!pending.isEmpty()) {
        const Node *node = pending.pop();
        if (!reaches(*node, q, boxReach(std::min(bestDistance, maxDistance))))
            continue;
        double bound2 = std::min(max2, best2);
        for (int i = 0; i < node->count; ++i) {
            const double d2 = squaredDistance(node->bucket[i], q);
            if (d2 <= bound2 && !(ignoreZeroDistance && d2 == 0.0)) {
                best = &node->bucket[i];
                best2 = bound2 = d2;
                bestDistance = std::sqrt(d2);
            }
        }
        if (node->left)
            pending.push(node->left);
        if (node->right)
            pending.push(node->right);
    }

    if (best && maxDistance >= bestDistance) {
        emit(*best, 0, nearest, index);
        return true;
    }
    emitNothing(nearest, index);
    return false;
}

int MKdTree::Impl::findNearestNeighbors(const MVector3d &query, double maxDistance, int maxCount, MVector3d *points,
                                        int *indices) const
{
    if (!root || maxCount <= 0 || !(maxDistance > 0.0))
        return 0;
    // The walk cannot find more points than the tree holds, which also keeps
    // the scratch small for a huge maxCount.
    const int limit = int(std::min<long long>(10LL * maxCount, std::max(numPoints, 0)));
    Candidate inlineCandidates[InlineCandidates];
    std::unique_ptr<Candidate[]> heapCandidates;
    Candidate *candidates = inlineCandidates;
    if (limit > InlineCandidates) {
        heapCandidates.reset(new Candidate[limit]);
        candidates = heapCandidates.get();
    }

    // The walk stops at ten times the count asked for: points of a crowded
    // ball found after that are not weighed, so the answer is approximate.
    int found = 0;
    if (limit > 0)
        walkBall(root, query.data(), maxDistance, [&](const Entry &entry, double d2) {
            candidates[found] = {d2, found, &entry};
            return ++found < limit;
        });

    if (found > maxCount) {
        std::nth_element(candidates, candidates + maxCount, candidates + found);
        found = maxCount;
    }
    for (int i = 0; i < found; ++i)
        emit(*candidates[i].entry, i, points, indices);
    return found;
}

int MKdTree::Impl::findAllNeighbors(const MVector3d &query, double radius, int maxCount, MVector3d *points,
                                    int *indices) const
{
    // A negative radius is an empty ball.
    if (!root || maxCount <= 0 || !(radius >= 0.0))
        return 0;
    int count = 0;
    walkBall(root, query.data(), radius, [&](const Entry &entry, double) {
        emit(entry, count, points, indices);
        return ++count < maxCount;
    });
    return count;
}

bool MKdTree::Impl::findAnyNeighbor(const MVector3d &query, double radius, MVector3d *point, int *index) const
{
    if (!root)
        return false;
    const Entry *hit = nullptr;
    if (radius >= 0.0)
        walkBall(root, query.data(), radius, [&](const Entry &entry, double) {
            hit = &entry;
            return false;
        });
    if (!hit) {
        emitNothing(point, index);
        return false;
    }
    emit(*hit, 0, point, index);
    return true;
}

int MKdTree::Impl::findAllPointsInBox(const MVector3d &minimum, const MVector3d &maximum, int maxCount,
                                      MVector3d *points, int *indices) const
{
    // Nothing lies in a box with a NaN bound; the test spares a walk of the
    // whole tree.
    if (!root || maxCount <= 0 || minimum.isNaN() || maximum.isNaN())
        return 0;
    const double *lo = minimum.data();
    const double *hi = maximum.data();
    int count = 0;
    walkInTreeOrder(
        root,
        [&](const Node &node) {
            for (int axis = 0; axis < 3; ++axis)
                if (lo[axis] > double(node.boxMax[axis]) || double(node.boxMin[axis]) > hi[axis])
                    return false;
            return true;
        },
        [&](const Entry &entry) {
            const double *p = entry.position.data();
            for (int axis = 0; axis < 3; ++axis)
                if (!(p[axis] >= lo[axis] && hi[axis] >= p[axis]))
                    return true;
            emit(entry, count, points, indices);
            return ++count < maxCount;
        });
    return count;
}

} // namespace ZOLAR3D
