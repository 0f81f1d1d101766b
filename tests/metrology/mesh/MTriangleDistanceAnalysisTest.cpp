#include "GeometryTestSupport.h"
#include "MLineSegment.h"
#include "MTriangleDistanceAnalysis.h"
#include "MTriangleDistanceAnalysisArray.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

using namespace ZOLAR3D;
using test::near;

namespace {

struct Triangle {
    MVector3d corner[3];
    MVector3d normal;
};

// Random triangles of every shape, obtuse and slender ones included.
Triangle randomTriangle(test::RandomGeometry &random)
{
    for (;;) {
        const MVector3d centre = random.point(20);
        Triangle t{{centre + random.point(3), centre + random.point(3), centre + random.point(3)}, {}};
        const MVector3d cross = (t.corner[1] - t.corner[0]).cross(t.corner[2] - t.corner[0]);
        if (cross.norm() > 0.5) {
            t.normal = cross.normalized();
            return t;
        }
    }
}

// Unsigned distance by another route: the plane when the foot falls inside
// (tested with the signs of three cross products), else the nearest edge.
double referenceDistance(const Triangle &t, const MVector3d &p)
{
    const double height = (p - t.corner[0]).dot(t.normal);
    const MVector3d foot = p - t.normal * height;
    bool inside = true;
    for (int i = 0; i < 3; ++i) {
        const MVector3d &from = t.corner[i];
        const MVector3d &to = t.corner[(i + 1) % 3];
        inside = inside && (to - from).cross(foot - from).dot(t.normal) >= 0.0;
    }
    if (inside)
        return std::fabs(height);
    double nearest = MInvalid;
    for (int i = 0; i < 3; ++i)
        nearest = std::min(nearest, MLineSegment(t.corner[i], t.corner[(i + 1) % 3]).distance(p));
    return nearest;
}

// Outward unit normal in the triangle's plane of the edge from corner i to corner j.
MVector3d outwardNormal(const Triangle &t, int i, int j)
{
    const MVector3d edge = t.corner[j] - t.corner[i];
    const MVector3d out = edge.cross(t.normal).normalized();
    const MVector3d third = t.corner[3 - i - j];
    return out.dot(third - t.corner[i]) < 0.0 ? out : -out;
}

double signedLength(double inPlane, double height)
{
    const double length = std::sqrt(inPlane * inPlane + height * height);
    return height < 0.0 ? -length : length;
}

} // namespace

TEST(MTriangleDistanceAnalysis, DegenerateTrianglesAreInvalid)
{
    const MVector3d a(0, 0, 0), b(1, 0, 0), c(0, 1, 0);
    EXPECT_TRUE(MTriangleDistanceAnalysis(a, b, c).isValid());
    EXPECT_FALSE(MTriangleDistanceAnalysis(a, a, c).isValid());
    EXPECT_FALSE(MTriangleDistanceAnalysis(a, b, MVector3d(3, 0, 0)).isValid());
    EXPECT_FALSE(MTriangleDistanceAnalysis(a, b, MVector3d()).isValid());
    EXPECT_FALSE(MTriangleDistanceAnalysis(MVector3d(3.4028234663852886e38, 0, 0), b, c).isValid());
    EXPECT_FALSE(MTriangleDistanceAnalysis().isValid());

    MVector3d closest(7, 7, 7);
    EXPECT_EQ(MTriangleDistanceAnalysis(a, a, c).distance(MVector3d(0, 0, 1), MInvalid, &closest), MInvalid);
    EXPECT_EQ(closest, MVector3d(7, 7, 7));
    EXPECT_EQ(MTriangleDistanceAnalysis(a, b, c).distance(MVector3d()), MInvalid);

    // Preparing again replaces the triangle.
    MTriangleDistanceAnalysis analysis(a, a, c);
    EXPECT_TRUE(analysis.set(a, b, c));
    EXPECT_DOUBLE_EQ(analysis.distance(MVector3d(0.2, 0.2, -3)), -3.0);
}

TEST(MTriangleDistanceAnalysis, PreparedRecordDescribesTheTriangle)
{
    const MTriangleDistanceAnalysis analysis(MVector3d(1, 1, 1), MVector3d(4, 1, 1), MVector3d(1, 1, 5));
    EXPECT_EQ(analysis.normal(), MVector3d(0, -1, 0));
    EXPECT_EQ(analysis.corner(2), MVector3d(1, 1, 5));
    EXPECT_EQ(analysis.edgeLength(0), 3.0);
    EXPECT_EQ(analysis.edgeLength(1), 4.0);
    EXPECT_EQ(analysis.edgeLength(2), 5.0);
    EXPECT_TRUE(near(analysis.edgeDirection(2), MVector3d(-0.6, 0, 0.8), 1e-16));
    EXPECT_EQ(MTriangleDistanceAnalysis(MVector3d(0, 0, 0), MVector3d(0, 1, 0), MVector3d(1, 0, 0)).normal(),
              MVector3d(0, 0, -1));
}

