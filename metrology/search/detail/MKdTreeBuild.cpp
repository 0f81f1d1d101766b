#include "metrology/search/detail/MKdTreeImpl.h"
#include "metrology/search/detail/MSmallStack.h"

#include <cfloat>
#include <cmath>
#include <memory>
#include <new>

namespace ZOLAR3D {
namespace {

using Node = MKdTree::Impl::Node;
constexpr int BucketSize = MKdTree::Impl::BucketSize;

// The largest float not above v and the smallest float not below it. A box
// made of these holds its double points exactly; rounding to nearest could
// cut a point off by half a float step and make queries miss it.
float floatBelow(double v)
{
    if (v > double(FLT_MAX))
        return FLT_MAX;
    if (v < -double(FLT_MAX))
        return -INFINITY;
    const float f = float(v);
    return double(f) > v ? std::nextafter(f, -INFINITY) : f;
}

float floatAbove(double v)
{
    if (v < -double(FLT_MAX))
        return -FLT_MAX;
    if (v > double(FLT_MAX))
        return INFINITY;
    const float f = float(v);
    return double(f) < v ? std::nextafter(f, INFINITY) : f;
}

// Widens the node's box over [lo, hi]; the node's first point sets it.
void extendBox(Node &node, const double lo[3], const double hi[3])
{
    for (int axis = 0; axis < 3; ++axis) {
        const float below = floatBelow(lo[axis]);
        const float above = floatAbove(hi[axis]);
        const bool empty = node.count == 0;
        if (empty || below < node.boxMin[axis])
            node.boxMin[axis] = below;
        if (empty || above > node.boxMax[axis])
            node.boxMax[axis] = above;
    }
}

// The list of one node under construction: a range of the index list, where
// the node is to be hung, and whether all its points are known to coincide.
struct BuildTask {
    int begin;
    int end;
    Node **slot;
    bool coincident;
};

template <class Point>
MVector3d toVector3d(const Point &p)
{
    return {double(p.x()), double(p.y()), double(p.z())};
}

// The axis of largest spread and its mean. The means are taken over the
// points left after the bucket's share, but the squared deviations from them
// over the whole list, the bucket's share included; the axis choice depends
// on that asymmetry and keeps it.
template <class Point>
void chooseSplit(const Point *points, const int *list, int begin, int rest, int end, Node &node)
{
    // Summed relative to the first remaining point, which keeps the digits of
    // clouds far from the origin and makes the mean of equal values exact.
    const int remaining = end - rest;
    const MVector3d origin = toVector3d(points[list[rest]]);
    double mean[3] = {0.0, 0.0, 0.0};
    for (int i = rest; i < end; ++i) {
        const Point &p = points[list[i]];
        mean[0] += p.x() - origin[0];
        mean[1] += p.y() - origin[1];
        mean[2] += p.z() - origin[2];
    }
    for (int axis = 0; axis < 3; ++axis)
        mean[axis] = origin[axis] + mean[axis] / remaining;

    double spread[3] = {0.0, 0.0, 0.0};
    for (int i = begin; i < end; ++i) {
        const Point &p = points[list[i]];
        const double dx = p.x() - mean[0], dy = p.y() - mean[1], dz = p.z() - mean[2];
        spread[0] += dx * dx;
        spread[1] += dy * dy;
        spread[2] += dz * dz;
    }
    for (double &s : spread)
        s /= remaining;

    int axis = 0;
    if (spread[1] > spread[axis])
        axis = 1;
    if (spread[2] > spread[axis])
        axis = 2;
    node.splitAxis = axis;
    node.splitValue = mean[axis];
}

// Points below the split value go left, all others right, each side keeping
// the list order. Returns where the right side starts.
template <class Point>
int distribute(const Point *points, int *list, int *spill, int begin, int end, const Node &node)
{
    const int axis = node.splitAxis;
    const double split = node.splitValue;
    int left = begin;
    int right = 0;
    for (int i = begin; i < end; ++i) {
        const int index = list[i];
        if (split > double(points[index][axis]))
            list[left++] = index;
        else
            spill[right++] = index;
    }
    std::copy(spill, spill + right, list + left);
    return left;
}

// Box over the whole list, bucket from its front; returns the end of the
// bucket's share. Finds out whether all points of the list coincide, unless
// that is known already.
template <class Point>
int fillNode(const Point *points, const int *list, int begin, int end, Node &node, bool &coincident)
{
    const MVector3d first = toVector3d(points[list[begin]]);
    double lo[3], hi[3];
    for (int axis = 0; axis < 3; ++axis)
        lo[axis] = hi[axis] = first[axis];
    if (!coincident) {
        for (int i = begin + 1; i < end; ++i) {
            const MVector3d p = toVector3d(points[list[i]]);
            for (int axis = 0; axis < 3; ++axis) {
                lo[axis] = std::min(lo[axis], p[axis]);
                hi[axis] = std::max(hi[axis], p[axis]);
            }
        }
        coincident = lo[0] == hi[0] && lo[1] == hi[1] && lo[2] == hi[2];
    }
    extendBox(node, lo, hi);

    const int rest = std::min(end, begin + BucketSize - node.count);
    for (int i = begin; i < rest; ++i)
        node.bucket[node.count++] = {toVector3d(points[list[i]]), list[i]};
    return rest;
}

} // namespace

MKdTree::Impl::Node *MKdTree::Impl::newNode() { return new (nodes.allocate()) Node(); }

void MKdTree::Impl::clear()
{
    nodes.clear();
    root = nullptr;
    numPoints = 0;
}

void MKdTree::Impl::from(const MVector3d *points, int count)
{
    clear();
    if (!points || count <= 0)
        return;
    nodes.setBlockSize(count / 8 + 1);
    build(points, count);
    // Invalid points keep their index too, so insert starts after all of them.
    numPoints = count;
}

void MKdTree::Impl::from(const MVector3f *points, int count)
{
    clear();
    if (!points || count <= 0)
        return;
    nodes.setBlockSize(count / 8 + 1);
    build(points, count);
    numPoints = count;
}

// Depth first with an explicit stack, left before right, so that the nodes lie
// in the blocks in the order of a depth-first walk and a degenerate tree (many
// equal points make a long chain) cannot exhaust the call stack.
template <class Point>
void MKdTree::Impl::build(const Point *points, int count)
{
    std::unique_ptr<int[]> list(new int[count]);
    int valid = 0;
    for (int i = 0; i < count; ++i)
        if (points[i].isValid())
            list[valid++] = i;
    if (valid == 0) {
        // Nothing valid: a root with an empty bucket and no box.
        root = newNode();
        return;
    }

    std::unique_ptr<int[]> spill(new int[valid]);
    MSmallStack<BuildTask, 64> tasks;
    tasks.push({0, valid, &root, false});
    while (!tasks.isEmpty()) {
        const BuildTask task = tasks.pop();
        Node *node = *task.slot = newNode();
        bool coincident = task.coincident;
        const int rest = fillNode(points, list.get(), task.begin, task.end, *node, coincident);
        if (rest == task.end)
            continue;
        if (coincident) {
            // What the general rule gives for equal points (no spread, so the x
            // axis, and nothing below the mean), without its passes over the
            // list: a long run of equal points would make them quadratic.
            node->splitAxis = 0;
            node->splitValue = node->bucket[0].position.x();
            tasks.push({rest, task.end, &node->right, true});
            continue;
        }
        chooseSplit(points, list.get(), task.begin, rest, task.end, *node);
        const int middle = distribute(points, list.get(), spill.get(), rest, task.end, *node);
        if (middle < task.end)
            tasks.push({middle, task.end, &node->right, false});
        if (rest < middle)
            tasks.push({rest, middle, &node->left, false});
    }
}

void MKdTree::Impl::insert(const MVector3d &point)
{
    const int index = numPoints;
    numPoints = int(unsigned(numPoints) + 1u);
    // As in the bulk build, an invalid point uses up its index but is not stored.
    if (!point.isValid())
        return;
    if (!root) {
        nodes.setBlockSize(InsertBlockSize);
        root = newNode();
    }
    const double *p = point.data();
    Node *node = root;
    for (;;) {
        extendBox(*node, p, p);
        if (node->count < BucketSize) {
            node->bucket[node->count++] = {point, index};
            return;
        }
        // The split follows the box as it grows and is recomputed on every
        // pass; children already there stay, as no query reads the split.
        int axis = 0;
        float widest = node->boxMax[0] - node->boxMin[0];
        for (int a = 1; a < 3; ++a) {
            const float width = node->boxMax[a] - node->boxMin[a];
            if (width > widest) {
                widest = width;
                axis = a;
            }
        }
        node->splitAxis = axis;
        node->splitValue = (node->boxMin[axis] + node->boxMax[axis]) * 0.5f;
        Node *&child = node->splitValue > p[axis] ? node->left : node->right;
        if (!child)
            child = newNode();
        node = child;
    }
}

} // namespace ZOLAR3D
