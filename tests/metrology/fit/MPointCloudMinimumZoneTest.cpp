#include "FitTestSupport.h"
#include "MInvalid.h"
#include "MMatrix4.h"
#include "MPlane.h"
#include "TestSupport.h"
#include "metrology/mesh/detail/MConvexHull.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

using namespace ZOLAR3D;
using test::cloudOf;

namespace {

double widthAlong(const std::vector<MVector3d> &points, const MVector3d &direction)
{
    const MVector3d n = direction.normalized();
    double low = 1e300, high = -1e300;
    for (const MVector3d &p : points) {
        low = std::min(low, n.dot(p));
        high = std::max(high, n.dot(p));
    }
    return high - low;
}

// The narrowest slab behind a supporting plane through three of the points:
// what the hull faces give, found without a hull.
double narrowestSupportedWidth(const std::vector<MVector3d> &points)
{
    double best = 1e300;
    const size_t n = points.size();
    for (size_t i = 0; i < n; ++i)
        for (size_t j = i + 1; j < n; ++j)
            for (size_t k = j + 1; k < n; ++k) {
                const MVector3d normal = (points[j] - points[i]).cross(points[k] - points[i]).normalized();
                if (!normal.isValid())
                    continue;
                double low = 0.0, high = 0.0;
                for (const MVector3d &p : points) {
                    low = std::min(low, normal.dot(p - points[i]));
                    high = std::max(high, normal.dot(p - points[i]));
                }
                if (low > -1e-12 || high < 1e-12)
                    best = std::min(best, high - low);
            }
    return best;
}

// The true minimum zone: the narrowest width over every plane through three
// points and every direction across two point pairs.
double exactMinimumZone(const std::vector<MVector3d> &points)
{
    double best = 1e300;
    const size_t n = points.size();
    std::vector<MVector3d> pairs;
    for (size_t i = 0; i < n; ++i)
        for (size_t j = i + 1; j < n; ++j) {
            pairs.push_back(points[j] - points[i]);
            for (size_t k = j + 1; k < n; ++k) {
                const MVector3d normal = (points[j] - points[i]).cross(points[k] - points[i]);
                if (normal.normalized().isValid())
                    best = std::min(best, widthAlong(points, normal));
            }
        }
    for (size_t a = 0; a < pairs.size(); ++a)
        for (size_t b = a + 1; b < pairs.size(); ++b) {
            const MVector3d normal = pairs[a].cross(pairs[b]);
            if (normal.normalized().isValid())
                best = std::min(best, widthAlong(points, normal));
        }
    return best;
}

struct Zone {
    MPlane plane;
    double flatness = 0, minDeviation = 0, maxDeviation = 0;
};

Zone zoneOf(const std::vector<MVector3d> &points)
{
    Zone zone;
    zone.plane = cloudOf(points).fitPlaneMZ(&zone.flatness, &zone.minDeviation, &zone.maxDeviation);
    return zone;
}

} // namespace

TEST(MPointCloudMinimumZone, SquareWithApexTakesTheEdgePairRule)
{
    // The base diagonal's farthest edges are the two lateral edges that
    // miss it, 2/sqrt(6) away: less than any face depth, and less than the
    // true zone, since the rule scores edges and not slabs.
    const std::vector<MVector3d> points = {{1, 1, 0}, {-1, 1, 0}, {-1, -1, 0}, {1, -1, 0}, {0, 0, 1}};
    const Zone zone = zoneOf(points);
    EXPECT_NEAR(zone.flatness, 2.0 / std::sqrt(6.0), 1e-14);
    EXPECT_DOUBLE_EQ(zone.minDeviation, -zone.maxDeviation);
    EXPECT_DOUBLE_EQ(zone.maxDeviation, zone.flatness / 2);
    EXPECT_LT(zone.flatness, exactMinimumZone(points) - 0.1);
    EXPECT_NEAR(std::abs(zone.plane.normal().z()), 2.0 / std::sqrt(6.0), 1e-14);
    EXPECT_NEAR(std::abs(zone.plane.distance(MVector3d(0, 0, 0))), zone.flatness / 2, 1e-14);
}

TEST(MPointCloudMinimumZone, NoisySheetsGetTheNarrowestSupportedSlab)
{
    // A sheet is wide against its thickness, so no edge pair undercuts the
    // faces, and the rule is then exact over the faces.
    test::RandomGeometry random(21);
    const MMatrix4 pose = random.rigidMotion(100.0);
    for (int trial = 0; trial < 6; ++trial) {
        std::vector<MVector3d> points;
        for (int i = 0; i < 14; ++i)
            points.push_back(pose * MVector3d(random.uniform(-10, 10), random.uniform(-10, 10), random.uniform(-0.2, 0.2)));
        const Zone zone = zoneOf(points);
        EXPECT_NEAR(zone.flatness, narrowestSupportedWidth(points), 1e-11);
        EXPECT_LE(exactMinimumZone(points), zone.flatness + 1e-11);
        EXPECT_DOUBLE_EQ(zone.minDeviation, -zone.flatness / 2);
        EXPECT_DOUBLE_EQ(zone.maxDeviation, zone.flatness / 2);
        double low = 1e300, high = -1e300;
        for (const MVector3d &p : points) {
            low = std::min(low, zone.plane.distance(p));
            high = std::max(high, zone.plane.distance(p));
        }
        EXPECT_NEAR(low, zone.minDeviation, 1e-11);
        EXPECT_NEAR(high, zone.maxDeviation, 1e-11);
    }
}

