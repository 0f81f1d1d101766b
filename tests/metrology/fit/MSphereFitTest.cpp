#include "MSphereFit.h"
#include "RoundFitTestSupport.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace ZOLAR3D;
using namespace ZOLAR3D::test;

namespace {

constexpr double Pi = 3.141592653589793;

struct Patch {
    double halfAngle;
    unsigned seed;
};

// Whole sphere, hemisphere and a cap 30 degrees across.
const Patch Patches[] = {{Pi, 1}, {Pi / 2, 2}, {Pi / 12, 3}};

// The smallest sphere with the given points on its boundary and its centre
// in their affine hull, by a rank-revealing solve; false where the points
// are affinely dependent.
bool boundarySphere(const std::vector<Eigen::Vector3d> &s, Eigen::Vector3d &centre, double &squaredRadius)
{
    const int k = static_cast<int>(s.size()) - 1;
    if (k == 0) {
        centre = s[0];
        squaredRadius = 0.0;
        return true;
    }
    Eigen::MatrixXd a(3, k);
    for (int i = 0; i < k; ++i)
        a.col(i) = s[i + 1] - s[0];
    const Eigen::MatrixXd gram = a.transpose() * a;
    Eigen::FullPivLU<Eigen::MatrixXd> lu(gram);
    lu.setThreshold(1e-10);
    if (lu.rank() < k)
        return false;
    const Eigen::VectorXd lambda = lu.solve(Eigen::VectorXd(gram.diagonal() * 0.5));
    centre = s[0] + a * lambda;
    squaredRadius = (a * lambda).squaredNorm();
    return true;
}

// The smallest enclosing sphere by trying every support set of 1 to 4 points.
MSphere bruteForceEnclosingSphere(const std::vector<MVector3d> &points)
{
    const int n = static_cast<int>(points.size());
    MSphere best;
    double bestSquared = std::numeric_limits<double>::infinity();
    for (int mask = 1; mask < (1 << n); ++mask) {
        std::vector<Eigen::Vector3d> support;
        for (int i = 0; i < n; ++i)
            if (mask & (1 << i))
                support.emplace_back(points[i].x(), points[i].y(), points[i].z());
        if (support.size() > 4)
            continue;
        Eigen::Vector3d c;
        double r2;
        if (!boundarySphere(support, c, r2) || r2 >= bestSquared)
            continue;
        bool encloses = true;
        for (const MVector3d &p : points)
            encloses = encloses && (Eigen::Vector3d(p.x(), p.y(), p.z()) - c).squaredNorm() <= r2 * (1 + 1e-12);
        if (encloses) {
            bestSquared = r2;
            best = MSphere(MVector3d(c[0], c[1], c[2]), std::sqrt(r2));
        }
    }
    return best;
}

} // namespace

TEST(MSphereFit, NoiseFreePatchesFarFromTheOriginAreRecoveredToRoundOff)
{
    for (const Patch &patch : Patches) {
        RandomGeometry random(patch.seed);
        const Frame frame = randomFrame(random, 1e3);
        const double radius = random.uniform(5.0, 50.0);
        const MSphere sphere = cloudOf(spherePoints(frame, radius, patch.halfAngle, 60, Noise(0, 0.0)))
                                   .fitSphere(0.0);
        EXPECT_NEAR(sphere.radius(), radius, 1e-9 * radius) << patch.halfAngle;
        EXPECT_TRUE(near(sphere.position(), frame.origin, 1e-9 * radius)) << patch.halfAngle;
    }
}

TEST(MSphereFit, NoisyPatchesAgreeWithTheOrthogonalDistanceReference)
{
    for (const Patch &patch : Patches) {
        RandomGeometry random(patch.seed + 10);
        const Frame frame = randomFrame(random, 1e3);
        const double radius = random.uniform(5.0, 50.0);
        const std::vector<MVector3d> points =
            spherePoints(frame, radius, patch.halfAngle, 60, Noise(patch.seed, 0.002 * radius));
        const SphereModel model{frame, radius};
        const Eigen::VectorXd reference = referenceSolution(model, points);
        const MSphere sphere = cloudOf(points).fitSphere(0.0);
        EXPECT_NEAR(sphere.radius(), radius + reference[3], 1e-7 * radius) << patch.halfAngle;
        EXPECT_TRUE(near(sphere.position(), model.centre(reference), 1e-7 * radius)) << patch.halfAngle;
    }
}

