#include "MConeFit.h"
#include "RoundFitTestSupport.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace ZOLAR3D;
using namespace ZOLAR3D::test;

namespace {

constexpr double Pi = 3.141592653589793;
constexpr double Degree = Pi / 180.0;

struct Patch {
    double halfAngle;
    double arc;
    unsigned seed;
};

// Slim, medium and flat cones (the flat one's profile rises faster than it
// advances), whole and in part down to a 30-degree arc.
const Patch Patches[] = {{15 * Degree, 360 * Degree, 1},
                         {30 * Degree, 90 * Degree, 2},
                         {60 * Degree, 360 * Degree, 3},
                         {40 * Degree, 60 * Degree, 4},
                         {30 * Degree, 30 * Degree, 5}};

// Points between 5 and 15 from the apex along the axis.
std::vector<MVector3d> patchPoints(const Patch &patch, const Frame &frame, double sigma)
{
    return conePoints(frame, patch.halfAngle, 5.0, 15.0, patch.arc, 60, Noise(patch.seed, sigma));
}

} // namespace

TEST(MConeFit, NoiseFreePatchesFarFromTheOriginAreRecoveredToRoundOff)
{
    for (const Patch &patch : Patches) {
        RandomGeometry random(patch.seed);
        const Frame frame = randomFrame(random, 1e3);
        const std::vector<MVector3d> points = patchPoints(patch, frame, 0.0);
        const MCone cone = cloudOf(points).fitCone();
        ASSERT_TRUE(cone.isValid()) << patch.halfAngle;
        EXPECT_NEAR(cone.angle(), 2 * patch.halfAngle, 1e-10) << patch.halfAngle;
        // The direction points to the apex.
        EXPECT_LT(cone.direction().cross(-frame.w).norm(), 1e-10) << patch.halfAngle;
        EXPECT_GT(cone.direction().dot(-frame.w), 0.0) << patch.halfAngle;
        EXPECT_TRUE(near(cone.apex(), frame.origin, 1e-9 * 15.0)) << patch.halfAngle;

        // Position in the middle of the span along the axis, radius there.
        double low = 1e300, high = -1e300;
        for (const MVector3d &p : points) {
            low = std::min(low, (p - frame.origin).dot(frame.w));
            high = std::max(high, (p - frame.origin).dot(frame.w));
        }
        const double middle = (low + high) / 2;
        EXPECT_NEAR(cone.length(), high - low, 1e-9 * 15.0) << patch.halfAngle;
        EXPECT_TRUE(near(cone.position(), frame.origin + frame.w * middle, 1e-9 * 15.0)) << patch.halfAngle;
        EXPECT_NEAR(cone.radius(), middle * std::tan(patch.halfAngle), 1e-9 * 15.0) << patch.halfAngle;
    }
}

TEST(MConeFit, NoisyPatchesAgreeWithTheOrthogonalDistanceReference)
{
    for (const Patch &patch : Patches) {
        RandomGeometry random(patch.seed + 10);
        const Frame frame = randomFrame(random, 1e3);
        const std::vector<MVector3d> points = patchPoints(patch, frame, 0.02);
        const ConeModel model{frame, patch.halfAngle};
        const Eigen::VectorXd reference = referenceSolution(model, points);
        const MCone cone = cloudOf(points).fitCone();
        ASSERT_TRUE(cone.isValid()) << patch.halfAngle;
        EXPECT_NEAR(cone.angle() / 2, model.halfAngleOf(reference), 1e-7) << patch.halfAngle;
        EXPECT_LT(cone.direction().cross(-model.towardsBase(reference)).norm(), 1e-7) << patch.halfAngle;
        EXPECT_TRUE(near(cone.apex(), model.apex(reference), 1e-7 * 15.0)) << patch.halfAngle;
    }
}

