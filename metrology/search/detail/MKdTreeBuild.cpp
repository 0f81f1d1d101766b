#include "metrology/search/detail/MKdTreeImpl.h"
#include "metrology/search/detail/MSmallStack.h"

#include <algorithm>
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

template <class Point>
MVector3d toVector3d(const Point &p)
{
    return {double(p.x()), double(p.y()), double(p.z())};
}

// The list of one node under construction: a range of the list, where the
// node is to be hung, and whether all its points are known to coincide.
struct BuildTask {
    int begin;
    int end;
    Node **slot;
    bool coincident;
};

// The list as positions in the caller's array. Lists of the upper levels are
// too long for the caches anyway; their points are read where they are.
template <class Point>
class IndexedList {
public:
    IndexedList(const Point *points, int *list, int *spill) : m_points(points), m_list(list), m_spill(spill) {}

    MVector3d point(int i) const { return toVector3d(m_points[m_list[i]]); }
    int index(int i) const { return m_list[i]; }

    // Points below the split value go left, all others right, each side
    // keeping the list order. Every entry is written to both sides and only
    // one side advances, because the side is a coin flip that a branch would
    // mispredict. Returns where the right side starts.
    int distribute(int begin, int end, int axis, double split)
    {
        int left = begin;
        int right = 0;
        for (int i = begin; i < end; ++i) {
            const int entry = m_list[i];
            const bool goesLeft = split > double(m_points[entry][axis]);
            m_list[left] = entry;
            m_spill[right] = entry;
            left += goesLeft;
            right += !goesLeft;
        }
        std::copy(m_spill, m_spill + right, m_list + left);
        return left;
    }

private:
    const Point *m_points;
    int *m_list;
    int *m_spill;
};

// A copy of a short list's points and indices, moved along with the list, so
// that the rest of the subtree is built within the caches.
struct CompactPoint {
    double coordinates[3];
    int index;
};

class CompactList {
public:
    // Lists of this length and shorter are copied; the two buffers fit in the
    // second-level cache of current processors.
    static constexpr int MaxLength = 1 << 15;

    CompactList() : m_points(new CompactPoint[MaxLength]), m_spill(new CompactPoint[MaxLength]) {}

    template <class Source>
    void copy(const Source &source, int begin, int end)
    {
        for (int i = begin; i < end; ++i) {
            const MVector3d p = source.point(i);
            m_points[i - begin] = {{p.x(), p.y(), p.z()}, source.index(i)};
        }
    }

    MVector3d point(int i) const
    {
        const double *c = m_points[i].coordinates;
        return {c[0], c[1], c[2]};
    }
    int index(int i) const { return m_points[i].index; }

    int distribute(int begin, int end, int axis, double split)
    {
        int left = begin;
        int right = 0;
        for (int i = begin; i < end; ++i) {
            const CompactPoint entry = m_points[i];
            const bool goesLeft = split > entry.coordinates[axis];
            m_points[left] = entry;
            m_spill[right] = entry;
            left += goesLeft;
            right += !goesLeft;
        }
        std::copy(m_spill.get(), m_spill.get() + right, m_points.get() + left);
        return left;
    }

private:
    std::unique_ptr<CompactPoint[]> m_points;
    std::unique_ptr<CompactPoint[]> m_spill;
};

// What one pass over a node's list gathers: the bounds of all its points and,
// for the points left after the bucket's share, their sum relative to the
// first of them, which keeps the digits of clouds far from the origin and
// makes the mean of equal values exact.
struct ListScan {
    double lo[3];
    double hi[3];
    MVector3d origin;
    double sum[3] = {0.0, 0.0, 0.0};

    bool coincident() const { return lo[0] == hi[0] && lo[1] == hi[1] && lo[2] == hi[2]; }
};

template <class Source>
ListScan scanList(const Source &source, int begin, int rest, int end)
{
    ListScan scan;
    const MVector3d first = source.point(begin);
    for (int axis = 0; axis < 3; ++axis)
        scan.lo[axis] = scan.hi[axis] = first[axis];
    scan.origin = source.point(rest < end ? rest : begin);
    for (int i = begin + 1; i < end; ++i) {
        const MVector3d p = source.point(i);
        for (int axis = 0; axis < 3; ++axis) {
            scan.lo[axis] = std::min(scan.lo[axis], p[axis]);
            scan.hi[axis] = std::max(scan.hi[axis], p[axis]);
            if (i >= rest)
                scan.sum[axis] += p[axis] - scan.origin[axis];
        }
    }
    return scan;
}

