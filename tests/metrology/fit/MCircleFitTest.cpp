#include "MCircleFit.h"
#include "MCircleFit2d.h"
#include "RoundFitTestSupport.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace ZOLAR3D;
using namespace ZOLAR3D::test;

namespace {

constexpr double Pi = 3.141592653589793;
constexpr double Degree = Pi / 180.0;

struct Arc {
    double arc;
    unsigned seed;
};

const Arc Arcs[] = {{360 * Degree, 1}, {90 * Degree, 2}, {30 * Degree, 3}};

} // namespace

TEST(MCircleFit, NoiseFreeArcsFarFromTheOriginAreRecoveredToRoundOff)
{
    for (const Arc &arc : Arcs) {
        RandomGeometry random(arc.seed);
        const Frame frame = randomFrame(random, 1e3);
        const double radius = random.uniform(5.0, 50.0);
        const MPointCloud cloud = cloudOf(circlePoints(frame, radius, arc.arc, 40, Noise(0, 0.0)));
        const MCircle circle = cloud.fitCircle(0.0);
        EXPECT_NEAR(circle.radius(), radius, 1e-9 * radius) << arc.arc;
        EXPECT_TRUE(near(circle.position(), frame.origin, 1e-9 * radius)) << arc.arc;
        EXPECT_LT(sineBetween(circle.normal(), frame.w), 1e-9) << arc.arc;
        EXPECT_TRUE(dominantPositive(circle.normal()));
        EXPECT_NEAR(circle.normal().norm(), 1.0, 1e-15);

        // Exact points lie in one plane, so the quick fit is exact as well.
        const MCircle quick = cloud.fitCircleFast(0.0);
        EXPECT_NEAR(quick.radius(), radius, 1e-9 * radius) << arc.arc;
        EXPECT_TRUE(near(quick.position(), frame.origin, 1e-9 * radius)) << arc.arc;
    }
}

TEST(MCircleFit, NoisyArcsAgreeWithTheOrthogonalDistanceReference)
{
    for (const Arc &arc : Arcs) {
        RandomGeometry random(arc.seed + 10);
        const Frame frame = randomFrame(random, 1e3);
        const double radius = random.uniform(5.0, 50.0);
        const std::vector<MVector3d> points = circlePoints(frame, radius, arc.arc, 40, Noise(arc.seed, 0.002 * radius));
        const CircleModel model{frame, radius};
        const Eigen::VectorXd reference = referenceSolution(model, points);
        const MCircle circle = cloudOf(points).fitCircle(0.0);
        EXPECT_NEAR(circle.radius(), radius + reference[5], 1e-7 * radius) << arc.arc;
        EXPECT_TRUE(near(circle.position(), model.centre(reference), 1e-7 * radius)) << arc.arc;
        EXPECT_LT(sineBetween(circle.normal(), model.normal(reference)), 1e-7) << arc.arc;
    }
}

TEST(MCircleFit, FixedRadiusIsTheRadiusReturned)
{
    RandomGeometry random(4);
    const Frame frame = randomFrame(random, 1e3);
    const MPointCloud cloud = cloudOf(circlePoints(frame, 8.0, Pi, 30, Noise(4, 0.01)));
    const MCircle circle = cloud.fitCircle(8.0);
    EXPECT_EQ(circle.radius(), 8.0);
    EXPECT_TRUE(near(circle.position(), frame.origin, 0.02));
    // A radius too large for a half circle moves the centre away from the arc.
    const MCircle larger = cloud.fitCircle(9.0);
    EXPECT_EQ(larger.radius(), 9.0);
    EXPECT_LT((larger.position() - frame.origin).dot(frame.v), -0.5);
}

TEST(MCircleFit, ThreePointsOfAnAcuteTriangleGiveTheirCircumcircleToEitherFit)
{
    const MPointCloud acute = cloudOf({MVector3d(1e3 + 3, 4, 2), MVector3d(1e3 - 5, 0, 2), MVector3d(1e3, -5, 2)});
    for (const MCircle &circle : {acute.fitCircle(0.0), acute.fitCircleMC()}) {
        EXPECT_TRUE(near(circle.position(), MVector3d(1e3, 0, 2), 1e-11));
        EXPECT_NEAR(circle.radius(), 5.0, 1e-11);
        EXPECT_TRUE(near(circle.normal(), MVector3d(0, 0, 1), 1e-12));
    }
}

