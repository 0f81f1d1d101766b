#include "MKdTree.h"
#include "MPointCloud.h"
#include "metrology/search/detail/MKdTreeImpl.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

using namespace ZOLAR3D;

namespace {

const double NaN = std::numeric_limits<double>::quiet_NaN();

std::vector<MVector3d> randomPoints(int n, unsigned seed, double extent = 1.0, double offset = 0.0)
{
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> coordinate(offset, offset + extent);
    std::vector<MVector3d> points(n);
    for (MVector3d &p : points)
        p.setValues(coordinate(random), coordinate(random), coordinate(random));
    return points;
}

// Integer lattice: many points at exactly equal distances from lattice queries.
std::vector<MVector3d> gridPoints(int side)
{
    std::vector<MVector3d> points;
    for (int i = 0; i < side; ++i)
        for (int j = 0; j < side; ++j)
            for (int k = 0; k < side; ++k)
                points.emplace_back(i, j, k);
    return points;
}

// Every point several times over, in scattered order.
std::vector<MVector3d> duplicatedPoints(int distinct, int copies, unsigned seed)
{
    const std::vector<MVector3d> base = randomPoints(distinct, seed);
    std::vector<MVector3d> points;
    for (int c = 0; c < copies; ++c)
        points.insert(points.end(), base.begin(), base.end());
    std::shuffle(points.begin(), points.end(), std::mt19937(seed + 1));
    return points;
}

double squaredDistance(const MVector3d &a, const MVector3d &b)
{
    const double dx = b.x() - a.x(), dy = b.y() - a.y(), dz = b.z() - a.z();
    return dx * dx + dy * dy + dz * dz;
}

std::vector<int> bruteBall(const std::vector<MVector3d> &points, const MVector3d &q, double radius)
{
    std::vector<int> result;
    for (int i = 0; i < int(points.size()); ++i)
        if (points[i].isValid() && squaredDistance(points[i], q) <= radius * radius)
            result.push_back(i);
    return result;
}

std::vector<int> bruteBox(const std::vector<MVector3d> &points, const MVector3d &lo, const MVector3d &hi)
{
    std::vector<int> result;
    for (int i = 0; i < int(points.size()); ++i) {
        const MVector3d &p = points[i];
        if (p.isValid() && p.x() >= lo.x() && p.y() >= lo.y() && p.z() >= lo.z() && p.x() <= hi.x() &&
            p.y() <= hi.y() && p.z() <= hi.z())
            result.push_back(i);
    }
    return result;
}

double bruteNearest2(const std::vector<MVector3d> &points, const MVector3d &q, bool ignoreZero = false)
{
    double best = std::numeric_limits<double>::infinity();
    for (const MVector3d &p : points)
        if (p.isValid() && !(ignoreZero && squaredDistance(p, q) == 0.0))
            best = std::min(best, squaredDistance(p, q));
    return best;
}

std::vector<int> sorted(std::vector<int> v)
{
    std::sort(v.begin(), v.end());
    return v;
}

struct Found {
    std::vector<MVector3d> points;
    std::vector<int> indices;
};

// maxCount is also the capacity of the buffers.
Found allNeighbors(const MKdTree &tree, const MVector3d &q, double radius, int maxCount)
{
    Found found;
    found.points.resize(std::max(maxCount, 0));
    found.indices.resize(std::max(maxCount, 0));
    const int n = tree.findAllNeighbors(q, radius, maxCount, found.points.data(), found.indices.data());
    found.points.resize(n);
    found.indices.resize(n);
    return found;
}

Found allInBox(const MKdTree &tree, const MVector3d &lo, const MVector3d &hi, int maxCount)
{
    Found found;
    found.points.resize(std::max(maxCount, 0));
    found.indices.resize(std::max(maxCount, 0));
    const int n = tree.findAllPointsInBox(lo, hi, maxCount, found.points.data(), found.indices.data());
    found.points.resize(n);
    found.indices.resize(n);
    return found;
}

// The points written must be the stored points of the indices written.
void expectPointsMatchIndices(const Found &found, const std::vector<MVector3d> &points)
{
    ASSERT_EQ(found.points.size(), found.indices.size());
    for (size_t i = 0; i < found.indices.size(); ++i)
        EXPECT_EQ(found.points[i], points[found.indices[i]]);
}

// Radius search and nearest neighbour against brute force, the points written
// being the stored points of the indices written.
void expectMatchesBruteForce(const MKdTree &tree, const std::vector<MVector3d> &points,
                             const std::vector<MVector3d> &queries, double radius)
{
    for (const MVector3d &q : queries) {
        const Found found = allNeighbors(tree, q, radius, int(points.size()));
        EXPECT_EQ(sorted(found.indices), bruteBall(points, q, radius));
        expectPointsMatchIndices(found, points);
        MVector3d nearest;
        int index = -2;
        ASSERT_TRUE(tree.findNearestNeighbor(q, 10.0, &nearest, &index, false));
        EXPECT_EQ(nearest, points[index]);
        EXPECT_EQ(squaredDistance(nearest, q), bruteNearest2(points, q));
    }
}

// Every search comes back empty: -1 for the index, the infinite point for the
// nearest one, no count.
void expectFindsNothing(const MKdTree &tree, const MVector3d &q, double radius)
{
    MVector3d point = MVector3d::Zero;
    int index = 42;
    EXPECT_FALSE(tree.findNearestNeighbor(q, radius, &point, &index, false));
    EXPECT_EQ(point, MVector3d::Infinity);
    EXPECT_EQ(index, -1);
    index = 42;
    EXPECT_FALSE(tree.findAnyNeighbor(q, radius, nullptr, &index));
    EXPECT_EQ(index, -1);
    EXPECT_EQ(tree.findAllNeighbors(q, radius, 10, nullptr, nullptr), 0);
    EXPECT_EQ(tree.findNearestNeighbors(q, radius, 10, nullptr, nullptr), 0);
}

struct Cloud {
    const char *name;
    std::vector<MVector3d> points;
    std::vector<double> radii;
};

std::vector<Cloud> testClouds()
{
    return {
        {"random", randomPoints(3000, 7), {0.0, 0.01, 0.05, 0.1, 0.3, 2.0}},
        {"grid", gridPoints(12), {0.0, 1.0, 1.5, std::sqrt(2.0), 2.0, 3.0, 20.0}},
        {"duplicated", duplicatedPoints(400, 5, 11), {0.0, 0.02, 0.1, 0.5}},
        {"far from the origin", randomPoints(2000, 13, 1e-3, 1e6), {0.0, 1e-5, 1e-4, 5e-4}},
    };
}

std::vector<MVector3d> queriesFor(const std::vector<MVector3d> &points, unsigned seed)
{
    // Stored points themselves, points between them and points outside.
    std::vector<MVector3d> queries(points.begin(), points.begin() + 40);
    MVector3d lo = points[0], hi = points[0];
    for (const MVector3d &p : points) {
        lo = MVector3d::minimum(lo, p);
        hi = MVector3d::maximum(hi, p);
    }
    std::mt19937 random(seed);
    for (int i = 0; i < 60; ++i) {
        MVector3d q;
        for (int axis = 0; axis < 3; ++axis) {
            const double margin = 0.2 * (hi[axis] - lo[axis]);
            q[axis] = std::uniform_real_distribution<double>(lo[axis] - margin, hi[axis] + margin)(random);
        }
        queries.push_back(q);
    }
    return queries;
}

// The searches in their plainest form, over the tree's own nodes: boxes grown
// by a cube, the first guess from the descent through containing boxes, and
// nothing else to narrow the search. The tree's searches narrow it further and
// must still give the same points in the same order.
namespace literal {

using Node = MKdTree::Impl::Node;

// The tree holds nothing but the pointer to its nodes.
static_assert(std::is_standard_layout_v<MKdTree> && sizeof(MKdTree) == sizeof(void *));
const Node *rootOf(const MKdTree &tree) { return (*reinterpret_cast<MKdTree::Impl *const *>(&tree))->root; }

bool inGrownBox(const Node &node, const MVector3d &q, double r)
{
    for (int a = 0; a < 3; ++a)
        if (!(q[a] >= double(node.boxMin[a]) - r && double(node.boxMax[a]) + r >= q[a]))
            return false;
    return true;
}

double squaredDistance(const Node &node, int slot, const MVector3d &q)
{
    const double dx = q.x() - node.x[slot], dy = q.y() - node.y[slot], dz = q.z() - node.z[slot];
    return dx * dx + dy * dy + dz * dz;
}

int nearest(const MKdTree &tree, const MVector3d &q, double maxDistance, bool ignoreZero)
{
    const Node *node = rootOf(tree);
    while (true) {
        if (node->left && inGrownBox(*node->left, q, 0.0))
            node = node->left;
        else if (node->right && inGrownBox(*node->right, q, 0.0))
            node = node->right;
        else
            break;
    }
    int bestIndex = -1;
    double best2 = MInvalid, best = MInvalid;
    for (int i = 0; i < node->count; ++i)
        if (bestIndex < 0 || squaredDistance(*node, i, q) < best2) {
            best2 = squaredDistance(*node, i, q);
            best = std::sqrt(best2);
            bestIndex = node->index[i];
        }
    std::vector<const Node *> stack{rootOf(tree)};
    while (!stack.empty()) {
        const Node *n = stack.back();
        stack.pop_back();
        if (!inGrownBox(*n, q, std::min(best, maxDistance)))
            continue;
        for (int i = 0; i < n->count; ++i) {
            const double d2 = squaredDistance(*n, i, q);
            if (d2 <= std::min(maxDistance * maxDistance, best2) && !(ignoreZero && d2 == 0.0)) {
                best2 = d2;
                best = std::sqrt(d2);
                bestIndex = n->index[i];
            }
        }
        if (n->left)
            stack.push_back(n->left);
        if (n->right)
            stack.push_back(n->right);
    }
    return bestIndex >= 0 && maxDistance >= best ? bestIndex : -1;
}

std::vector<int> ball(const MKdTree &tree, const MVector3d &q, double r)
{
    std::vector<int> found;
    std::vector<const Node *> stack{rootOf(tree)};
    while (!stack.empty()) {
        const Node *n = stack.back();
        stack.pop_back();
        for (int i = 0; i < n->count; ++i)
            if (squaredDistance(*n, i, q) <= r * r)
                found.push_back(n->index[i]);
        if (n->right && inGrownBox(*n->right, q, r))
            stack.push_back(n->right);
        if (n->left && inGrownBox(*n->left, q, r))
            stack.push_back(n->left);
    }
    return found;
}

} // namespace literal

} // namespace

