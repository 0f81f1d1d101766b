#include "MPointCloud.h"
#include "MPrincipalComponentAnalysis.h"

#include <Eigen/Eigenvalues>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <random>
#include <vector>

using namespace ZOLAR3D;

namespace {

const double NaN = std::numeric_limits<double>::quiet_NaN();

// The points of a box grid with half-extents (a, b, c) in steps, turned by
// rotation and moved to center. Symmetric, so the mean is exactly the centre
// and the scatter is diagonal in the turned frame.
struct Grid {
    std::vector<MVector3d> points;
    double eigenvalues[3];
    MVector3d axes[3];
};

Grid turnedGrid(const MMatrix3 &rotation, const MVector3d &center, int n, const double steps[3])
{
    Grid grid;
    for (int k = 0; k < 3; ++k)
        grid.axes[k] = MVector3d(rotation(0, k), rotation(1, k), rotation(2, k));
    double sums[3] = {0.0, 0.0, 0.0};
    for (int i = -n; i <= n; ++i)
        for (int j = -n; j <= n; ++j)
            for (int k = -n; k <= n; ++k) {
                const double local[3] = {i * steps[0], j * steps[1], k * steps[2]};
                grid.points.push_back(center + grid.axes[0] * local[0] + grid.axes[1] * local[1] +
                                      grid.axes[2] * local[2]);
                for (int a = 0; a < 3; ++a)
                    sums[a] += local[a] * local[a];
            }
    std::copy(sums, sums + 3, grid.eigenvalues);
    return grid;
}

double determinant(const MPrincipalComponentAnalysis &pca)
{
    return pca.eigenVector(0).cross(pca.eigenVector(1)).dot(pca.eigenVector(2));
}

// The dominant component is positive; on a tie of magnitudes none is negative.
bool isOriented(const MVector3d &v)
{
    const double m = std::max({std::fabs(v.x()), std::fabs(v.y()), std::fabs(v.z())});
    return !((std::fabs(v.x()) == m && v.x() < 0) || (std::fabs(v.y()) == m && v.y() < 0) ||
             (std::fabs(v.z()) == m && v.z() < 0));
}

void expectOrthonormalRightHanded(const MPrincipalComponentAnalysis &pca)
{
    for (int i = 0; i < 3; ++i) {
        EXPECT_NEAR(pca.eigenVector(i).norm(), 1.0, 1e-12);
        for (int j = i + 1; j < 3; ++j)
            EXPECT_NEAR(pca.eigenVector(i).dot(pca.eigenVector(j)), 0.0, 1e-12);
    }
    EXPECT_NEAR(determinant(pca), 1.0, 1e-12);
}

// A rough tilted strip of a scan far from the origin, in scan order or
// shuffled, with a hole at every 37th place: many blocks of valid points.
std::vector<MVector3d> roughStrip(bool shuffled)
{
    std::mt19937 random(11);
    std::uniform_real_distribution<double> noise(0.0, 0.001);
    std::vector<MVector3d> points;
    for (int i = 0; i < 20000; ++i) {
        const double x = 1e5 + 0.01 * (i % 400), y = -2e5 + 0.01 * (i / 400);
        points.emplace_back(x, y, 3e5 + 0.2 * x - 0.1 * y + noise(random));
    }
    if (shuffled)
        std::shuffle(points.begin(), points.end(), random);
    for (size_t i = 0; i < points.size(); i += 37)
        points[i].invalidate();
    return points;
}

// Eigenvalues, largest first, of the scatter about the mean of the valid
// points, both summed in long double in two passes.
std::vector<double> twoPassEigenvalues(const std::vector<MVector3d> &points)
{
    long double mean[3] = {0, 0, 0}, count = 0;
    for (const MVector3d &p : points)
        if (p.isValid()) {
            for (int k = 0; k < 3; ++k)
                mean[k] += p[k];
            ++count;
        }
    for (long double &m : mean)
        m /= count;
    long double scatter[3][3] = {};
    for (const MVector3d &p : points)
        if (p.isValid())
            for (int r = 0; r < 3; ++r)
                for (int c = 0; c < 3; ++c)
                    scatter[r][c] += (p[r] - mean[r]) * (p[c] - mean[c]);
    Eigen::Matrix3d matrix;
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c)
            matrix(r, c) = double(scatter[r][c]);
    const Eigen::Vector3d values = Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d>(matrix).eigenvalues();
    return {values(2), values(1), values(0)};
}

} // namespace

