#include "GeometryTestSupport.h"
#include "MPointCloud.h"
#include "MSphere.h"
#include "metrology/mesh/detail/MConvexHull.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <utility>
#include <vector>

using namespace ZOLAR3D;

namespace {

// Checks a hull against its points by brute force: every vertex is an input
// point, every point lies behind or on every face, the surface is closed
// with each side run once in each direction (so the winding is consistent),
// V - E + F = 2, and the enclosed volume is positive (so the winding faces out).
void expectHullOf(const std::vector<MVector3d> &points, const MConvexHull &hull, double tolerance)
{
    ASSERT_GT(hull.numTriangles(), 0);
    for (const MVector3d &v : hull.vertices)
        EXPECT_NE(std::find(points.begin(), points.end(), v), points.end());
    std::map<std::pair<int, int>, int> sides;
    double volume = 0.0;
    const MVector3d origin = hull.vertices[0];
    for (int t = 0; t < hull.numTriangles(); ++t) {
        const int *c = &hull.triangles[3 * t];
        const MVector3d a = hull.vertices[c[0]], b = hull.vertices[c[1]], d = hull.vertices[c[2]];
        const MVector3d normal = (b - a).cross(d - a).normalized();
        ASSERT_TRUE(normal.isValid());
        for (const MVector3d &p : points) {
            if (p.isValid()) {
                ASSERT_LE(normal.dot(p - a), tolerance);
            }
        }
        for (int k = 0; k < 3; ++k)
            ++sides[{c[k], c[(k + 1) % 3]}];
        volume += (a - origin).dot((b - origin).cross(d - origin)) / 6.0;
    }
    for (const auto &side : sides) {
        EXPECT_EQ(side.second, 1);
        EXPECT_EQ(sides.count({side.first.second, side.first.first}), 1u);
    }
    const int v = static_cast<int>(hull.vertices.size());
    const int e = static_cast<int>(hull.edges().size() / 2);
    EXPECT_EQ(e, static_cast<int>(sides.size() / 2));
    EXPECT_EQ(v - e + hull.numTriangles(), 2);
    EXPECT_GT(volume, 0.0);
}

MConvexHull hullOf(const std::vector<MVector3d> &points) { return convexHullOf(points.data(), int(points.size())); }

std::vector<MVector3d> grid(int n, const MVector3d &offset, double step)
{
    std::vector<MVector3d> points;
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j)
            for (int k = 0; k < n; ++k)
                points.push_back(offset + MVector3d(i, j, k) * step);
    return points;
}

} // namespace

TEST(MConvexHull, RandomPointsInCubeAndBallAgreeWithBruteForce)
{
    test::RandomGeometry random(5);
    for (int count : {4, 5, 30, 2000}) {
        std::vector<MVector3d> points;
        for (int i = 0; i < count; ++i)
            points.push_back(random.point(3.0));
        expectHullOf(points, hullOf(points), 1e-12);
    }
    std::vector<MVector3d> ball;
    for (int i = 0; i < 1500; ++i)
        ball.push_back(MVector3d(7, -2, 1) + random.unitVector() * random.uniform(0.5, 1.0));
    expectHullOf(ball, hullOf(ball), 1e-12);
}

TEST(MConvexHull, EveryPointOfASphereIsAVertex)
{
    MPointCloud cloud;
    cloud.from(MSphere(MVector3d(1, 2, 3), 5.0), 400);
    const std::vector<MVector3d> points(cloud.points(), cloud.points() + cloud.numPoints());
    const MConvexHull hull = hullOf(points);
    expectHullOf(points, hull, 1e-12);
    EXPECT_EQ(hull.vertices.size(), 400u);
}

TEST(MConvexHull, CubeGridWithDuplicatesKeepsOnlyTheCorners)
{
    // Near the origin and far from it at a small scale: the tolerance follows
    // the points, so the faces' coplanar grid points never become vertices.
    for (const auto &frame : {std::make_pair(MVector3d(-1, -1, -1), 0.5), std::make_pair(MVector3d(1e6, -2e6, 3e5), 1e-3)}) {
        std::vector<MVector3d> points = grid(6, frame.first, frame.second);
        const std::vector<MVector3d> copy = points;
        points.insert(points.end(), copy.rbegin(), copy.rend());
        const MConvexHull hull = hullOf(points);
        expectHullOf(points, hull, 1e-9 * frame.second);
        EXPECT_EQ(hull.vertices.size(), 8u);
        EXPECT_EQ(hull.numTriangles(), 12);
    }
}