TEST(MKdTree, EmptyTreeFindsNothingAndLeavesOutputsAlone)
{
    MKdTree tree;
    const MVector3d stored(1, 2, 3);
    for (int round = 0; round < 2; ++round) {
        MVector3d point = stored;
        int index = 42;
        EXPECT_FALSE(tree.findNearestNeighbor(MVector3d::Zero, 10.0, &point, &index, false));
        EXPECT_FALSE(tree.findAnyNeighbor(MVector3d::Zero, 10.0, &point, &index));
        EXPECT_EQ(point, stored);
        EXPECT_EQ(index, 42);
        EXPECT_EQ(tree.findAllNeighbors(MVector3d::Zero, 10.0, 1, &point, &index), 0);
        EXPECT_EQ(tree.findNearestNeighbors(MVector3d::Zero, 10.0, 1, &point, &index), 0);
        EXPECT_EQ(tree.findAllPointsInBox(MVector3d(-9, -9, -9), MVector3d(9, 9, 9), 1, &point, &index), 0);
        EXPECT_EQ(index, 42);
        tree.from(&stored, 0);
    }
}

TEST(MKdTree, OnlyInvalidPointsGiveNoSeedAndInfinity)
{
    std::vector<MVector3d> points(5);
    points[1].setValues(NaN, 0, 0);
    points[2].setValues(0, 0, MInvalid);
    MKdTree tree;
    tree.from(points.data(), int(points.size()));

    expectFindsNothing(tree, MVector3d::Zero, 1e300);

    // The invalid points used up their indices.
    tree.insert(MVector3d(1, 1, 1));
    int index = -2;
    EXPECT_TRUE(tree.findNearestNeighbor(MVector3d::Zero, 2.0, nullptr, &index, false));
    EXPECT_EQ(index, 5);
}