TEST(MTriangleDistanceAnalysis, KnownPointsGiveTheirSignedDistanceAndClosestPoint)
{
    struct Case {
        const char *what;
        MVector3d a, b, c, point;
        double distance;
        MVector3d closest;
    };
    const Case cases[] = {
        {"inside above", {0, 0, 1}, {4, 0, 1}, {0, 4, 1}, {1, 1, 3}, 2.0, {1, 1, 1}},
        {"inside below", {0, 0, 1}, {4, 0, 1}, {0, 4, 1}, {1, 1, -2}, -3.0, {1, 1, 1}},
        {"on the triangle", {0, 0, 1}, {4, 0, 1}, {0, 4, 1}, {1, 2, 1}, 0.0, {1, 2, 1}},
        // Outside points keep the side of the normal.
        {"beyond an edge above", {0, 0, 0}, {4, 0, 0}, {0, 4, 0}, {2, -3, 4}, 5.0, {2, 0, 0}},
        {"beyond an edge below", {0, 0, 0}, {4, 0, 0}, {0, 4, 0}, {2, -3, -4}, -5.0, {2, 0, 0}},
        {"beyond a corner", {0, 0, 0}, {4, 0, 0}, {0, 4, 0}, {-3, -4, 0}, 5.0, {0, 0, 0}},
        {"beyond the long edge", {0, 0, 0}, {4, 0, 0}, {0, 4, 0}, {5, 5, 0}, std::sqrt(18.0), {2, 2, 0}},
        // Beyond edge 0 and edge 2 of an obtuse triangle: edge 0 alone would
        // give its end b at 2.06, but edge 2 passes closer.
        {"beyond two edges", {0, 0, 0}, {10, 0, 0}, {11, 1, 0}, {12, -0.5, 0}, 1.25 * std::sqrt(2.0), {10.75, 0.75, 0}},
        // Points within the tolerance band count as inside.
        {"in the band above", {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0.5, -5e-8, 2}, 2.0, {0.5, -5e-8, 0}},
        {"in the band below", {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0.6, 0.4 + 5e-8, -2}, -2.0, {0.6, 0.4 + 5e-8, 0}},
        {"past the band", {0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0.5, -2e-7, 2}, std::sqrt(4 + 4e-14), {0.5, 0, 0}},
        // The normal exactly -Z, the one direction with a rotation of its own.
        {"facing down inside", {0, 0, 0}, {0, 1, 0}, {1, 0, 0}, {0.25, 0.25, 2}, -2.0, {0.25, 0.25, 0}},
        {"facing down outside", {0, 0, 0}, {0, 1, 0}, {1, 0, 0}, {0.5, -3, -4}, 5.0, {0.5, 0, 0}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        MVector3d closest;
        EXPECT_NEAR(MTriangleDistanceAnalysis(c.a, c.b, c.c).distance(c.point, MInvalid, &closest), c.distance, 1e-14);
        EXPECT_TRUE(near(closest, c.closest, 1e-14));
    }
}

TEST(MTriangleDistanceAnalysis, HeightBeyondTheBoundIsReturnedUnmeasured)
{
    const MTriangleDistanceAnalysis analysis(MVector3d(0, 0, 0), MVector3d(1, 0, 0), MVector3d(0, 1, 0));
    MVector3d closest(7, 7, 7);
    EXPECT_EQ(analysis.distance(MVector3d(30, 40, 5), 1.0, &closest), 5.0);
    EXPECT_EQ(analysis.distance(MVector3d(30, 40, -5), 1.0, &closest), -5.0);
    EXPECT_EQ(closest, MVector3d(7, 7, 7));
    // Within the bound the point is measured in full, however far it lies sideways.
    EXPECT_DOUBLE_EQ(analysis.distance(MVector3d(0, -4, 3), 3.0, &closest), 5.0);
    EXPECT_EQ(closest, MVector3d(0, 0, 0));
}

// A point built from a known foot on the triangle, a way out of it in the
// plane and a height: inside, beyond each edge, and beyond each corner (any
// mix of the outward normals of its two edges leads into its region).
TEST(MTriangleDistanceAnalysis, EveryRegionOfRandomTrianglesGivesItsKnownFoot)
{
    test::RandomGeometry random(51);
    const auto expectFoot = [](const MTriangleDistanceAnalysis &analysis, const MVector3d &foot, const MVector3d &out,
                               double height, const Triangle &t) {
        MVector3d closest;
        EXPECT_NEAR(analysis.distance(foot + out + t.normal * height, MInvalid, &closest),
                    signedLength(out.norm(), height), 1e-9);
        EXPECT_TRUE(near(closest, foot, 1e-9));
    };
    const int ends[3][2] = {{0, 1}, {0, 2}, {1, 2}};
    for (int i = 0; i < 200; ++i) {
        const Triangle t = randomTriangle(random);
        const MTriangleDistanceAnalysis analysis(t.corner[0], t.corner[1], t.corner[2]);
        ASSERT_TRUE(analysis.isValid());
        double u = random.uniform(0, 1), v = random.uniform(0, 1);
        if (u + v > 1) {
            u = 1 - u;
            v = 1 - v;
        }
        const MVector3d inside = t.corner[0] + (t.corner[1] - t.corner[0]) * u + (t.corner[2] - t.corner[0]) * v;
        expectFoot(analysis, inside, MVector3d(0, 0, 0), random.uniform(-5, 5), t);
        for (const auto &edge : ends) {
            const MVector3d &from = t.corner[edge[0]];
            const MVector3d foot = from + (t.corner[edge[1]] - from) * random.uniform(0.05, 0.95);
            const MVector3d out = outwardNormal(t, edge[0], edge[1]) * random.uniform(0.01, 5);
            expectFoot(analysis, foot, out, random.uniform(-5, 5), t);
        }
        for (int corner = 0; corner < 3; ++corner) {
            const int other1 = (corner + 1) % 3, other2 = (corner + 2) % 3;
            const MVector3d out = outwardNormal(t, std::min(corner, other1), std::max(corner, other1)) * random.uniform(0, 1) +
                                  outwardNormal(t, std::min(corner, other2), std::max(corner, other2)) * random.uniform(0, 1);
            expectFoot(analysis, t.corner[corner], out.normalized() * random.uniform(0.01, 5), random.uniform(-5, 5), t);
        }
    }
}

TEST(MTriangleDistanceAnalysis, RandomPointsAgreeWithAnotherRoute)
{
    test::RandomGeometry random(54);
    for (int i = 0; i < 100; ++i) {
        const Triangle t = randomTriangle(random);
        const MTriangleDistanceAnalysis analysis(t.corner[0], t.corner[1], t.corner[2]);
        for (int k = 0; k < 50; ++k) {
            const MVector3d p = t.corner[0] + random.point(8);
            MVector3d closest;
            const double d = analysis.distance(p, MInvalid, &closest);
            EXPECT_NEAR(std::fabs(d), referenceDistance(t, p), 1e-9);
            EXPECT_NEAR(p.distance(closest), std::fabs(d), 1e-9);
            EXPECT_NEAR(referenceDistance(t, closest), 0.0, 1e-9);
            EXPECT_EQ(d < 0, (p - t.corner[0]).dot(t.normal) < 0);
        }
    }
}

TEST(MTriangleDistanceAnalysis, AgreesWithDenseSamplingOfTheTriangle)
{
    test::RandomGeometry random(55);
    const int steps = 300;
    for (int i = 0; i < 3; ++i) {
        const Triangle t = randomTriangle(random);
        const MTriangleDistanceAnalysis analysis(t.corner[0], t.corner[1], t.corner[2]);
        for (int k = 0; k < 5; ++k) {
            const MVector3d p = t.corner[0] + random.point(6);
            double sampled = MInvalid;
            for (int iu = 0; iu <= steps; ++iu)
                for (int iv = 0; iv <= steps - iu; ++iv) {
                    const MVector3d q = t.corner[0] + (t.corner[1] - t.corner[0]) * (double(iu) / steps) +
                                        (t.corner[2] - t.corner[0]) * (double(iv) / steps);
                    sampled = std::min(sampled, p.distance(q));
                }
            const double d = std::fabs(analysis.distance(p));
            EXPECT_LE(d, sampled + 1e-12);
            EXPECT_NEAR(d, sampled, 0.02);
        }
    }
}

TEST(MTriangleDistanceAnalysisArray, HoldsPreparedRecords)
{
    MTriangleDistanceAnalysisArray records(2);
    EXPECT_FALSE(records[0].isValid());
    const MTriangleDistanceAnalysis prepared(MVector3d(0, 0, 0), MVector3d(1, 0, 0), MVector3d(0, 1, 0));
    records.add(prepared);
    records.resize(5);
    EXPECT_TRUE(records[2].isValid());
    EXPECT_EQ(records[2].distance(MVector3d(0.1, 0.1, 4)), 4.0);
    EXPECT_TRUE(records.contains(prepared));
}