TEST(MPrincipalComponentAnalysis, RecoversKnownAxesFarFromTheOrigin)
{
    const MMatrix3 rotation = MMatrix3::AxisAngleRotation(MVector3d(1, -2, 0.5), 0.7);
    const MVector3d center(1e6, -2e6, 3e6);
    const double steps[3] = {0.5, 0.2, 0.05};
    const Grid grid = turnedGrid(rotation, center, 6, steps);
    const MPrincipalComponentAnalysis pca(grid.points.data(), int(grid.points.size()));

    ASSERT_TRUE(pca.isValid());
    EXPECT_TRUE(pca.center().equals(center, 1e-9));
    for (int k = 0; k < 3; ++k) {
        EXPECT_NEAR(pca.eigenValue(k), grid.eigenvalues[k], 1e-8 * grid.eigenvalues[k]);
        EXPECT_NEAR(std::fabs(pca.eigenVector(k).dot(grid.axes[k])), 1.0, 1e-10);
    }
    expectOrthonormalRightHanded(pca);
}

TEST(MPrincipalComponentAnalysis, EigenvaluesGrowWithTheNumberOfPoints)
{
    const double steps[3] = {1.0, 0.5, 0.25};
    Grid grid = turnedGrid(MMatrix3::ZRotation(0.3), MVector3d(5, 6, 7), 3, steps);
    const MPrincipalComponentAnalysis once(grid.points.data(), int(grid.points.size()));
    const std::vector<MVector3d> copy = grid.points;
    grid.points.insert(grid.points.end(), copy.begin(), copy.end());
    const MPrincipalComponentAnalysis twice(grid.points.data(), int(grid.points.size()));
    for (int k = 0; k < 3; ++k)
        EXPECT_NEAR(twice.eigenValue(k), 2.0 * once.eigenValue(k), 1e-9 * once.eigenValue(k));
}

TEST(MPrincipalComponentAnalysis, AxesAreOrientedAndTheFrameRightHanded)
{
    std::mt19937 random(5);
    std::normal_distribution<double> gauss;
    for (int trial = 0; trial < 200; ++trial) {
        const MMatrix3 rotation =
            MMatrix3::AxisAngleRotation(MVector3d(gauss(random), gauss(random), gauss(random)), gauss(random));
        std::vector<MVector3d> points;
        for (int i = 0; i < 50; ++i)
            points.push_back(rotation * MVector3d(5 * gauss(random), 2 * gauss(random), 0.5 * gauss(random)));
        const MPrincipalComponentAnalysis pca(points.data(), int(points.size()));
        expectOrthonormalRightHanded(pca);
        EXPECT_GE(pca.eigenValue(0), pca.eigenValue(1));
        EXPECT_GE(pca.eigenValue(1), pca.eigenValue(2));
        // The handedness flips an axis other than the first and the one
        // nearest to z, so those two keep the sign rule.
        EXPECT_TRUE(isOriented(pca.eigenVector(0)));
        int nearestZ = 0;
        for (int k = 1; k < 3; ++k)
            if (std::fabs(pca.eigenVector(k).z()) > std::fabs(pca.eigenVector(nearestZ).z()))
                nearestZ = k;
        EXPECT_TRUE(isOriented(pca.eigenVector(nearestZ)));
    }
}

TEST(MPrincipalComponentAnalysis, CollinearPointsGiveTwoZeroEigenvalues)
{
    const MVector3d points[] = {{1, 1, 1}, {2, 2, 2}, {3, 3, 3}};
    const MPrincipalComponentAnalysis pca(points, 3);
    EXPECT_NEAR(pca.eigenValue(0), 6.0, 1e-12);
    EXPECT_NEAR(pca.eigenValue(1), 0.0, 1e-12);
    EXPECT_NEAR(pca.eigenValue(2), 0.0, 1e-12);
    EXPECT_TRUE(pca.eigenVector(0).equals(MVector3d(1, 1, 1) / std::sqrt(3.0), 1e-12));
    expectOrthonormalRightHanded(pca);
}