TEST(MKdTree, RadiusAnyAndBoxSearchesMatchBruteForce)
{
    for (const Cloud &cloud : testClouds()) {
        SCOPED_TRACE(cloud.name);
        MKdTree tree;
        tree.from(cloud.points.data(), int(cloud.points.size()));
        for (const MVector3d &q : queriesFor(cloud.points, 3)) {
            for (double radius : cloud.radii) {
                const Found found = allNeighbors(tree, q, radius, int(cloud.points.size()));
                const std::vector<int> expected = bruteBall(cloud.points, q, radius);
                ASSERT_EQ(sorted(found.indices), expected) << "radius " << radius;
                expectPointsMatchIndices(found, cloud.points);

                // A limit keeps the front of the same walk.
                const int limit = int(expected.size()) / 2;
                const Found front = allNeighbors(tree, q, radius, limit);
                EXPECT_TRUE(std::equal(front.indices.begin(), front.indices.end(), found.indices.begin()));
                EXPECT_EQ(int(front.indices.size()), limit);

                int any = -1;
                MVector3d anyPoint;
                EXPECT_EQ(tree.findAnyNeighbor(q, radius, &anyPoint, &any), !expected.empty());
                if (!expected.empty()) {
                    EXPECT_EQ(any, found.indices[0]);
                    EXPECT_EQ(anyPoint, cloud.points[any]);
                }

                const MVector3d lo(q.x() - radius, q.y() - radius * 0.5, q.z() - radius);
                const MVector3d hi(q.x() + radius * 0.5, q.y() + radius, q.z() + radius);
                const Found inBox = allInBox(tree, lo, hi, int(cloud.points.size()));
                ASSERT_EQ(sorted(inBox.indices), bruteBox(cloud.points, lo, hi));
                expectPointsMatchIndices(inBox, cloud.points);
            }
        }
    }
}