TEST(MConeFit, DirectionKeepsPointingToTheApex)
{
    // The apex lies towards -x: no sign rule turns the direction round.
    const Frame frame{MVector3d(-20, 3, 4), MVector3d(0, 1, 0), MVector3d(0, 0, 1), MVector3d(1, 0, 0)};
    const MCone cone = cloudOf(conePoints(frame, 20 * Degree, 4.0, 9.0, 2 * Pi, 30, Noise(0, 0.0))).fitCone();
    EXPECT_TRUE(near(cone.direction(), MVector3d(-1, 0, 0), 1e-10));
}

TEST(MConeFit, NormalizationBringsTheParametersIntoTheirCanonicalRange)
{
    MConeFit fit;
    const auto normalized = [&fit](double direction, double s, double phi) {
        std::vector<double> p = {0, 0, 0, 0, 0, direction, s, phi};
        fit.normalizeParameters(p.data());
        return p;
    };
    // Reduced into 0 to 2 pi.
    std::vector<double> p = normalized(2.0, 1.0, 0.25 + 2 * 6.283185307179586);
    EXPECT_EQ(p[5], 1.0);
    EXPECT_NEAR(p[7], 0.25, 1e-14);
    p = normalized(1.0, 1.0, 0.25 - 6.283185307179586);
    EXPECT_NEAR(p[7], 0.25, 1e-14);
    // Above pi: less pi, direction reversed.
    p = normalized(1.0, 1.0, Pi + 0.25);
    EXPECT_EQ(p[5], -1.0);
    EXPECT_NEAR(p[7], 0.25, 1e-14);
    // Above pi / 2: mirrored to pi - phi; the direction stays.
    p = normalized(1.0, 1.0, Pi - 0.25);
    EXPECT_EQ(p[5], 1.0);
    EXPECT_NEAR(p[7], 0.25, 1e-14);
    // A negative s turns positive with the direction reversed.
    p = normalized(1.0, -3.0, 0.25);
    EXPECT_EQ(p[5], -1.0);
    EXPECT_EQ(p[6], 3.0);
}

TEST(MConeFit, GradientIsTheDerivativeOfTheResidual)
{
    MConeFit fit;
    const double parameters[8] = {0.3, -0.2, 0.5, 0.48, 0.6, 0.64, 1.7, 0.4};
    const MVector3d point(2.0, 1.5, -0.7);
    double r, gradient[8];
    fit.distanceAndGradient(point, parameters, &r, gradient);
    // Central differences; by the direction the derivative is the one along
    // the unit sphere, so the step is projected onto the tangent plane.
    const MVector3d a(parameters[3], parameters[4], parameters[5]);
    for (int k = 0; k < 8; ++k) {
        double plus[8], minus[8];
        std::copy(parameters, parameters + 8, plus);
        std::copy(parameters, parameters + 8, minus);
        const double h = 1e-6;
        if (k >= 3 && k < 6) {
            MVector3d e(0, 0, 0);
            e[k - 3] = 1.0;
            const MVector3d tangent = e - a * a.dot(e);
            for (int i = 0; i < 3; ++i) {
                plus[3 + i] += h * tangent[i];
                minus[3 + i] -= h * tangent[i];
            }
        } else {
            plus[k] += h;
            minus[k] -= h;
        }
        double up, down;
        fit.distance(point, plus, &up);
        fit.distance(point, minus, &down);
        EXPECT_NEAR(gradient[k], (up - down) / (2 * h), 1e-8) << k;
    }
}

TEST(MConeFit, DegenerateInputGivesNoFalseValidCone)
{
    ScopedExceptions on;
    std::vector<MVector3d> line;
    for (int i = 0; i < 10; ++i)
        line.push_back(MVector3d(1e3, 2.0 * i, 0));
    EXPECT_FALSE(cloudOf(line).fitCone().isValid());
    EXPECT_FALSE(cloudOf(std::vector<MVector3d>(8, MVector3d(1, 2, 3))).fitCone().isValid());
    RandomGeometry random(5);
    std::vector<MVector3d> points = conePoints(randomFrame(random, 10.0), 0.5, 2.0, 6.0, 2 * Pi, 20, Noise(0, 0.0));
    points.push_back(MVector3d(std::numeric_limits<double>::infinity(), 0, 0));
    EXPECT_FALSE(cloudOf(points).fitCone().isValid());
}