TEST(MConvexHull, JitterAtTheToleranceNeitherTearsTheSurfaceNorHangs)
{
    // Every point of a 9^3 grid moved by about the hull's tolerance, one
    // scale for all or a scale per point: faces meet at near-zero angles.
    // The surface stays closed and convex, within the coarsest tolerance
    // the build may fall back to, a millionth of the extent.
    test::RandomGeometry random(17);
    for (double jitter : {1e-13, 1e-12, 1e-11, 1e-10, 1e-9, 1e-8, 1e-7}) {
        std::vector<MVector3d> points, mixed;
        for (const MVector3d &p : grid(9, MVector3d(-1, -1, -1), 0.25)) {
            points.push_back(p + random.point(jitter));
            mixed.push_back(p + random.point(jitter * std::pow(10.0, random.uniform(-3, 3))));
        }
        SCOPED_TRACE(jitter);
        expectHullOf(points, hullOf(points), 4e-6);
        expectHullOf(mixed, hullOf(mixed), 4e-6);
    }
}

TEST(MConvexHull, PointsOnTheFacesOfATetrahedronAddNothing)
{
    const MVector3d corners[4] = {{0, 0, 0}, {4, 0, 0}, {0, 4, 0}, {0, 0, 4}};
    test::RandomGeometry random(8);
    std::vector<MVector3d> points(corners, corners + 4);
    for (int i = 0; i < 3000; ++i) {
        // Random points on a random face, and on the edges as the weights vanish.
        const int skip = i % 4;
        double w[3] = {random.uniform(0, 1), random.uniform(0, 1), i % 5 == 0 ? 0.0 : random.uniform(0, 1)};
        const double sum = w[0] + w[1] + w[2];
        MVector3d p(0, 0, 0);
        for (int k = 0, m = 0; k < 4; ++k)
            if (k != skip)
                p = p + corners[k] * (w[m++] / sum);
        points.push_back(p);
    }
    const MConvexHull hull = hullOf(points);
    expectHullOf(points, hull, 1e-12);
    EXPECT_EQ(hull.vertices.size(), 4u);
    EXPECT_EQ(hull.numTriangles(), 4);
}

TEST(MConvexHull, FlatAndDegenerateInputHasNoTriangles)
{
    const MVector3d invalid;
    const double nan = std::numeric_limits<double>::quiet_NaN();
    std::vector<MVector3d> line, plane, same, fewValid;
    const MVector3d u = MVector3d(1, 2, -0.5).normalized(), w = MVector3d(-2, 1, 3).normalized();
    test::RandomGeometry random(2);
    for (int i = 0; i < 200; ++i) {
        line.push_back(MVector3d(5, 5, 5) + u * random.uniform(-10, 10));
        plane.push_back(MVector3d(1e4, 0, -3) + u * random.uniform(-10, 10) + w * random.uniform(-10, 10));
        same.push_back(MVector3d(1, 2, 3));
    }
    fewValid = {MVector3d(0, 0, 0), invalid, MVector3d(1, 0, 0), MVector3d(nan, 1, 1), MVector3d(0, 1, 0), invalid};
    for (const auto *points : {&line, &plane, &same, &fewValid}) {
        const MConvexHull hull = hullOf(*points);
        EXPECT_EQ(hull.numTriangles(), 0);
        EXPECT_TRUE(hull.edges().empty());
    }
    EXPECT_EQ(convexHullOf(nullptr, 0).numTriangles(), 0);
    fewValid.push_back(MVector3d(0, 0, 1));
    const MConvexHull tetrahedron = hullOf(fewValid);
    expectHullOf(fewValid, tetrahedron, 0.0);
    EXPECT_EQ(tetrahedron.vertices.size(), 4u);
}