TEST(MKdTree, NearestNeighborMatchesBruteForce)
{
    for (const Cloud &cloud : testClouds()) {
        SCOPED_TRACE(cloud.name);
        MKdTree tree;
        tree.from(cloud.points.data(), int(cloud.points.size()));
        for (const MVector3d &q : queriesFor(cloud.points, 5)) {
            for (bool ignoreZero : {false, true}) {
                MVector3d nearest;
                int index = -2;
                ASSERT_TRUE(tree.findNearestNeighbor(q, 1e300, &nearest, &index, ignoreZero));
                ASSERT_GE(index, 0);
                EXPECT_EQ(nearest, cloud.points[index]);
                const double found2 = squaredDistance(nearest, q);
                if (!ignoreZero || found2 > 0.0) {
                    EXPECT_EQ(found2, bruteNearest2(cloud.points, q, ignoreZero));
                }

                // Just inside and just outside the nearest distance; the bound
                // is compared squared, so the root is taken up to the next double.
                double d = std::sqrt(found2);
                if (d * d < found2)
                    d = std::nextafter(d, INFINITY);
                ASSERT_TRUE(tree.findNearestNeighbor(q, d, nullptr, &index, ignoreZero));
                EXPECT_EQ(squaredDistance(cloud.points[index], q), found2);
                if (d > 0.0) {
                    EXPECT_FALSE(tree.findNearestNeighbor(q, d * (1 - 1e-9), &nearest, &index, ignoreZero));
                    EXPECT_EQ(index, -1);
                    EXPECT_EQ(nearest, MVector3d::Infinity);
                }
            }
        }
    }
}

TEST(MKdTree, LargeCloudsMatchBruteForce)
{
    // Long lists are built from the caller's array, short ones from a copy;
    // both must give a tree that finds the same points.
    std::vector<MVector3d> points = randomPoints(90000, 53, 1.0, -0.5);
    const std::vector<MVector3d> copies(points.begin(), points.begin() + 10000);
    points.insert(points.end(), copies.begin(), copies.end());
    MKdTree tree;
    tree.from(points.data(), int(points.size()));
    std::vector<MVector3d> queries = queriesFor(points, 8);
    queries.resize(60);
    expectMatchesBruteForce(tree, points, queries, 0.03);
    EXPECT_EQ(tree.findAllNeighbors(MVector3d::Zero, 2.0, int(points.size()), nullptr, nullptr), int(points.size()));
}

TEST(MKdTree, NarrowedSearchesAgreeWithTheLiteralWalk)
{
    // Grids and duplicates are full of equal distances, where only the visiting
    // order decides which point is returned.
    std::vector<Cloud> clouds = testClouds();
    std::vector<MVector3d> inserted = gridPoints(9);
    std::shuffle(inserted.begin(), inserted.end(), std::mt19937(61));
    clouds.push_back({"inserted grid", inserted, {0.0, 1.0, 1.5, 2.0}});
    for (const Cloud &cloud : clouds) {
        SCOPED_TRACE(cloud.name);
        MKdTree tree;
        if (std::string(cloud.name) == "inserted grid") {
            for (const MVector3d &p : cloud.points)
                tree.insert(p);
        } else {
            tree.from(cloud.points.data(), int(cloud.points.size()));
        }
        std::vector<MVector3d> queries = queriesFor(cloud.points, 12);
        // Lattice queries and half-lattice ones, with many equally near points.
        for (int i = 0; i < 30; ++i)
            queries.emplace_back(0.5 * (i % 7), 0.5 * (i % 5), 0.5 * (i % 3));
        for (const MVector3d &q : queries) {
            for (bool ignoreZero : {false, true})
                for (double maxDistance : {1e30, 1.0, 0.5}) {
                    int index = -2;
                    tree.findNearestNeighbor(q, maxDistance, nullptr, &index, ignoreZero);
                    ASSERT_EQ(index, literal::nearest(tree, q, maxDistance, ignoreZero));
                }
            for (double radius : cloud.radii)
                ASSERT_EQ(allNeighbors(tree, q, radius, int(cloud.points.size())).indices,
                          literal::ball(tree, q, radius));
        }
    }
}