TEST(MCircleFit, GradientIsNotFiniteAtAZeroResidual)
{
    // The derivative of a distance has no value where the distance is 0;
    // the solver then finds no better step, and exact data keep their
    // exact start.
    MCircleFit fit;
    const double parameters[7] = {0, 0, 0, 0, 0, 1, 2};
    double d, gradient[7];
    fit.distanceAndGradient(MVector3d(2, 0, 0), parameters, &d, gradient);
    EXPECT_EQ(d, 0.0);
    EXPECT_TRUE(std::isnan(gradient[0]));
    EXPECT_TRUE(std::isnan(gradient[6]));
}

TEST(MCircleFit, PointOnTheAxisTakesTheSubstitutedGradient)
{
    MCircleFit fit;
    const double parameters[7] = {0, 0, 0, 0.6, 0, 0.8, 2};
    double d, gradient[7];
    fit.distanceAndGradient(MVector3d(0, 0, 0), parameters, &d, gradient);
    EXPECT_DOUBLE_EQ(d, 2.0);
    // By the centre: (sqrt(1 - Ai²) (s - r) - Ai f) / d with s = f = 0.
    EXPECT_DOUBLE_EQ(gradient[0], -0.8);
    EXPECT_DOUBLE_EQ(gradient[1], -1.0);
    EXPECT_DOUBLE_EQ(gradient[2], -0.6);
    EXPECT_DOUBLE_EQ(gradient[6], 1.0);
}

TEST(MCircleFit2d, AlgebraicAndGeometricFitsInAPlane)
{
    // A circle far from the origin in the plane z = 7.
    const Frame frame{MVector3d(-3e4, 2e4, 7), MVector3d(1, 0, 0), MVector3d(0, 1, 0), MVector3d(0, 0, 1)};
    MCircleFit2d fit;
    fit.setPoints(cloudOf(circlePoints(frame, 0.5, 60 * Degree, 20, Noise(0, 0.0))));
    fit.fitFast();
    EXPECT_NEAR(fit.result().radius(), 0.5, 1e-10);
    EXPECT_TRUE(near(fit.result().position(), frame.origin, 1e-10));
    EXPECT_EQ(fit.result().normal(), MVector3d(0, 0, 1));
    fit.fit();
    EXPECT_NEAR(fit.result().radius(), 0.5, 1e-10);
    EXPECT_TRUE(near(fit.result().position(), frame.origin, 1e-10));
}

TEST(MCircleFit2d, FixedRadiusKeepsTheAlgebraicRadius)
{
    const Frame frame{MVector3d(10, 20, 0), MVector3d(1, 0, 0), MVector3d(0, 1, 0), MVector3d(0, 0, 1)};
    MCircleFit2d fit;
    fit.setPoints(cloudOf(circlePoints(frame, 3.0, Pi, 25, Noise(6, 0.05))));
    fit.fitFast();
    const MCircle algebraic = fit.result();
    fit.setFixedRadius(4.0);
    fit.fit();
    EXPECT_EQ(fit.result().radius(), algebraic.radius());
    EXPECT_NE(fit.result().position(), algebraic.position());
}

TEST(MCircleFit, FitCircleFastWithFixedRadiusReportsTheAlgebraicRadius)
{
    RandomGeometry random(7);
    const Frame frame = randomFrame(random, 1e3);
    const MPointCloud cloud = cloudOf(circlePoints(frame, 6.0, Pi, 25, Noise(7, 0.03)));
    MCircleFit start;
    start.setPoints(cloud);
    start.fitFast();
    const MCircle quick = cloud.fitCircleFast(6.5);
    EXPECT_EQ(quick.radius(), start.result().radius());
    EXPECT_NE(quick.position(), start.result().position());
    EXPECT_NEAR(cloud.fitCircleFast(0.0).radius(), 6.0, 0.05);
}

