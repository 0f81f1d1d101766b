#include "FitTestSupport.h"
#include "MPlane.h"
#include "MPlaneFit.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

using namespace ZOLAR3D;
using test::cloudOf;
using test::near;
using test::parallel;

namespace {

const double NaN = std::numeric_limits<double>::quiet_NaN();

// Points of a plane through centre with unit normal n, spread unevenly
// along two in-plane directions, displaced along n by noise of the given
// deviation.
struct PlaneSample {
    MVector3d centre, normal, along, across;
    std::vector<MVector3d> points;
};

PlaneSample samplePlane(unsigned seed, const MVector3d &centre, double noise, int count)
{
    test::RandomGeometry random(seed);
    PlaneSample sample;
    sample.centre = centre;
    sample.normal = random.unitVector();
    sample.along = MVector3d::PerpendicularTo(sample.normal).normalized();
    sample.across = sample.normal.cross(sample.along);
    std::normal_distribution<double> gauss(0.0, noise);
    std::mt19937 engine(seed);
    for (int i = 0; i < count; ++i)
        sample.points.push_back(centre + sample.along * random.uniform(-30, 50) +
                                sample.across * random.uniform(-10, 5) + sample.normal * (noise > 0 ? gauss(engine) : 0.0));
    return sample;
}

// The fitted u and v span the bounding rectangle of the points in the plane,
// centred at the position: along each axis the points reach exactly from
// -|axis| to +|axis|.
void expectTightCentredRectangle(const MPlane &plane, const std::vector<MVector3d> &points, double tolerance)
{
    const MVector3d axes[2] = {plane.u(), plane.v()};
    for (const MVector3d &axis : axes) {
        const MVector3d unit = axis.normalized();
        double low = MInvalid, high = -MInvalid;
        for (const MVector3d &p : points) {
            const double a = (p - plane.position()).dot(unit);
            low = std::min(low, a);
            high = std::max(high, a);
        }
        EXPECT_NEAR(low, -axis.norm(), tolerance);
        EXPECT_NEAR(high, axis.norm(), tolerance);
    }
}

} // namespace

TEST(MPlaneFit, ExactPlaneFarFromTheOriginIsRecoveredToRoundOff)
{
    for (unsigned seed = 1; seed <= 20; ++seed) {
        const PlaneSample sample = samplePlane(seed, MVector3d(1e6, -2e6, 1.5e6), 0.0, 200);
        const MPlane plane = cloudOf(sample.points).fitPlane();
        ASSERT_TRUE(plane.isValid());
        EXPECT_TRUE(parallel(plane.normal(), sample.normal, 1e-11));
        EXPECT_NEAR(plane.normal().norm(), 1.0, 1e-15);
        EXPECT_TRUE(test::dominantPositive(plane.normal()));
        for (const MVector3d &p : sample.points)
            EXPECT_NEAR(plane.distance(p), 0.0, 2e-9);

        // u and v are half-extent vectors in the plane, the longer spread
        // first, making a right-handed frame with the normal.
        EXPECT_NEAR(plane.u().normalized().dot(plane.normal()), 0.0, 1e-12);
        EXPECT_NEAR(plane.v().normalized().dot(plane.normal()), 0.0, 1e-12);
        EXPECT_NEAR(plane.u().normalized().dot(plane.v().normalized()), 0.0, 1e-12);
        EXPECT_GT(plane.u().cross(plane.v()).dot(plane.normal()), 0.0);
        EXPECT_GT(plane.u().norm(), plane.v().norm());
        expectTightCentredRectangle(plane, sample.points, 2e-9);
    }
}

TEST(MPlaneFit, NoisyPlaneAgreesWithTheSingularValueReference)
{
    for (unsigned seed = 1; seed <= 10; ++seed) {
        const PlaneSample sample = samplePlane(seed, MVector3d(-3e6, 1e6, 2e6), 0.05, 500);
        const test::ReferenceFit reference = test::referenceFit(sample.points);
        const MPlane plane = cloudOf(sample.points).fitPlane();
        EXPECT_TRUE(parallel(plane.normal(), reference.axes[2], 1e-10));
        EXPECT_TRUE(test::dominantPositive(plane.normal()));
        // The position moved within the reference plane.
        EXPECT_NEAR((plane.position() - reference.centroid).dot(reference.axes[2]), 0.0, 1e-8);
        EXPECT_TRUE(parallel(plane.u(), reference.axes[0], 1e-9));
        EXPECT_TRUE(parallel(plane.v(), reference.axes[1], 1e-9));
        expectTightCentredRectangle(plane, sample.points, 1e-8);
    }
}