TEST(MKdTree, NearestNeighborTieGoesToTheLastVisited)
{
    const MVector3d points[] = {{-1, 0, 0}, {1, 0, 0}, {0, 5, 0}};
    MKdTree tree;
    tree.from(points, 3);
    int index = -2;
    EXPECT_TRUE(tree.findNearestNeighbor(MVector3d::Zero, 10.0, nullptr, &index, false));
    EXPECT_EQ(index, 1);
}

TEST(MKdTree, IgnoreZeroDistanceStillReturnsTheFirstGuessOnAStoredPoint)
{
    const MVector3d points[] = {{0, 0, 0}, {1, 0, 0}, {0, 0, 0}, {3, 0, 0}};
    MKdTree tree;
    tree.from(points, 4);
    MVector3d nearest;
    int index = -2;
    EXPECT_TRUE(tree.findNearestNeighbor(MVector3d::Zero, 10.0, &nearest, &index, true));
    EXPECT_EQ(index, 0);
    EXPECT_EQ(nearest, MVector3d::Zero);

    // Off the stored points the flag only keeps the coincident ones out.
    EXPECT_TRUE(tree.findNearestNeighbor(MVector3d(0.75, 0, 0), 10.0, nullptr, &index, true));
    EXPECT_EQ(index, 1);
}

TEST(MKdTree, PointsExactlyOnTheRadiusAreFound)
{
    // A ring at radius 0.5 around the query, buried among other points so that
    // the ring lies in many nodes.
    std::vector<MVector3d> points = randomPoints(500, 17, 10.0, 2.0);
    const MVector3d q(0.25, 0.5, -0.75);
    const double r = 0.5;
    const std::vector<MVector3d> ring = {{0.75, 0.5, -0.75}, {-0.25, 0.5, -0.75}, {0.25, 1.0, -0.75},
                                         {0.25, 0.0, -0.75}, {0.25, 0.5, -0.25}, {0.25, 0.5, -1.25}};
    for (int i = 0; i < int(ring.size()); ++i)
        points.insert(points.begin() + 80 * i, ring[i]);
    MKdTree tree;
    tree.from(points.data(), int(points.size()));

    EXPECT_EQ(sorted(allNeighbors(tree, q, r, int(points.size())).indices), bruteBall(points, q, r));
    EXPECT_EQ(allNeighbors(tree, q, r, int(points.size())).indices.size(), ring.size());
    EXPECT_TRUE(tree.findAnyNeighbor(q, r, nullptr, nullptr));
    MVector3d nearest;
    EXPECT_TRUE(tree.findNearestNeighbor(q, r, &nearest, nullptr, false));
    EXPECT_EQ(squaredDistance(nearest, q), r * r);
    EXPECT_EQ(tree.findNearestNeighbors(q, r, 3, nullptr, nullptr), 3);
    EXPECT_EQ(tree.findAllPointsInBox(MVector3d(-0.25, 0, -1.25), MVector3d(0.75, 1, -0.25), 100, nullptr, nullptr),
              6);
}

TEST(MKdTree, BoxesContainTheirPointsExactly)
{
    // Tenths are not floats: a box rounded to nearest would cut some points
    // off by half a float step, and a radius-0 query at them would miss.
    std::vector<MVector3d> points;
    for (int i = 0; i < 20; ++i)
        for (int j = 0; j < 20; ++j)
            points.emplace_back(0.1 * i + 1e5, 0.1 * j - 3.3, 0.7 + 0.1 * ((i * j) % 7));
    MKdTree tree;
    tree.from(points.data(), int(points.size()));
    MKdTree inserted;
    for (const MVector3d &p : points)
        inserted.insert(p);
    for (const MKdTree *t : {&tree, &inserted}) {
        for (int i = 0; i < int(points.size()); ++i) {
            const MVector3d &p = points[i];
            EXPECT_EQ(allNeighbors(*t, p, 0.0, 10).indices, std::vector<int>{i});
            EXPECT_TRUE(t->findAnyNeighbor(p, 0.0, nullptr, nullptr));
            MVector3d nearest;
            EXPECT_TRUE(t->findNearestNeighbor(p, 0.0, &nearest, nullptr, false));
            EXPECT_EQ(nearest, p);
            EXPECT_EQ(t->findAllPointsInBox(p, p, 5, nullptr, nullptr), 1);
        }
    }
}

