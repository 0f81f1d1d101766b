#include "metrology/search/detail/MKdTreeImpl.h"
#include "metrology/search/detail/MSmallStack.h"

#include <algorithm>
#include <cmath>
#include <memory>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace ZOLAR3D {
namespace {

using Node = MKdTree::Impl::Node;
constexpr int BucketSize = MKdTree::Impl::BucketSize;

// Deep enough for balanced trees of any size that fits in memory.
constexpr int InlineStackDepth = 64;

// The distance tests round; a box test with the plain radius could then turn
// away a node whose point the rounded test would accept. A radius larger by a
// few units in the last place keeps the box tests on the safe side. It only
// lets a few more boxes be opened: which points are found is decided by the
// distance tests alone.
double boxReach(double radius) { return radius + radius * 1e-14; }

// Squared distances of all slots of a bucket at once, summed x, y, z; this
// gives the same numbers as a test that gives up on the first axis that
// exceeds its bound, because the partial sums only grow. Returns the mask of
// the used slots whose distance is within bound2.
unsigned bucketDistances(const Node &node, const double *query, double bound2, double *d2)
{
    unsigned within = 0;
#if defined(__SSE2__)
    const __m128d qx = _mm_set1_pd(query[0]);
    const __m128d qy = _mm_set1_pd(query[1]);
    const __m128d qz = _mm_set1_pd(query[2]);
    const __m128d bound = _mm_set1_pd(bound2);
    for (int i = 0; i < BucketSize; i += 2) {
        const __m128d dx = _mm_sub_pd(qx, _mm_loadu_pd(node.x + i));
        const __m128d dy = _mm_sub_pd(qy, _mm_loadu_pd(node.y + i));
        const __m128d dz = _mm_sub_pd(qz, _mm_loadu_pd(node.z + i));
        const __m128d sum = _mm_add_pd(_mm_add_pd(_mm_mul_pd(dx, dx), _mm_mul_pd(dy, dy)), _mm_mul_pd(dz, dz));
        _mm_storeu_pd(d2 + i, sum);
        within |= unsigned(_mm_movemask_pd(_mm_cmple_pd(sum, bound))) << i;
    }
#else
    for (int i = 0; i < BucketSize; ++i) {
        const double dx = query[0] - node.x[i];
        const double dy = query[1] - node.y[i];
        const double dz = query[2] - node.z[i];
        d2[i] = dx * dx + dy * dy + dz * dz;
        within |= unsigned(d2[i] <= bound2) << i;
    }
#endif
    return within & ((1u << node.count) - 1u);
}

// The query, prepared for testing many boxes grown by one reach: a box passes
// when the query lies within it grown by reach on every side.
class BoxReach {
public:
    BoxReach(const double *query, double reach) : m_query(query) { setReach(reach); }

    void setReach(double reach)
    {
#if defined(__SSE2__)
        m_reach = _mm_set1_pd(reach);
        m_xy = _mm_loadu_pd(m_query);
        m_zNegated = _mm_set_pd(-m_query[2], m_query[2]);
#else
        m_reachValue = reach;
#endif
    }