TEST(MCircleFit, PointsWithoutACircleGiveAnInvalidOne)
{
    ScopedExceptions on;
    RandomGeometry random(8);
    const Frame frame = randomFrame(random, 1e3);
    std::vector<MVector3d> line;
    for (int i = 0; i < 10; ++i)
        line.push_back(frame.at(0.3 * i, 0, 0));
    EXPECT_FALSE(cloudOf(line).fitCircle(0.0).isValid());
    EXPECT_FALSE(cloudOf(line).fitCircleFast(0.0).isValid());
    EXPECT_FALSE(cloudOf(line).fitCircleMC().isValid());
    EXPECT_FALSE(cloudOf(std::vector<MVector3d>(5, frame.origin)).fitCircle(0.0).isValid());

    const MPointCloud arc = cloudOf(circlePoints(frame, 2.0, Pi, 10, Noise(0, 0.0)));
    EXPECT_FALSE(arc.fitCircle(-2.0).isValid());
    EXPECT_FALSE(arc.fitCircle(std::nan("")).isValid());
    EXPECT_FALSE(arc.fitCircleFast(-2.0).isValid());
    MPointCloud holed = arc;
    holed.add(MVector3d(0, -std::numeric_limits<double>::infinity(), 0));
    EXPECT_FALSE(holed.fitCircle(0.0).isValid());
}

TEST(MCircleFitMC, ThreePointsOfAnObtuseTriangleGiveTheCircleOnTheLongestSide)
{
    const MCircle obtuse = cloudOf({MVector3d(0, -4, 0), MVector3d(0, 4, 0), MVector3d(0, 0.5, 1)}).fitCircleMC();
    EXPECT_TRUE(near(obtuse.position(), MVector3d(0, 0, 0), 1e-12));
    EXPECT_NEAR(obtuse.radius(), 4.0, 1e-12);
    EXPECT_TRUE(near(obtuse.normal(), MVector3d(1, 0, 0), 1e-12));
}

TEST(MCircleFitMC, EnclosesThePointsProjectedIntoTheFittedPlane)
{
    // Points of a plane, out of round by up to 0.2: the enclosing circle is
    // found against every pair and triple of points.
    RandomGeometry random(9);
    const Frame frame = randomFrame(random, 1e3);
    std::vector<MVector3d> points;
    std::vector<MVector2d> flat;
    for (int i = 0; i < 9; ++i) {
        const double t = random.uniform(0, 2 * Pi), rho = 5.0 + random.uniform(-0.2, 0.2);
        flat.emplace_back(rho * std::cos(t), rho * std::sin(t));
        points.push_back(frame.at(flat.back().x(), flat.back().y(), 0.0));
    }
    double best = std::numeric_limits<double>::infinity();
    MVector2d bestCentre;
    const auto consider = [&](const MVector2d &c) {
        double r = 0.0;
        for (const MVector2d &p : flat)
            r = std::max(r, std::hypot(p.x() - c.x(), p.y() - c.y()));
        if (r < best) {
            best = r;
            bestCentre = c;
        }
    };
    for (size_t i = 0; i < flat.size(); ++i)
        for (size_t j = i + 1; j < flat.size(); ++j) {
            const MVector2d a = flat[i], b = flat[j];
            consider(MVector2d((a.x() + b.x()) / 2, (a.y() + b.y()) / 2));
            for (size_t k = j + 1; k < flat.size(); ++k) {
                const MVector2d c = flat[k];
                const double d = 2 * (a.x() * (b.y() - c.y()) + b.x() * (c.y() - a.y()) + c.x() * (a.y() - b.y()));
                const double aa = a.x() * a.x() + a.y() * a.y(), bb = b.x() * b.x() + b.y() * b.y(),
                             cc = c.x() * c.x() + c.y() * c.y();
                consider(MVector2d((aa * (b.y() - c.y()) + bb * (c.y() - a.y()) + cc * (a.y() - b.y())) / d,
                                   (aa * (c.x() - b.x()) + bb * (a.x() - c.x()) + cc * (b.x() - a.x())) / d));
            }
        }
    const MCircle circle = cloudOf(points).fitCircleMC();
    EXPECT_NEAR(circle.radius(), best, 1e-10);
    EXPECT_TRUE(near(circle.position(), frame.at(bestCentre.x(), bestCentre.y(), 0.0), 1e-9));
    EXPECT_LT(sineBetween(circle.normal(), frame.w), 1e-12);
}