TEST(MSphereFit, AlgebraicStartKeepsItsDigitsFarFromTheOrigin)
{
    // Raw moments of points 1e5 away would lose the centre entirely; the
    // start is exact for exact points wherever they lie.
    RandomGeometry random(4);
    const Frame frame = randomFrame(random, 1e5);
    MSphereFit fit;
    fit.setPoints(cloudOf(spherePoints(frame, 2.0, Pi / 3, 40, Noise(0, 0.0))));
    fit.fitFast();
    EXPECT_NEAR(fit.result().radius(), 2.0, 1e-8);
    EXPECT_TRUE(near(fit.result().position(), frame.origin, 1e-8));
}

TEST(MSphereFit, FixedRadiusFitsTheCentreOnly)
{
    RandomGeometry random(5);
    const Frame frame = randomFrame(random, 1e3);
    const MPointCloud cloud = cloudOf(spherePoints(frame, 10.0, Pi / 2, 50, Noise(5, 0.01)));
    const MSphere exact = cloud.fitSphere(10.0);
    EXPECT_EQ(exact.radius(), 10.0);
    EXPECT_TRUE(near(exact.position(), frame.origin, 0.01));
    // A radius that is too large pushes the centre of a hemisphere away
    // from the points along its axis: by 1 for the pole to lie right, by
    // sqrt(21) for the rim.
    const MSphere larger = cloud.fitSphere(11.0);
    EXPECT_EQ(larger.radius(), 11.0);
    const MVector3d shift = larger.position() - frame.origin;
    EXPECT_GT(shift.dot(-frame.w), 1.0);
    EXPECT_LT(shift.dot(-frame.w), std::sqrt(21.0));
    EXPECT_LT(shift.cross(frame.w).norm(), 0.05);
}

TEST(MSphereFit, SmallCountsGiveTheirExactSphere)
{
    const MVector3d a(1e3 + 1, 2, 3);
    const MSphere one = cloudOf({a}).fitSphere(0.0);
    EXPECT_EQ(one.position(), a);
    EXPECT_EQ(one.radius(), 0.0);

    const MSphere two = cloudOf({MVector3d(1, 0, 0), MVector3d(3, 4, 0)}).fitSphere(0.0);
    EXPECT_EQ(two.position(), MVector3d(2, 2, 0));
    EXPECT_DOUBLE_EQ(two.radius(), std::sqrt(5.0));

    // Three points: the circumcentre in their plane.
    const MSphere three = cloudOf({MVector3d(1e3 + 5, 0, 7), MVector3d(1e3, 5, 7), MVector3d(1e3 - 5, 0, 7)})
                              .fitSphere(0.0);
    EXPECT_TRUE(near(three.position(), MVector3d(1e3, 0, 7), 1e-12));
    EXPECT_NEAR(three.radius(), 5.0, 1e-12);
}

TEST(MSphereFit, FourPointsGiveTheirCircumsphereWhateverTheFixedRadius)
{
    RandomGeometry random(6);
    const MVector3d centre = random.point(1e3);
    std::vector<MVector3d> points;
    for (int i = 0; i < 4; ++i)
        points.push_back(centre + random.unitVector() * 3.0);
    for (double fixedRadius : {0.0, 7.0}) {
        const MSphere sphere = cloudOf(points).fitSphere(fixedRadius);
        EXPECT_NEAR(sphere.radius(), 3.0, 1e-10);
        EXPECT_TRUE(near(sphere.position(), centre, 1e-10));
    }
}

TEST(MSphereFit, PointsWithoutASphereGiveAnInvalidOne)
{
    ScopedExceptions on;
    EXPECT_FALSE(cloudOf({}).fitSphere(0.0).isValid());
    EXPECT_FALSE(cloudOf({MVector3d(MInvalid, 0, 0), MVector3d(0, std::nan(""), 0)}).fitSphere(0.0).isValid());
    // Coinciding, collinear and coplanar points.
    EXPECT_FALSE(cloudOf({MVector3d(1, 2, 3), MVector3d(1, 2, 3)}).fitSphere(0.0).isValid());
    EXPECT_FALSE(cloudOf({MVector3d(0, 0, 0), MVector3d(1, 1, 1), MVector3d(3, 3, 3)}).fitSphere(0.0).isValid());
    EXPECT_FALSE(cloudOf({MVector3d(0, 0, 5), MVector3d(1, 0, 5), MVector3d(0, 1, 5), MVector3d(1, 1, 5)})
                     .fitSphere(0.0)
                     .isValid());
    RandomGeometry random(7);
    const Frame frame = randomFrame(random, 1e3);
    std::vector<MVector3d> flat = circlePoints(frame, 4.0, 2 * Pi, 12, Noise(0, 0.0));
    flat.push_back(frame.origin);
    EXPECT_FALSE(cloudOf(flat).fitSphere(0.0).isValid());
}