    bool passes(const Node &node) const
    {
#if defined(__SSE2__)
        // x and y in one pair; z as (min, -max), so that both of its tests
        // read "at most". Negation is exact, so the roundings are those of the
        // plain comparisons.
        const __m128 zero = _mm_setzero_ps();
        const __m128d lo = _mm_cvtps_pd(_mm_loadl_pi(zero, reinterpret_cast<const __m64 *>(node.boxMin.data())));
        const __m128d hi = _mm_cvtps_pd(_mm_loadl_pi(zero, reinterpret_cast<const __m64 *>(node.boxMax.data())));
        const __m128d z = _mm_cvtps_pd(_mm_unpacklo_ps(_mm_load_ss(&node.boxMin[2]), _mm_load_ss(&node.boxMax[2])));
        const __m128d zSigned = _mm_xor_pd(z, _mm_set_pd(-0.0, 0.0));
        const __m128d inside = _mm_and_pd(_mm_and_pd(_mm_cmple_pd(_mm_sub_pd(lo, m_reach), m_xy),
                                                     _mm_cmple_pd(m_xy, _mm_add_pd(hi, m_reach))),
                                          _mm_cmple_pd(_mm_sub_pd(zSigned, m_reach), m_zNegated));
        return _mm_movemask_pd(inside) == 3;
#else
        bool inside = true;
        for (int axis = 0; axis < 3; ++axis)
            inside &= (m_query[axis] >= double(node.boxMin[axis]) - m_reachValue) &
                      (double(node.boxMax[axis]) + m_reachValue >= m_query[axis]);
        return inside;
#endif
    }

private:
    const double *m_query;
#if defined(__SSE2__)
    __m128d m_reach, m_xy, m_zNegated;
#else
    double m_reachValue;
#endif
};

void emit(const Node &node, int slot, int position, MVector3d *points, int *indices)
{
    if (points)
        points[position] = node.position(slot);
    if (indices)
        indices[position] = node.index[slot];
}

void emitNothing(MVector3d *point, int *index)
{
    if (point)
        *point = MVector3d::Infinity;
    if (index)
        *index = -1;
}

// Visits the nodes in tree order: a node itself, then its left subtree, then
// its right one, entering only children that `near` accepts. The walk ends
// when `visit` returns false.
template <class Near, class Visit>
void walkInTreeOrder(const Node *root, Near near, Visit visit)
{
    MSmallStack<const Node *, InlineStackDepth> pending;
    const Node *node = root;
    for (;;) {
        if (!visit(*node))
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

// Walks the closed ball and hands every point in it, in tree order, to `take`
// until `take` returns false.
template <class Take>
void walkBall(const Node *root, const double *query, double radius, Take take)
{
    const double squaredRadius = radius * radius;
    const BoxReach reach(query, boxReach(radius));
    walkInTreeOrder(
        root, [&](const Node &node) { return reach.passes(node); },
        [&](const Node &node) {
            double d2[BucketSize];
            for (unsigned within = bucketDistances(node, query, squaredRadius, d2); within; within &= within - 1) {
                const int i = __builtin_ctz(within);
                if (!take(node, i, d2[i]))
                    return false;
            }
            return true;
        });
}

void prefetchNode(const Node *node)
{
    if (!node)
        return;
    const char *bytes = reinterpret_cast<const char *>(node);
    for (size_t offset = 0; offset < sizeof(Node); offset += 64)
        __builtin_prefetch(bytes + offset);
}

// A point of the tree: its node and slot.
struct Slot {
    const Node *node = nullptr;
    int slot = 0;
};

// The first guess of the nearest-neighbour search: descend while a child's box
// holds the query, left before right, and take the nearest point of the node
// reached, the first one on ties. On the way, pathBound2 gathers the nearest
// squared distance of the points of the last nodes passed that the search may
// accept: the walk visits them all, so the answer is at least as near, and
// farther boxes can be left out at once. Nodes higher up hold points too far
// away to be worth the look.
constexpr int BoundingPathNodes = 3;

Slot seed(const Node *root, const double *query, bool ignoreZeroDistance, double &best2, double &pathBound2)
{
    const BoxReach contains(query, 0.0);
    const Node *path[BoundingPathNodes] = {};
    const Node *node = root;
    for (;;) {
        std::copy(path + 1, path + BoundingPathNodes, path);
        path[BoundingPathNodes - 1] = node;
        if (node->left && node->right)
            __builtin_prefetch(node->right);
        if (node->left && contains.passes(*node->left))
            node = node->left;
        else if (node->right && contains.passes(*node->right))
            node = node->right;
        else
            break;
    }
    // The node reached comes last, so that d2 keeps its distances.
    double d2[BucketSize];
    for (const Node *passed : path) {
        if (!passed)
            continue;
        bucketDistances(*passed, query, 0.0, d2);
        for (int i = 0; i < passed->count; ++i)
            if (d2[i] < pathBound2 && !(ignoreZeroDistance && d2[i] == 0.0))
                pathBound2 = d2[i];
    }
    if (node->count == 0)
        return {};
    Slot best{node, 0};
    best2 = d2[0];
    for (int i = 1; i < node->count; ++i)
        if (d2[i] < best2) {
            best2 = d2[i];
            best.slot = i;
        }
    return best;
}

// A point found by the walk of findNearestNeighbors; the walk position breaks
// ties of distance, so the selection is the same whatever its algorithm.
struct Candidate {
    double squaredDistance;
    int order;
    Slot point;

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
    double best2 = MInvalid;
    double pathBound2 = INFINITY;
    Slot best = seed(root, q, ignoreZeroDistance, best2, pathBound2);
    double bestDistance = best.node ? std::sqrt(best2) : MInvalid;
    const double max2 = maxDistance * maxDistance;
    // Boxes are searched within the best distance so far, but no farther than
    // the nearest point that the walk is sure to accept or beat.
    const double searchLimit = std::min(maxDistance, std::sqrt(pathBound2));

    // The stack takes the right child first. Equal distances replace the
    // earlier best, so among equally near points the one visited last wins.
    BoxReach reach(q, boxReach(std::min(bestDistance, searchLimit)));
    MSmallStack<const Node *, InlineStackDepth> pending;
    pending.push(root);
    while (!pending.isEmpty()) {
        const Node *node = pending.pop();
        if (!reach.passes(*node))
            continue;
        // The children are read soon; fetch them while the bucket is scanned.
        prefetchNode(node->left);
        prefetchNode(node->right);
        double d2[BucketSize];
        double bound2 = std::min(max2, best2);
        // A later slot must beat the bound as it stands after the earlier ones.
        for (unsigned within = bucketDistances(*node, q, bound2, d2); within; within &= within - 1) {
            const int i = __builtin_ctz(within);
            if (d2[i] <= bound2 && !(ignoreZeroDistance && d2[i] == 0.0)) {
                best = {node, i};
                best2 = bound2 = d2[i];
                bestDistance = std::sqrt(d2[i]);
                reach.setReach(boxReach(std::min(bestDistance, searchLimit)));
            }
        }
        if (node->left)
            pending.push(node->left);
        if (node->right)
            pending.push(node->right);
    }

    if (best.node && maxDistance >= bestDistance) {
        emit(*best.node, best.slot, 0, nearest, index);
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
        walkBall(root, query.data(), maxDistance, [&](const Node &node, int slot, double d2) {
            candidates[found] = {d2, found, {&node, slot}};
            return ++found < limit;
        });

    if (found > maxCount) {
        std::nth_element(candidates, candidates + maxCount, candidates + found);
        found = maxCount;
    }
    for (int i = 0; i < found; ++i)
        emit(*candidates[i].point.node, candidates[i].point.slot, i, points, indices);
    return found;
}

int MKdTree::Impl::findAllNeighbors(const MVector3d &query, double radius, int maxCount, MVector3d *points,
                                    int *indices) const
{
    // A negative radius is an empty ball.
    if (!root || maxCount <= 0 || !(radius >= 0.0))
        return 0;
    int count = 0;
    walkBall(root, query.data(), radius, [&](const Node &node, int slot, double) {
        emit(node, slot, count, points, indices);
        return ++count < maxCount;
    });
    return count;
}

bool MKdTree::Impl::findAnyNeighbor(const MVector3d &query, double radius, MVector3d *point, int *index) const
{
    if (!root)
        return false;
    Slot hit;
    if (radius >= 0.0)
        walkBall(root, query.data(), radius, [&](const Node &node, int slot, double) {
            hit = {&node, slot};
            return false;
        });
    if (!hit.node) {
        emitNothing(point, index);
        return false;
    }
    emit(*hit.node, hit.slot, 0, point, index);
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
        [&](const Node &node) {
            for (int i = 0; i < node.count; ++i) {
                if (node.x[i] >= lo[0] && hi[0] >= node.x[i] && node.y[i] >= lo[1] && hi[1] >= node.y[i] &&
                    node.z[i] >= lo[2] && hi[2] >= node.z[i]) {
                    emit(node, i, count, points, indices);
                    if (++count == maxCount)
                        return false;
                }
            }
            return true;
        });
    return count;
}

} // namespace ZOLAR3D