TEST(MPrincipalComponentAnalysis, PlaneAtZeroKeepsItsNormalOnTheZAxis)
{
    std::vector<MVector3d> points;
    for (int i = 0; i < 7; ++i)
        for (int j = 0; j < 4; ++j)
            points.emplace_back(0.3 * i - 1.0 * j, 0.5 * j + 0.1 * i, 0.0);
    const MPrincipalComponentAnalysis pca(points.data(), int(points.size()));
    EXPECT_TRUE(pca.eigenVector(2).equals(MVector3d::ZUnit, 1e-12));
    EXPECT_NEAR(pca.eigenValue(2), 0.0, 1e-12);
    expectOrthonormalRightHanded(pca);
}

TEST(MPrincipalComponentAnalysis, EqualEigenvaluesStillGiveAFrame)
{
    // The corners of a cube: the scatter is 8 times the identity.
    std::vector<MVector3d> corners;
    for (int i = 0; i < 8; ++i)
        corners.emplace_back(i & 1 ? 1 : -1, i & 2 ? 1 : -1, i & 4 ? 1 : -1);
    const MPrincipalComponentAnalysis pca(corners.data(), 8);
    for (int k = 0; k < 3; ++k)
        EXPECT_NEAR(pca.eigenValue(k), 8.0, 1e-12);
    expectOrthonormalRightHanded(pca);
}

TEST(MPrincipalComponentAnalysis, InvalidPointsAreLeftOut)
{
    const double steps[3] = {1.0, 0.5, 0.25};
    const Grid grid = turnedGrid(MMatrix3::XRotation(0.4), MVector3d(1, 2, 3), 2, steps);
    std::vector<MVector3d> holes = grid.points;
    for (size_t i = 0; i < holes.size(); i += 5)
        holes.insert(holes.begin() + i, i % 2 ? MVector3d::Invalid : MVector3d(NaN, 0, 0));
    const MPrincipalComponentAnalysis clean(grid.points.data(), int(grid.points.size()));
    const MPrincipalComponentAnalysis holed(holes.data(), int(holes.size()));
    EXPECT_TRUE(holed.center().equals(clean.center(), 1e-12));
    for (int k = 0; k < 3; ++k) {
        EXPECT_NEAR(holed.eigenValue(k), clean.eigenValue(k), 1e-10);
        EXPECT_TRUE(holed.eigenVector(k).equals(clean.eigenVector(k), 1e-10));
    }
}

TEST(MPrincipalComponentAnalysis, LargeCloudFarFromTheOriginAgreesWithALongDoubleTwoPassSum)
{
    for (bool shuffled : {false, true}) {
        const std::vector<MVector3d> points = roughStrip(shuffled);
        const MPrincipalComponentAnalysis pca(points.data(), int(points.size()));
        const std::vector<double> expected = twoPassEigenvalues(points);
        for (int k = 0; k < 3; ++k)
            EXPECT_NEAR(pca.eigenValue(k), expected[k], 1e-15 * expected[0]) << shuffled << k;
    }
}

TEST(MPrincipalComponentAnalysis, HolesDoNotChangeTheArithmetic)
{
    const std::vector<MVector3d> holed = roughStrip(true);
    std::vector<MVector3d> valid;
    std::copy_if(holed.begin(), holed.end(), std::back_inserter(valid), [](const MVector3d &p) { return p.isValid(); });
    const MPrincipalComponentAnalysis a(holed.data(), int(holed.size())), b(valid.data(), int(valid.size()));
    EXPECT_EQ(a.center(), b.center());
    for (int k = 0; k < 3; ++k) {
        EXPECT_EQ(a.eigenValue(k), b.eigenValue(k));
        EXPECT_EQ(a.eigenVector(k), b.eigenVector(k));
    }
}

TEST(MPrincipalComponentAnalysis, FewerThanThreePointsLeaveThePlainSumAsCentre)
{
    const MVector3d points[] = {{1, 2, 3}, MVector3d::Invalid, {10, 20, 30}};
    const MPrincipalComponentAnalysis pca(points, 3);
    EXPECT_EQ(pca.center(), MVector3d(11, 22, 33));
    EXPECT_TRUE(pca.isValid());
    EXPECT_EQ(pca.eigenValue(0), MInvalid);
    EXPECT_FALSE(pca.eigenVector(0).isValid());

    const MPrincipalComponentAnalysis none(nullptr, 5);
    EXPECT_EQ(none.center(), MVector3d::Zero);
    EXPECT_EQ(none.eigenValue(2), MInvalid);
}