TEST(MKdTree, NearestNeighborsAreTheClosestOfTheBall)
{
    for (const Cloud &cloud : testClouds()) {
        SCOPED_TRACE(cloud.name);
        MKdTree tree;
        tree.from(cloud.points.data(), int(cloud.points.size()));
        for (const MVector3d &q : queriesFor(cloud.points, 9)) {
            for (double radius : cloud.radii) {
                for (int k : {1, 3, 10}) {
                    // The selection weighs exactly the first 10k points of the walk.
                    const Found walk = allNeighbors(tree, q, radius, 10 * k);
                    std::vector<double> expected;
                    for (int index : walk.indices)
                        expected.push_back(squaredDistance(cloud.points[index], q));
                    std::sort(expected.begin(), expected.end());
                    expected.resize(std::min<size_t>(expected.size(), k));

                    std::vector<MVector3d> points(k);
                    std::vector<int> indices(k);
                    const int n = tree.findNearestNeighbors(q, radius, k, points.data(), indices.data());
                    if (radius == 0.0) {
                        EXPECT_EQ(n, 0);
                        continue;
                    }
                    ASSERT_EQ(n, int(expected.size()));
                    std::vector<double> distances;
                    for (int i = 0; i < n; ++i) {
                        EXPECT_EQ(points[i], cloud.points[indices[i]]);
                        distances.push_back(squaredDistance(points[i], q));
                    }
                    std::sort(distances.begin(), distances.end());
                    EXPECT_EQ(distances, expected);
                    // With an uncrowded ball that is the exact answer.
                    if (int(walk.indices.size()) < 10 * k) {
                        std::vector<double> exact;
                        for (int index : bruteBall(cloud.points, q, radius))
                            exact.push_back(squaredDistance(cloud.points[index], q));
                        std::sort(exact.begin(), exact.end());
                        exact.resize(std::min<size_t>(exact.size(), k));
                        EXPECT_EQ(distances, exact);
                    }
                }
            }
        }
    }
}

TEST(MKdTree, NearestNeighborsOfAFewPointsComeInWalkOrder)
{
    const MVector3d points[] = {{3, 0, 0}, {1, 0, 0}, {2, 0, 0}};
    MKdTree tree;
    tree.from(points, 3);
    int indices[3] = {-2, -2, -2};
    EXPECT_EQ(tree.findNearestNeighbors(MVector3d::Zero, 10.0, 3, nullptr, indices), 3);
    EXPECT_EQ(std::vector<int>(indices, indices + 3), (std::vector<int>{0, 1, 2}));
    // More than asked for: the closest, with the farthest left out.
    EXPECT_EQ(tree.findNearestNeighbors(MVector3d::Zero, 10.0, 2, nullptr, indices), 2);
    EXPECT_EQ(sorted({indices[0], indices[1]}), (std::vector<int>{1, 2}));
}

TEST(MKdTree, NearestNeighborsWithZeroDistanceFindNothing)
{
    const MVector3d points[] = {{1, 2, 3}, {4, 5, 6}};
    MKdTree tree;
    tree.from(points, 2);
    EXPECT_EQ(tree.findNearestNeighbors(points[0], 0.0, 5, nullptr, nullptr), 0);
    EXPECT_EQ(tree.findAllNeighbors(points[0], 0.0, 5, nullptr, nullptr), 1);
}

TEST(MKdTree, NoCountWritesNothing)
{
    const std::vector<MVector3d> points = randomPoints(100, 3);
    MKdTree tree;
    tree.from(points.data(), 100);
    MVector3d point = MVector3d::Zero;
    int index = 42;
    for (int count : {0, -1, INT_MIN}) {
        EXPECT_EQ(tree.findAllNeighbors(points[0], 10.0, count, &point, &index), 0);
        EXPECT_EQ(tree.findNearestNeighbors(points[0], 10.0, count, &point, &index), 0);
        EXPECT_EQ(tree.findAllPointsInBox(MVector3d(-9, -9, -9), MVector3d(9, 9, 9), count, &point, &index), 0);
    }
    EXPECT_EQ(point, MVector3d::Zero);
    EXPECT_EQ(index, 42);
    // A huge count is bounded by what the tree holds.
    EXPECT_EQ(tree.findNearestNeighbors(points[0], 10.0, INT_MAX, nullptr, nullptr), 100);
}

TEST(MKdTree, BadQueriesFindNothing)
{
    const std::vector<MVector3d> points = randomPoints(200, 5);
    MKdTree tree;
    tree.from(points.data(), 200);
    const MVector3d nanQuery(0.5, NaN, 0.5);
    expectFindsNothing(tree, nanQuery, 10.0);
    EXPECT_EQ(tree.findAllPointsInBox(nanQuery, MVector3d(9, 9, 9), 10, nullptr, nullptr), 0);
    EXPECT_EQ(tree.findAllPointsInBox(MVector3d(9, 9, 9), MVector3d::Zero, 10, nullptr, nullptr), 0);
    // NaN and negative radii are empty balls; a stored point is no exception.
    for (double radius : {NaN, -1.0, -1e300})
        expectFindsNothing(tree, points[0], radius);

    // An infinite radius takes everything.
    EXPECT_EQ(tree.findAllNeighbors(points[0], INFINITY, 1000, nullptr, nullptr), 200);
    EXPECT_TRUE(tree.findNearestNeighbor(MVector3d(1e300, 0, 0), INFINITY, nullptr, nullptr, false));
}

