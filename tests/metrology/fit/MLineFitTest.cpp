#include "FitTestSupport.h"
#include "MLine.h"
#include "MLineFit.h"
#include "MLineSegment.h"
#include "MLineSegmentFit.h"
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

// Points at parameters t in [-20, 70] along a line through origin with
// unit direction, displaced across it by noise of the given deviation.
struct LineSample {
    MVector3d origin, direction;
    double tmin = MInvalid, tmax = -MInvalid;
    std::vector<MVector3d> points;
};

LineSample sampleLine(unsigned seed, const MVector3d &origin, double noise, int count)
{
    test::RandomGeometry random(seed);
    LineSample sample;
    sample.origin = origin;
    sample.direction = random.unitVector();
    const MVector3d side = MVector3d::PerpendicularTo(sample.direction).normalized();
    const MVector3d up = sample.direction.cross(side);
    std::normal_distribution<double> gauss(0.0, noise);
    std::mt19937 engine(seed);
    for (int i = 0; i < count; ++i) {
        const double t = random.uniform(-20, 70);
        sample.tmin = std::min(sample.tmin, t);
        sample.tmax = std::max(sample.tmax, t);
        const MVector3d offAxis = noise > 0 ? side * gauss(engine) + up * gauss(engine) : MVector3d(0, 0, 0);
        sample.points.push_back(origin + sample.direction * t + offAxis);
    }
    return sample;
}

// Smallest and largest foot of the points on a line, in its parameter.
std::pair<double, double> span(const MLine &line, const std::vector<MVector3d> &points)
{
    double low = MInvalid, high = -MInvalid;
    for (const MVector3d &p : points) {
        const double t = (p - line.position()).dot(line.direction());
        low = std::min(low, t);
        high = std::max(high, t);
    }
    return {low, high};
}

} // namespace

TEST(MLineFit, LineAlongNegativeXComesOutAlongPlusXWithItsSpan)
{
    const MPointCloud four = cloudOf({{5, 1, 2}, {3, 1, 2}, {0, 1, 2}, {-1, 1, 2}});
    const MPointCloud two = cloudOf({{5, 1, 2}, {-1, 1, 2}});
    for (const MPointCloud &cloud : {four, two}) {
        const MLine line = cloud.fitLine();
        EXPECT_TRUE(near(line.direction(), MVector3d(1, 0, 0), 1e-15));
        EXPECT_TRUE(near(line.position(), MVector3d(2, 1, 2), 1e-14));
        EXPECT_NEAR(line.lengthAttribute(), 6.0, 1e-14);
    }
}

TEST(MLineFit, ExactLineFarFromTheOriginIsRecoveredToRoundOff)
{
    for (unsigned seed = 1; seed <= 20; ++seed) {
        const LineSample sample = sampleLine(seed, MVector3d(-1e6, 2e6, 1e6), 0.0, 100);
        const MLine line = cloudOf(sample.points).fitLine();
        ASSERT_TRUE(line.isValid());
        EXPECT_TRUE(parallel(line.direction(), sample.direction, 1e-11));
        EXPECT_TRUE(test::dominantPositive(line.direction()));
        for (const MVector3d &p : sample.points)
            EXPECT_NEAR(line.distance(p), 0.0, 2e-9);
        const MVector3d middle = sample.origin + sample.direction * ((sample.tmin + sample.tmax) * 0.5);
        EXPECT_TRUE(near(line.position(), middle, 2e-9));
        EXPECT_NEAR(line.lengthAttribute(), sample.tmax - sample.tmin, 2e-9);
    }
}

TEST(MLineFit, NoisyLineAgreesWithTheSingularValueReference)
{
    for (unsigned seed = 1; seed <= 10; ++seed) {
        const LineSample sample = sampleLine(seed, MVector3d(3e6, 1e6, -2e6), 0.05, 300);
        const test::ReferenceFit reference = test::referenceFit(sample.points);
        const MLine line = cloudOf(sample.points).fitLine();
        EXPECT_TRUE(parallel(line.direction(), reference.axes[0], 1e-10));
        EXPECT_TRUE(test::dominantPositive(line.direction()));
        const MLine referenceLine(reference.centroid, reference.axes[0]);
        EXPECT_NEAR(referenceLine.distance(line.position()), 0.0, 1e-8);
        // The position is the middle of the span, the length the span.
        const auto [low, high] = span(line, sample.points);
        EXPECT_NEAR(low, -line.lengthAttribute() / 2, 1e-8);
        EXPECT_NEAR(high, line.lengthAttribute() / 2, 1e-8);
    }
}

TEST(MLineFit, TwoCoincidingPointsGiveAnInvalidLineWithoutFailure)
{
    test::ScopedExceptions on;
    const MLine line = cloudOf({{1, 2, 3}, {1, 2, 3}}).fitLine();
    EXPECT_FALSE(line.isValid());
}

TEST(MLineSegmentFit, FitLineSegmentKeepsTwoPointOrder)
{
    const MVector3d p0(0, 0, 0), p1(-2, 1, 0);
    const MPointCloud cloud = cloudOf({p0, MVector3d(), p1});
    const MLineSegment segment = cloud.fitLineSegment();
    EXPECT_EQ(segment.start(), p0);
    EXPECT_EQ(segment.end(), p1);
    // The line through the same two points turns round.
    EXPECT_TRUE(near(cloud.fitLine().direction(), MVector3d(2, -1, 0).normalized(), 1e-15));

    // Even a zero-length pair comes back as given.
    const MLineSegment point = cloudOf({p1, p1}).fitLineSegment();
    EXPECT_EQ(point.start(), p1);
    EXPECT_EQ(point.end(), p1);
}

TEST(MLineSegmentFit, EndsAreTheFeetOfTheOutermostPoints)
{
    for (unsigned seed = 1; seed <= 10; ++seed) {
        const LineSample exact = sampleLine(seed, MVector3d(1e6, 1e6, -3e6), 0.0, 100);
        const MLineSegment segment = cloudOf(exact.points).fitLineSegment();
        // The segment runs the way whose dominant component is positive.
        const MVector3d low = exact.origin + exact.direction * exact.tmin;
        const MVector3d high = exact.origin + exact.direction * exact.tmax;
        const bool forward = test::dominantPositive(exact.direction);
        EXPECT_TRUE(near(segment.start(), forward ? low : high, 2e-9));
        EXPECT_TRUE(near(segment.end(), forward ? high : low, 2e-9));
        EXPECT_TRUE(parallel(segment.end() - segment.start(), exact.direction, 1e-11));
        EXPECT_TRUE(test::dominantPositive(segment.end() - segment.start()));

        // On noisy points the segment lies on the fitted line and spans it.
        const LineSample noisy = sampleLine(seed, MVector3d(1e6, 1e6, -3e6), 0.05, 100);
        const MPointCloud cloud = cloudOf(noisy.points);
        const MLine line = cloud.fitLine();
        const MLineSegment cut = cloud.fitLineSegment();
        EXPECT_NEAR(line.distance(cut.start()), 0.0, 1e-8);
        EXPECT_NEAR(line.distance(cut.end()), 0.0, 1e-8);
        EXPECT_TRUE(near(cut.center(), line.position(), 1e-8));
        EXPECT_NEAR(cut.length(), line.lengthAttribute(), 1e-8);
        EXPECT_GT((cut.end() - cut.start()).dot(line.direction()), 0.0);
    }
}