TEST(MPrincipalComponentAnalysis, DefaultAndOutOfRange)
{
    const MPrincipalComponentAnalysis pca;
    EXPECT_FALSE(pca.isValid());
    for (int k = 0; k < 3; ++k)
        EXPECT_EQ(pca.eigenValue(k), 3.4028234663852886e38);
    EXPECT_EQ(pca.covarianceMatrix(), MMatrix3::Identity);

    const MVector3d points[] = {{0, 0, 0}, {1, 0, 0}, {0, 2, 0}, {0, 0, 3}};
    const MPrincipalComponentAnalysis computed(points, 4);
    EXPECT_EQ(computed.covarianceMatrix(), MMatrix3::Identity);
    for (int i : {-1, 3, 1 << 30}) {
        EXPECT_EQ(computed.eigenValue(i), MInvalid);
        EXPECT_FALSE(computed.eigenVector(i).isValid());
    }
}

TEST(MPrincipalComponentAnalysis, PoseMapsTheLocalAxesOntoTheEigenvectors)
{
    const double steps[3] = {1.0, 0.5, 0.25};
    const Grid grid = turnedGrid(MMatrix3::YRotation(-0.9), MVector3d(-4, 8, 1), 2, steps);
    const MPrincipalComponentAnalysis pca(grid.points.data(), int(grid.points.size()));
    const MMatrix4 pose = pca.pose();
    EXPECT_TRUE((pose * MVector3d::Zero).equals(pca.center(), 1e-12));
    EXPECT_TRUE((pose * MVector3d::XUnit).equals(pca.center() + pca.eigenVector(0), 1e-12));
    EXPECT_TRUE((pose * MVector3d::ZUnit).equals(pca.center() + pca.eigenVector(2), 1e-12));
}

TEST(MPointCloudStatistics, PrincipalComponentsOfTheCloud)
{
    MPointCloud cloud;
    for (int i = 0; i < 10; ++i)
        cloud.add(i * 0.5, i * i * 0.01, -0.2 * i);
    cloud.add(MVector3d::Invalid);
    const MPrincipalComponentAnalysis fromCloud = cloud.principalComponentAnalysis();
    const MPrincipalComponentAnalysis fromPoints(cloud.points(), cloud.size());
    EXPECT_EQ(fromCloud.center(), fromPoints.center());
    for (int k = 0; k < 3; ++k)
        EXPECT_EQ(fromCloud.eigenVector(k), fromPoints.eigenVector(k));
}

TEST(MPointCloudStatistics, DimensionalityOfLinesPlanesAndDegenerateClouds)
{
    MPointCloud line, plane, blob;
    std::mt19937 random(3);
    std::uniform_real_distribution<double> u(-1, 1);
    for (int i = -20; i <= 20; ++i) {
        line.add(0.1 * i, 0.2 * i, -0.1 * i);
        for (int j = -20; j <= 20; ++j)
            plane.add(0.1 * i, 0.1 * j, 7.0);
        blob.add(u(random), u(random), u(random));
    }
    EXPECT_TRUE(line.dimensionality().equals(MVector3d(1, 0, 0), 1e-12));
    EXPECT_TRUE(plane.dimensionality().equals(MVector3d(0.5, 0.5, 0), 1e-12));
    const MVector3d d = blob.dimensionality();
    EXPECT_NEAR(d.x() + d.y() + d.z(), 1.0, 1e-12);
    EXPECT_GT(d.z(), 0.1);

    MPointCloud one;
    one.add(1, 2, 3);
    one.add(MVector3d::Invalid);
    EXPECT_EQ(one.dimensionality(), MVector3d::Zero);
    MPointCloud coincident;
    for (int i = 0; i < 5; ++i)
        coincident.add(1, 2, 3);
    EXPECT_EQ(coincident.dimensionality(), MVector3d::Zero);
}

TEST(MPointCloudStatistics, DimensionalityOfTwoPointsComesFromTheUntouchedEigenvalues)
{
    // Two points are not solved, so the three start eigenvalues share equally.
    MPointCloud two;
    two.add(0, 0, 0);
    two.add(1, 0, 0);
    EXPECT_TRUE(two.dimensionality().equals(MVector3d(1, 1, 1) / 3.0, 1e-15));
}