TEST(MKdTree, InvalidPointsKeepTheirIndex)
{
    std::vector<MVector3d> points = randomPoints(300, 19);
    for (int i = 0; i < 300; i += 7)
        points[i].invalidate();
    for (int i = 3; i < 300; i += 11)
        points[i].setZ(NaN);
    MKdTree tree;
    tree.from(points.data(), int(points.size()));
    expectMatchesBruteForce(tree, points, queriesFor(randomPoints(50, 2), 1), 0.3);
}

TEST(MKdTree, FromACloudUsesItsPointsAndPositions)
{
    MPointCloud cloud;
    for (const MVector3d &p : randomPoints(200, 59))
        cloud.add(p);
    cloud.invalidatePoint(0);
    MKdTree tree;
    tree.from(cloud);
    const std::vector<MVector3d> points(cloud.points(), cloud.points() + cloud.size());
    for (int i : {1, 17, 199}) {
        int index = -2;
        EXPECT_TRUE(tree.findNearestNeighbor(points[i], 0.0, nullptr, &index, false));
        EXPECT_EQ(index, i);
    }
    EXPECT_EQ(tree.findAllNeighbors(MVector3d::Zero, 10.0, 500, nullptr, nullptr), 199);
    tree.insert(MVector3d(5, 5, 5));
    int index = -2;
    EXPECT_TRUE(tree.findNearestNeighbor(MVector3d(5, 5, 5), 0.0, nullptr, &index, false));
    EXPECT_EQ(index, 200);
}

TEST(MKdTree, SinglePrecisionInputKeepsItsIndices)
{
    std::vector<MVector3f> points(40);
    for (int i = 0; i < 40; ++i)
        points[i].setValues(0.1f * float(i), 0.3f, -0.2f * float(i));
    points[4] = MVector3f::Invalid;
    points[5].setY(std::numeric_limits<float>::quiet_NaN());
    MKdTree tree;
    tree.from(points.data(), 40);
    EXPECT_EQ(tree.findAllNeighbors(MVector3d::Zero, 1e9, 100, nullptr, nullptr), 38);
    for (int i : {0, 6, 39}) {
        MVector3d nearest;
        int index = -2;
        EXPECT_TRUE(tree.findNearestNeighbor(MVector3d(points[i]), 0.0, &nearest, &index, false));
        EXPECT_EQ(index, i);
        EXPECT_EQ(nearest, MVector3d(points[i]));
    }
}

TEST(MKdTree, NineCoincidentPointsAreAllFound)
{
    // The bucket takes eight; the ninth is not below the split value and goes
    // right, where the nearest-neighbour walk visits it last.
    const std::vector<MVector3d> points(9, MVector3d(1.5, -2, 7));
    MKdTree tree;
    tree.from(points.data(), 9);
    EXPECT_EQ(allNeighbors(tree, points[0], 0.0, 20).indices, (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7, 8}));
    int index = -2;
    EXPECT_TRUE(tree.findNearestNeighbor(points[0], 0.0, nullptr, &index, false));
    EXPECT_EQ(index, 8);
}

TEST(MKdTree, RadiusAndBoxWalksShareTheTreeOrder)
{
    const std::vector<MVector3d> points = randomPoints(1000, 23);
    MKdTree tree;
    tree.from(points.data(), 1000);
    const Found ball = allNeighbors(tree, MVector3d(0.5, 0.5, 0.5), 10.0, 1000);
    const std::vector<int> box = allInBox(tree, MVector3d(-1, -1, -1), MVector3d(2, 2, 2), 1000).indices;
    ASSERT_EQ(box.size(), 1000u);
    EXPECT_EQ(ball.indices, box);
    // The root's own bucket comes first, in input order.
    EXPECT_EQ(std::vector<int>(box.begin(), box.begin() + 8), (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7}));
}

TEST(MKdTree, InsertAfterBulkBuildExtendsTheIndices)
{
    std::vector<MVector3d> points = randomPoints(2000, 29);
    MKdTree tree;
    tree.from(points.data(), 1500);
    for (int i = 1500; i < 2000; ++i) {
        if (i % 50 == 0)
            points[i].invalidate();
        tree.insert(points[i]);
    }
    expectMatchesBruteForce(tree, points, queriesFor(points, 4), 0.08);
}