TEST(MPlaneFit, NormalComesOutWithItsDominantComponentPositive)
{
    const MPointCloud flat = cloudOf({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}, {2, 3, 0}});
    EXPECT_TRUE(near(flat.fitPlane().normal(), MVector3d(0, 0, 1), 1e-15));

    // z = 2 - 0.5 x: the normal (0.5, 0, 1) points up, whatever the order.
    const MPointCloud sloped = cloudOf({{4, 0, 0}, {0, 0, 2}, {0, 5, 2}, {4, 5, 0}, {2, 2, 1}});
    EXPECT_TRUE(near(sloped.fitPlane().normal(), MVector3d(0.5, 0, 1).normalized(), 1e-15));

    // The wall x = 3 faces +x.
    const MPointCloud wall = cloudOf({{3, 0, 0}, {3, 2, 0}, {3, 0, 5}, {3, 2, 5}});
    const MPlane plane = wall.fitPlane();
    EXPECT_TRUE(near(plane.normal(), MVector3d(1, 0, 0), 1e-15));
    EXPECT_TRUE(near(plane.position(), MVector3d(3, 1, 2.5), 1e-15));
    EXPECT_NEAR(plane.u().norm(), 2.5, 1e-15);
    EXPECT_NEAR(plane.v().norm(), 1.0, 1e-15);
}

TEST(MPlaneFit, FitFastOfThreePointsIsTheirExactPlane)
{
    // Integer coordinates far from the origin: the points lie exactly on the
    // plane through offset with normal (-1, 2, 2) / 3.
    const MVector3d offset(2e6, 1e6, -1e6);
    const MVector3d normal = MVector3d(-1, 2, 2) / 3.0;
    const MVector3d a(2, 1, 0), b(-2, 4, -5);
    const MVector3d p[3] = {offset + a, offset + b, offset - a - b};

    MPlaneFit fit;
    fit.setPoints(cloudOf({p[0], p[1], p[2]}));
    fit.fitFast();
    const MPlane plane = fit.result();
    EXPECT_TRUE(near(plane.normal(), normal, 1e-15));
    EXPECT_EQ(plane.position(), offset);
    for (const MVector3d &q : p)
        EXPECT_NEAR(plane.distance(q), 0.0, 1e-15);
    EXPECT_FALSE(plane.u().isValid());
    EXPECT_FALSE(plane.v().isValid());

    // The opposite winding gives the same normal.
    fit.setPoints(cloudOf({p[0], p[2], p[1]}));
    fit.fitFast();
    EXPECT_TRUE(near(fit.result().normal(), normal, 1e-15));
}

TEST(MPlaneFit, FitFastOfDegenerateTriplesIsInvalidWithoutFailure)
{
    test::ScopedExceptions on;
    MPlaneFit fit;
    // In-plane axes of an earlier full fit do not linger.
    fit.setPoints(cloudOf({{0, 0, 0}, {4, 0, 0}, {0, 3, 0}, {4, 3, 0}}));
    fit.fit();
    fit.setPoints(cloudOf({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}));
    fit.fitFast();
    EXPECT_TRUE(fit.result().isValid());
    EXPECT_FALSE(fit.result().u().isValid());

    fit.setPoints(cloudOf({{1, 2, 3}, {1, 2, 3}, {4, 5, 6}}));
    fit.fitFast();
    EXPECT_FALSE(fit.result().isValid());
    fit.setPoints(cloudOf({{1, 2, 3}, {4, 5, 6}, {4, 5, 6}}));
    fit.fitFast();
    EXPECT_FALSE(fit.result().isValid());
    fit.setPoints(cloudOf({{1, 2, 3}, {2, 3, 4}, {3, 4, 5}}));
    fit.fitFast();
    EXPECT_FALSE(fit.result().isValid());
}

TEST(MPlaneFit, FitFastOfMorePointsIsThePlaneWithoutItsExtent)
{
    const PlaneSample sample = samplePlane(7, MVector3d(1e6, 1e6, 1e6), 0.05, 50);
    const test::ReferenceFit reference = test::referenceFit(sample.points);
    MPlaneFit fit;
    fit.setPoints(cloudOf(sample.points));
    fit.fitFast();
    const MPlane fast = fit.result();
    fit.fit();
    EXPECT_TRUE(near(fast.normal(), fit.result().normal(), 1e-15));
    EXPECT_TRUE(near(fast.position(), reference.centroid, 1e-9));
    EXPECT_NEAR(fast.u().norm(), 1.0, 1e-15);
    EXPECT_NEAR(fast.v().norm(), 1.0, 1e-15);
    EXPECT_TRUE(parallel(fast.u(), reference.axes[0], 1e-9));
    EXPECT_TRUE(parallel(fast.v(), reference.axes[1], 1e-9));
}

TEST(MPlaneFit, InvalidPointsDoNotCount)
{
    MPointCloud cloud(10);
    cloud.add(0, 0, 1);
    cloud.add(NaN, 5, 5);
    cloud.add(2, 0, 1);
    cloud.add(0, 0, MInvalid);
    cloud.add(0, 2, 1);
    const MPlane plane = cloud.fitPlane();
    ASSERT_TRUE(plane.isValid());
    EXPECT_TRUE(near(plane.normal(), MVector3d(0, 0, 1), 1e-15));
    // The centre of the bounding rectangle along the principal axes, not the mean.
    EXPECT_TRUE(near(plane.position(), MVector3d(0.5, 0.5, 1), 1e-14));
}