TEST(MPointCloudMinimumZone, FacesAlwaysBoundTheResult)
{
    test::RandomGeometry random(3);
    for (int trial = 0; trial < 10; ++trial) {
        std::vector<MVector3d> points;
        for (int i = 0; i < 9; ++i)
            points.push_back(random.point(2.0));
        const Zone zone = zoneOf(points);
        EXPECT_GE(zone.flatness, 0.0);
        EXPECT_LE(zone.flatness, narrowestSupportedWidth(points) + 1e-12);
    }
}

TEST(MPointCloudMinimumZone, ZonePlaneAxesAreFoldedPrincipalAxesWithoutNormalising)
{
    // u is the hull's first principal axis folded into the plane, at its
    // folded length, and the extent is measured along it in those units:
    // its final length is the square of the folded length times the
    // half-span along the folded direction.
    // A slab sheared along x: its zone is horizontal, while the shear tilts
    // the principal axis of its corners out of the plane.
    test::RandomGeometry random(4);
    std::vector<MVector3d> points;
    for (int i = 0; i < 38; ++i) {
        const double z = i < 8 ? (i & 1) : random.uniform(0, 1);
        const double x = i < 8 ? ((i & 2) ? 10 : -10) : random.uniform(-10, 10);
        const double y = i < 8 ? ((i & 4) ? 10 : -10) : random.uniform(-10, 10);
        points.push_back(MVector3d(x + 5 * z, y, z));
    }
    const Zone zone = zoneOf(points);
    const MVector3d n = zone.plane.normal();
    EXPECT_NEAR(zone.plane.u().dot(n), 0.0, 1e-12);
    EXPECT_NEAR(zone.plane.v().dot(n), 0.0, 1e-12);
    const MConvexHull hull = convexHullOf(points.data(), int(points.size()));
    const MVector3d axis = test::referenceFit(hull.vertices).axes[0];
    const MVector3d folded = n.cross(axis).cross(n);
    ASSERT_LT(folded.norm(), 1.0 - 1e-6);
    EXPECT_NEAR(zone.flatness, 1.0, 1e-12);
    const double span = widthAlong(hull.vertices, folded);
    EXPECT_NEAR(zone.plane.u().norm(), folded.dot(folded) * span / 2, 1e-9);
    EXPECT_GT(zone.plane.u().cross(zone.plane.v()).dot(n), 0.0);
}

TEST(MPointCloudMinimumZone, FlatInputTakesTheLeastSquaresFallback)
{
    test::RandomGeometry random(6);
    const MVector3d u = MVector3d(1, 2, 3).normalized(), w = MVector3d(3, 0, -1).normalized();
    std::vector<MVector3d> points;
    for (int i = 0; i < 50; ++i)
        points.push_back(MVector3d(500, -20, 7) + u * random.uniform(-5, 5) + w * random.uniform(-5, 5));
    const Zone zone = zoneOf(points);
    EXPECT_TRUE(zone.plane.isValid());
    EXPECT_LT(zone.flatness, 1e-12);
    EXPECT_TRUE(test::parallel(zone.plane.normal(), u.cross(w), 1e-12));
}

TEST(MPointCloudMinimumZone, FlatInputDeviationsAreMeasuredBeforeTheShift)
{
    // One point 4e-12 above the centre of a grid: within the hull's tolerance, so the
    // least-squares fallback answers. Its deviations stay about the
    // least-squares plane, while the plane returned sits mid-zone.
    std::vector<MVector3d> points;
    for (int i = -5; i <= 5; ++i)
        for (int j = -5; j <= 5; ++j)
            points.push_back(MVector3d(i, j, 0));
    points.push_back(MVector3d(0, 0, 4e-12));
    ASSERT_EQ(convexHullOf(points.data(), int(points.size())).numTriangles(), 0);
    const Zone zone = zoneOf(points);
    const double mean = 4e-12 / 122;
    EXPECT_NEAR(zone.flatness, 4e-12, 1e-15);
    EXPECT_NEAR(zone.minDeviation, -mean, 1e-15);
    EXPECT_NEAR(zone.maxDeviation, 4e-12 - mean, 1e-15);
    EXPECT_NEAR(zone.plane.distance(points.back()), 2e-12, 1e-15);
    EXPECT_NEAR(zone.plane.distance(points.front()), -2e-12, 1e-15);
}

TEST(MPointCloudMinimumZone, TooFewPointsFailAsThePlaneFit)
{
    const std::vector<MVector3d> two = {{0, 0, 0}, {1, 0, 0}, MVector3d()};
    double flatness = 0, minDeviation = 7, maxDeviation = 8;
    EXPECT_FALSE(cloudOf(two).fitPlaneMZ(&flatness, &minDeviation, &maxDeviation).isValid());
    EXPECT_EQ(flatness, MInvalid);
    EXPECT_EQ(minDeviation, 7);
    EXPECT_EQ(maxDeviation, 8);
    EXPECT_FALSE(MPointCloud().fitPlaneMZ(nullptr, nullptr, nullptr).isValid());
    test::ScopedExceptions on;
    EXPECT_MEXCEPTION(cloudOf(two).fitPlaneMZ(nullptr, nullptr, nullptr),
                      "PlaneFit: not enough valid points given (minimum required: 3)");
}