// The axis of largest spread and its mean. The means are taken over the
// points left after the bucket's share, but the squared deviations from them
// over the whole list, the bucket's share included; the axis choice depends
// on that asymmetry and keeps it.
template <class Source>
void chooseSplit(const Source &source, int begin, int rest, int end, const ListScan &scan, Node &node)
{
    const int remaining = end - rest;
    double mean[3];
    for (int axis = 0; axis < 3; ++axis)
        mean[axis] = scan.origin[axis] + scan.sum[axis] / remaining;

    double spread[3] = {0.0, 0.0, 0.0};
    for (int i = begin; i < end; ++i) {
        const MVector3d p = source.point(i);
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

// Depth first with an explicit stack, left before right, so that the nodes lie
// in the blocks in the order of a depth-first walk and a degenerate tree (many
// equal points make a long chain) cannot exhaust the call stack. A task that
// handOff takes is built by it, in the same order.
template <class Source, class NewNode, class HandOff>
void buildNodes(Source &source, const BuildTask &top, NewNode newNode, HandOff handOff)
{
    MSmallStack<BuildTask, 64> tasks;
    tasks.push(top);
    while (!tasks.isEmpty()) {
        const BuildTask task = tasks.pop();
        if (handOff(task))
            continue;
        Node *node = *task.slot = newNode();
        const int rest = std::min(task.end, task.begin + BucketSize);
        ListScan scan;
        if (task.coincident) {
            const MVector3d p = source.point(task.begin);
            extendBox(*node, p.data(), p.data());
        } else {
            scan = scanList(source, task.begin, rest, task.end);
            extendBox(*node, scan.lo, scan.hi);
        }
        for (int i = task.begin; i < rest; ++i)
            node->add(source.point(i), source.index(i));
        if (rest == task.end)
            continue;
        if (task.coincident || scan.coincident()) {
            // What the general rule gives for equal points (no spread, so the
            // x axis, and nothing below the mean), without its passes over the
            // list: a long run of equal points would make them quadratic.
            node->splitAxis = 0;
            node->splitValue = node->x[0];
            tasks.push({rest, task.end, &node->right, true});
            continue;
        }
        chooseSplit(source, task.begin, rest, task.end, scan, *node);
        const int middle = source.distribute(rest, task.end, node->splitAxis, node->splitValue);
        if (middle < task.end)
            tasks.push({middle, task.end, &node->right, false});
        if (rest < middle)
            tasks.push({rest, middle, &node->left, false});
    }
}

} // namespace

MKdTree::Impl::Node *MKdTree::Impl::newNode() { return new (nodes.allocate()) Node(); }

void MKdTree::Impl::clear()
{
    nodes.clear();
    root = nullptr;
    numPoints = 0;
}

void MKdTree::Impl::from(const MVector3d *points, int count) { fromPoints(points, count); }

void MKdTree::Impl::from(const MVector3f *points, int count) { fromPoints(points, count); }

template <class Point>
void MKdTree::Impl::fromPoints(const Point *points, int count)
{
    clear();
    if (!points || count <= 0)
        return;
    nodes.setBlockSize(count / 8 + 1);
    build(points, count);
    // Invalid points keep their index too, so insert starts after all of them.
    numPoints = count;
}

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
    IndexedList<Point> indexed(points, list.get(), spill.get());
    CompactList compact;
    auto newNode = [this] { return this->newNode(); };
    auto never = [](const BuildTask &) { return false; };
    buildNodes(indexed, BuildTask{0, valid, &root, false}, newNode, [&](const BuildTask &task) {
        const int length = task.end - task.begin;
        if (length > CompactList::MaxLength)
            return false;
        compact.copy(indexed, task.begin, task.end);
        buildNodes(compact, BuildTask{0, length, task.slot, task.coincident}, newNode, never);
        return true;
    });
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
            node->add(point, index);
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