TEST(MSphereFit, UnusableFixedRadiusGivesAnInvalidSphere)
{
    ScopedExceptions on;
    RandomGeometry random(8);
    const MPointCloud cloud = cloudOf(spherePoints(randomFrame(random, 10.0), 3.0, Pi, 20, Noise(0, 0.0)));
    EXPECT_FALSE(cloud.fitSphere(-3.0).isValid());
    EXPECT_FALSE(cloud.fitSphere(std::nan("")).isValid());
    EXPECT_FALSE(cloud.fitSphere(std::numeric_limits<double>::infinity()).isValid());
    MPointCloud holed = cloud;
    holed.add(MVector3d(std::numeric_limits<double>::infinity(), 0, 0));
    EXPECT_FALSE(holed.fitSphere(0.0).isValid());
}

TEST(MSphereFitMC, AgreesWithBruteForceOnSmallSets)
{
    for (unsigned seed = 1; seed <= 12; ++seed) {
        RandomGeometry random(seed);
        const MVector3d offset = random.point(1e3);
        std::vector<MVector3d> points;
        const int n = 4 + static_cast<int>(seed % 7);
        for (int i = 0; i < n; ++i)
            points.push_back(offset + random.point(5.0));
        const MSphere expected = bruteForceEnclosingSphere(points);
        const MSphere ball = cloudOf(points).fitSphereMC();
        EXPECT_NEAR(ball.radius(), expected.radius(), 1e-10 * expected.radius()) << seed;
        EXPECT_TRUE(near(ball.position(), expected.position(), 1e-9 * expected.radius())) << seed;
    }
}

TEST(MSphereFitMC, EnclosesEveryPointOfALargerSetWithSupportOnItsBoundary)
{
    RandomGeometry random(13);
    std::vector<MVector3d> points;
    for (int i = 0; i < 500; ++i)
        points.push_back(random.point(1.0) + MVector3d(-1e3, 0, 1e3));
    const MSphere ball = cloudOf(points).fitSphereMC();
    int onBoundary = 0;
    for (const MVector3d &p : points) {
        const double gap = p.distance(ball.position()) - ball.radius();
        EXPECT_LE(gap, 1e-12);
        onBoundary += std::fabs(gap) < 1e-12;
    }
    EXPECT_GE(onBoundary, 2);
}

TEST(MSphereFitMC, ExactAnswers)
{
    const MVector3d a(3, -2, 1e3);
    const MSphere single = cloudOf({a}).fitSphereMC();
    EXPECT_EQ(single.position(), a);
    EXPECT_EQ(single.radius(), 0.0);

    // An obtuse triangle: the sphere on its longest side.
    const MSphere obtuse = cloudOf({MVector3d(-4, 0, 0), MVector3d(4, 0, 0), MVector3d(0.5, 1, 0)}).fitSphereMC();
    EXPECT_TRUE(near(obtuse.position(), MVector3d(0, 0, 0), 1e-14));
    EXPECT_DOUBLE_EQ(obtuse.radius(), 4.0);

    // A regular tetrahedron with points inside.
    std::vector<MVector3d> tetrahedron = {MVector3d(1, 1, 1), MVector3d(1, -1, -1), MVector3d(-1, 1, -1),
                                          MVector3d(-1, -1, 1), MVector3d(0.2, 0.1, 0), MVector3d(0, 0, 0.5)};
    for (MVector3d &p : tetrahedron)
        p += MVector3d(500, 500, 500);
    const MSphere ball = cloudOf(tetrahedron).fitSphereMC();
    EXPECT_TRUE(near(ball.position(), MVector3d(500, 500, 500), 1e-12));
    EXPECT_NEAR(ball.radius(), std::sqrt(3.0), 1e-12);
}

TEST(MSphereFitMC, InvalidPointsAreLeftOut)
{
    ScopedExceptions on;
    EXPECT_FALSE(cloudOf({}).fitSphereMC().isValid());
    EXPECT_FALSE(cloudOf({MVector3d(MInvalid, 0, 0)}).fitSphereMC().isValid());
    const MSphere ball =
        cloudOf({MVector3d(MInvalid, 0, 0), MVector3d(0, 0, 0), MVector3d(0, std::nan(""), 9), MVector3d(2, 0, 0)})
            .fitSphereMC();
    EXPECT_EQ(ball.position(), MVector3d(1, 0, 0));
    EXPECT_EQ(ball.radius(), 1.0);
}