TEST(MKdTree, InsertOnlyTreesMatchBruteForce)
{
    // Random order, and points along a line in falling and rising order,
    // which make chains thousands of nodes deep on either side.
    std::vector<MVector3d> falling, rising;
    for (int i = 0; i < 12000; ++i) {
        falling.emplace_back(-0.001 * i, 0.5, 0.25);
        rising.emplace_back(0.001 * i, 0.5 + 1e-7 * i, 0.25);
    }
    for (const std::vector<MVector3d> &points : {randomPoints(3000, 31), falling, rising}) {
        MKdTree tree;
        for (const MVector3d &p : points)
            tree.insert(p);
        std::vector<MVector3d> queries = queriesFor(points, 6);
        queries.resize(30);
        expectMatchesBruteForce(tree, points, queries, 0.05);
    }
}

TEST(MKdTree, ManyCoincidentPointsMakeADeepTreeThatStillAnswers)
{
    const int n = 100000;
    std::vector<MVector3d> points(n, MVector3d(4, 4, 4));
    points[n / 2].setValues(4, 4, 5);
    MKdTree tree;
    tree.from(points.data(), n);
    EXPECT_EQ(tree.findAllNeighbors(MVector3d(4, 4, 4), 0.0, n, nullptr, nullptr), n - 1);
    EXPECT_EQ(tree.findAllPointsInBox(MVector3d(4, 4, 4.5), MVector3d(4, 4, 5), n, nullptr, nullptr), 1);
    int index = -2;
    EXPECT_TRUE(tree.findNearestNeighbor(MVector3d(4, 4, 4.9), 1.0, nullptr, &index, false));
    EXPECT_EQ(index, n / 2);
}

TEST(MKdTree, ClearAndRebuildReplaceTheContents)
{
    const std::vector<MVector3d> first = randomPoints(100, 37), second = randomPoints(50, 41, 1.0, 10.0);
    MKdTree tree;
    tree.from(first.data(), 100);
    tree.from(second.data(), 50);
    EXPECT_EQ(tree.findAllNeighbors(MVector3d::Zero, 5.0, 1000, nullptr, nullptr), 0);
    EXPECT_EQ(tree.findAllNeighbors(MVector3d(10, 10, 10), 5.0, 1000, nullptr, nullptr), 50);
    tree.clear();
    EXPECT_FALSE(tree.findAnyNeighbor(MVector3d(10, 10, 10), 5.0, nullptr, nullptr));
    tree.insert(second[3]);
    int index = -2;
    EXPECT_TRUE(tree.findNearestNeighbor(second[3], 0.0, nullptr, &index, false));
    EXPECT_EQ(index, 0);
}

TEST(MKdTree, ConcurrentQueriesAgreeWithSerialAnswers)
{
    const std::vector<MVector3d> points = randomPoints(20000, 43);
    const std::vector<MVector3d> queries = randomPoints(2000, 47);
    MKdTree tree;
    tree.from(points.data(), int(points.size()));

    struct Answer {
        int nearest = -2;
        std::vector<int> ball;
        std::vector<int> knn;
        int any = -2;
    };
    auto answer = [&](const MVector3d &q) {
        Answer a;
        tree.findNearestNeighbor(q, 1.0, nullptr, &a.nearest, false);
        a.ball = allNeighbors(tree, q, 0.05, 1000).indices;
        a.knn.resize(10);
        a.knn.resize(tree.findNearestNeighbors(q, 0.08, 10, nullptr, a.knn.data()));
        tree.findAnyNeighbor(q, 0.02, nullptr, &a.any);
        return a;
    };
    std::vector<Answer> serial;
    for (const MVector3d &q : queries)
        serial.push_back(answer(q));

    const int numThreads = 4;
    std::vector<std::vector<Answer>> parallel(numThreads, std::vector<Answer>(queries.size()));
    std::vector<std::thread> threads;
    for (int t = 0; t < numThreads; ++t)
        threads.emplace_back([&, t] {
            // Each thread runs through the queries from its own starting point.
            for (size_t i = 0; i < queries.size(); ++i) {
                const size_t j = (i + t * queries.size() / numThreads) % queries.size();
                parallel[t][j] = answer(queries[j]);
            }
        });
    for (std::thread &thread : threads)
        thread.join();
    for (int t = 0; t < numThreads; ++t)
        for (size_t i = 0; i < queries.size(); ++i) {
            EXPECT_EQ(parallel[t][i].nearest, serial[i].nearest);
            EXPECT_EQ(parallel[t][i].ball, serial[i].ball);
            EXPECT_EQ(parallel[t][i].knn, serial[i].knn);
            EXPECT_EQ(parallel[t][i].any, serial[i].any);
        }
}
