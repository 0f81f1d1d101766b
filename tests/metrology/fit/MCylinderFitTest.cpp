#include "MCylinderFit.h"
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
    double arc;
    // Length over radius: below 2 the axis is not the direction of largest
    // spread, and only the search over all three principal axes finds it.
    double length;
    unsigned seed;
};

const Patch Patches[] = {{360 * Degree, 4.0, 1}, {360 * Degree, 0.3, 2}, {90 * Degree, 2.0, 3}, {30 * Degree, 3.0, 4}};

std::vector<MVector3d> patchPoints(const Patch &patch, const Frame &frame, double radius, double sigma)
{
    return cylinderPoints(frame, radius, patch.arc, patch.length * radius, 60, Noise(patch.seed, sigma));
}

} // namespace

TEST(MCylinderFit, NoiseFreePatchesFarFromTheOriginAreRecoveredToRoundOff)
{
    for (const Patch &patch : Patches) {
        RandomGeometry random(patch.seed);
        const Frame frame = randomFrame(random, 1e3);
        const double radius = random.uniform(5.0, 50.0);
        const std::vector<MVector3d> points = patchPoints(patch, frame, radius, 0.0);
        const MCylinder cylinder = cloudOf(points).fitCylinder(0.0);
        EXPECT_NEAR(cylinder.radius(), radius, 1e-9 * radius) << patch.arc << " " << patch.length;
        EXPECT_LT(sineBetween(cylinder.direction(), frame.w), 1e-9) << patch.arc << " " << patch.length;
        EXPECT_LT(distanceFromLine(frame.origin, cylinder.position(), cylinder.direction()), 1e-9 * radius);
        EXPECT_TRUE(dominantPositive(cylinder.direction()));

        // The position is the middle of the points' span along the axis.
        double low = 1e300, high = -1e300;
        for (const MVector3d &p : points) {
            low = std::min(low, (p - frame.origin).dot(frame.w));
            high = std::max(high, (p - frame.origin).dot(frame.w));
        }
        EXPECT_NEAR(cylinder.length(), high - low, 1e-9 * radius);
        EXPECT_TRUE(near(cylinder.position(), frame.origin + frame.w * ((low + high) / 2), 1e-9 * radius));
    }
}

TEST(MCylinderFit, NoisyPatchesAgreeWithTheOrthogonalDistanceReference)
{
    for (const Patch &patch : Patches) {
        RandomGeometry random(patch.seed + 10);
        const Frame frame = randomFrame(random, 1e3);
        const double radius = random.uniform(5.0, 50.0);
        const std::vector<MVector3d> points = patchPoints(patch, frame, radius, 0.002 * radius);
        const CylinderModel model{frame, radius};
        const Eigen::VectorXd reference = referenceSolution(model, points);
        const MCylinder cylinder = cloudOf(points).fitCylinder(0.0);
        EXPECT_NEAR(cylinder.radius(), radius + reference[4], 1e-7 * radius) << patch.arc << " " << patch.length;
        EXPECT_LT(sineBetween(cylinder.direction(), model.direction(reference)), 1e-7)
            << patch.arc << " " << patch.length;
        EXPECT_LT(distanceFromLine(cylinder.position(), model.axisPoint(reference), model.direction(reference)),
                  1e-7 * radius)
            << patch.arc << " " << patch.length;
    }
}

TEST(MCylinderFit, FixedRadiusIsTheRadiusReturned)
{
    RandomGeometry random(5);
    const Frame frame = randomFrame(random, 1e3);
    const MPointCloud cloud = cloudOf(cylinderPoints(frame, 4.0, Pi, 12.0, 40, Noise(5, 0.01)));
    const MCylinder cylinder = cloud.fitCylinder(4.0);
    EXPECT_EQ(cylinder.radius(), 4.0);
    EXPECT_LT(sineBetween(cylinder.direction(), frame.w), 0.01);
    EXPECT_LT(distanceFromLine(frame.origin, cylinder.position(), cylinder.direction()), 0.02);
}

TEST(MCylinderFit, NormalizationMovesTheAxisPointToTheFootOfTheOrigin)
{
    MCylinderFit fit;
    double parameters[7] = {5, 1, 7, 0, 0, 2, 3};
    fit.normalizeParameters(parameters);
    EXPECT_DOUBLE_EQ(parameters[0], 5.0);
    EXPECT_DOUBLE_EQ(parameters[1], 1.0);
    EXPECT_DOUBLE_EQ(parameters[2], 0.0);
    EXPECT_DOUBLE_EQ(parameters[5], 1.0);
    EXPECT_EQ(parameters[6], 3.0);
}

TEST(MCylinderFit, PointOnTheAxisTakesTheSubstitutedGradient)
{
    MCylinderFit fit;
    const double parameters[7] = {1, 2, 3, 0, 0, 1, 2};
    double d, gradient[7];
    fit.distanceAndGradient(MVector3d(1, 2, 6), parameters, &d, gradient);
    EXPECT_EQ(d, -2.0);
    // sqrt(1 - Ai²) by the axis point and that times f = 3 by the direction.
    const double expected[7] = {1, 1, 0, 3, 3, 0, -1};
    for (int i = 0; i < 7; ++i)
        EXPECT_EQ(gradient[i], expected[i]) << i;

    // A scan that holds a point on the axis still fits to finite numbers.
    RandomGeometry random(6);
    const Frame frame = randomFrame(random, 1e3);
    std::vector<MVector3d> points = cylinderPoints(frame, 3.0, 2 * Pi, 9.0, 40, Noise(0, 0.0));
    points.push_back(frame.origin);
    const MCylinder cylinder = cloudOf(points).fitCylinder(0.0);
    ASSERT_TRUE(cylinder.isValid());
    EXPECT_TRUE(std::isfinite(cylinder.length()));
    EXPECT_LT(sineBetween(cylinder.direction(), frame.w), 0.05);
}

TEST(MCylinderFit, PointsWithoutACylinderGiveAnInvalidOne)
{
    ScopedExceptions on;
    RandomGeometry random(7);
    const Frame frame = randomFrame(random, 1e3);
    std::vector<MVector3d> line;
    for (int i = 0; i < 10; ++i)
        line.push_back(frame.at(0, 0, 0.5 * i));
    EXPECT_FALSE(cloudOf(line).fitCylinder(0.0).isValid());
    EXPECT_FALSE(cloudOf(std::vector<MVector3d>(6, frame.origin)).fitCylinder(0.0).isValid());

    const MPointCloud cloud = cloudOf(cylinderPoints(frame, 2.0, 2 * Pi, 5.0, 20, Noise(0, 0.0)));
    EXPECT_FALSE(cloud.fitCylinder(-2.0).isValid());
    EXPECT_FALSE(cloud.fitCylinder(std::nan("")).isValid());
    MPointCloud holed = cloud;
    holed.add(MVector3d(0, 0, std::numeric_limits<double>::infinity()));
    EXPECT_FALSE(holed.fitCylinder(0.0).isValid());
}
