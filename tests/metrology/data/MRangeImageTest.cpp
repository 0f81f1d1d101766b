#include "MRangeImage.h"
#include "MRangeImageArray.h"
#include "MMatrix3.h"
#include "RangeImageSamples.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <new>
#include <vector>

using namespace ZOLAR3D;

namespace {

const double NaN = std::numeric_limits<double>::quiet_NaN();

bool sameBits(double a, double b) { return std::memcmp(&a, &b, sizeof(double)) == 0; }

// Restores the process-wide slope limit after a test changed it.
class ScopedMaxZSlope {
public:
    explicit ScopedMaxZSlope(double slope) : m_previous(MRangeImage::MaxZSlope) { MRangeImage::MaxZSlope = slope; }
    ~ScopedMaxZSlope() { MRangeImage::MaxZSlope = m_previous; }

private:
    double m_previous;
};

MRangeImage imageOf(int height, int width, double (*height_at)(int row, int col))
{
    MRangeImage image(height, width);
    for (int row = 0; row < height; ++row)
        for (int col = 0; col < width; ++col)
            image(row, col) = height_at(row, col);
    return image;
}

// A 2x2 quad a b / c d with the given pixel sizes and slope limit.
MRangeImage quad(double a, double b, double c, double d, double rows = 1.0, double columns = 1.0, double slope = 1.0)
{
    MRangeImage image(2, 2);
    image(0, 0) = a;
    image(0, 1) = b;
    image(1, 0) = c;
    image(1, 1) = d;
    image.setPixelSize(rows, columns);
    image.setMaxZSlope(slope);
    return image;
}

Eigen::Vector3d imageCoordinates(const MRangeImage &image, const MVector3d &world)
{
    const Eigen::Vector4d q = test::toEigen(image.imageToWorldMatrix()).inverse() * Eigen::Vector4d(world.x(), world.y(), world.z(), 1.0);
    return q.head<3>();
}

// The z distance found the slow way: the image coordinates through a general
// inverse, then every triangle of every valid quad searched for the one under
// the point, with the image x as the column. The triangles of quad (r, c) are
// split along the diagonal from (r, c) to (r + 1, c + 1).
double bruteForceZDistance(const MRangeImage &image, const MVector3d &world)
{
    const Eigen::Vector3d q = imageCoordinates(image, world);
    if (q.x() <= 0.0 || q.y() <= 0.0)
        return MInvalid;
    for (int r = 0; r + 1 < image.height(); ++r) {
        for (int c = 0; c + 1 < image.width(); ++c) {
            if (!image.isValidQuad(r, c, 1))
                continue;
            const Eigen::Vector3d p0(c, r, image(r, c)), p1(c + 1, r, image(r, c + 1));
            const Eigen::Vector3d p2(c, r + 1, image(r + 1, c)), p3(c + 1, r + 1, image(r + 1, c + 1));
            for (const auto &t : {std::array<Eigen::Vector3d, 3>{p0, p1, p3}, std::array<Eigen::Vector3d, 3>{p0, p3, p2}}) {
                Eigen::Matrix3d m;
                m << t[0].x(), t[1].x(), t[2].x(), t[0].y(), t[1].y(), t[2].y(), 1, 1, 1;
                const Eigen::Vector3d w = m.inverse() * Eigen::Vector3d(q.x(), q.y(), 1.0);
                if (w.minCoeff() >= -1e-12)
                    return q.z() - (w[0] * t[0].z() + w[1] * t[1].z() + w[2] * t[2].z());
            }
        }
    }
    return MInvalid;
}

MVector3d toWorld(const MRangeImage &image, double x, double y, double z)
{
    const Eigen::Vector4d w = test::toEigen(image.imageToWorldMatrix()) * Eigen::Vector4d(x, y, z, 1.0);
    return MVector3d(w.x(), w.y(), w.z());
}

void expectDistancesMatchBruteForce(const MRangeImage &image, std::mt19937 &rng)
{
    std::uniform_real_distribution<double> x(-1.0, image.width() + 0.5), y(-1.0, image.height() + 0.5), z(-80.0, 80.0);
    const Eigen::Vector3d zAxis = test::toEigen(image.pose()).block<3, 1>(0, 2);
    int found = 0;
    for (int k = 0; k < 2000; ++k) {
        const MVector3d p = toWorld(image, x(rng), y(rng), z(rng));
        const double expected = bruteForceZDistance(image, p);
        double d = 0.0;
        const MVector3d onSurface = image.projection(p, &d);
        EXPECT_EQ(d, image.distance(p));
        if (expected == MInvalid) {
            EXPECT_EQ(d, MInvalid);
            EXPECT_FALSE(onSurface.isValid());
            continue;
        }
        ++found;
        ASSERT_NEAR(d, expected, 1e-9 * (1.0 + std::fabs(expected)));
        // The projection moves along the image's Z axis onto the surface.
        EXPECT_NEAR(image.distance(onSurface), 0.0, 1e-9);
        const Eigen::Vector3d moved(p.x() - onSurface.x(), p.y() - onSurface.y(), p.z() - onSurface.z());
        EXPECT_LT((moved - d * zAxis).norm(), 1e-9 * (1.0 + std::fabs(d)));
    }
    EXPECT_GT(found, 200);
}

} // namespace

TEST(MRangeImage, DefaultsAndGridConstruction)
{
    const MRangeImage empty;
    EXPECT_EQ(empty.size(), 0);
    EXPECT_EQ(empty.pose(), MMatrix4::Identity);
    EXPECT_EQ(empty.imageToWorldMatrix(), MMatrix4::Identity);
    EXPECT_EQ(empty.worldToImageMatrix(), MMatrix4::Identity);
    EXPECT_EQ(empty.pixelSizeRows(), 1.0);
    EXPECT_EQ(empty.pixelSizeColumns(), 1.0);
    EXPECT_EQ(empty.maxZSlope(), -1.0);
    EXPECT_FALSE(empty.hasColors());
    EXPECT_EQ(MRangeImage::MaxZSlope, 3.0);

    const MRangeImage grid(2, 3);
    EXPECT_EQ(grid.width(), 3);
    EXPECT_EQ(grid.height(), 2);
    EXPECT_EQ(grid.numValidPoints(), 0);
    EXPECT_EQ(grid.value(1, 2), MInvalid);
}

TEST(MRangeImage, ValidityIsTheMarkerAloneSoNaNCountsAsValid)
{
    MRangeImage image(1, 3);
    image[0] = NaN;
    image[1] = 4.0;
    EXPECT_TRUE(image.isValid(0));
    EXPECT_TRUE(image.isValid(0, 1));
    EXPECT_FALSE(image.isValid(2));
    EXPECT_EQ(image.numValidPoints(), 2);
    image.invalidate(0, 1);
    image.invalidate(0);
    EXPECT_EQ(image.numValidPoints(), 0);
    image.init(2.5);
    EXPECT_EQ(image.numValidPoints(), 3);
    image.invalidate();
    EXPECT_EQ(image.numValidPoints(), 0);
}

TEST(MRangeImage, ResizeResetsValuesAndKeepsPoseAndPixelSizes)
{
    std::mt19937 rng(3);
    MRangeImage image = test::randomRangeImage(rng, 3, 4, true);
    const MMatrix4 pose = image.pose();
    image.setColor(0, MColor::Red);
    image.resize(4, 5);
    EXPECT_EQ(image.size(), 20);
    EXPECT_EQ(image.numValidPoints(), 0);
    EXPECT_EQ(image.pose(), pose);
    ASSERT_TRUE(image.hasColors());
    EXPECT_EQ(image.color(0), MColor::Red); // colours are resized, not refilled
    EXPECT_EQ(image.color(19), MColor::LightGray);

    image.resize(-2, 5);
    EXPECT_EQ(image.size(), 0);
    EXPECT_EQ(image.height(), 0);
    EXPECT_EQ(image.width(), 0);
    image.resize(1000000000, 0);
    EXPECT_EQ(image.height(), 0);
    EXPECT_THROW(image.resize(65536, 65536), std::bad_alloc);
}

TEST(MRangeImage, ColoursAndBulkCopies)
{
    MRangeImage image(2, 2);
    EXPECT_FALSE(image.hasColors());
    image.createColors(MColor::Blue);
    ASSERT_TRUE(image.hasColors());
    image.setColor(1, 1, MColor::Red);
    image.createColors(MColor::Green); // same length: kept
    EXPECT_EQ(image.color(1, 1), MColor::Red);
    EXPECT_EQ(image.color(0), MColor::Blue);
    image.clearColors();
    EXPECT_FALSE(image.hasColors());

    const double z[] = {1, 2, 3, 4};
    const MColor c[] = {MColor::Red, MColor::Green, MColor::Blue, MColor::White};
    image.setValues(z);
    image.setColors(c);
    EXPECT_EQ(image(1, 0), 3.0);
    EXPECT_EQ(image.color(1, 0), MColor::Blue);
    image.setValues(nullptr);
    EXPECT_EQ(image(1, 0), 3.0);

    image.clearValues();
    EXPECT_EQ(image.size(), 0);
    EXPECT_EQ(image.width(), 0);
    image.clear();
    EXPECT_EQ(image.colors(), nullptr);
}

TEST(MRangeImage, IndexFailuresThrowTheTextWithExceptionsOn)
{
    test::ScopedExceptions on;
    MRangeImage image(2, 3);
    const MRangeImage &constant = image;
    const char *text = "MRangeImage: index out of range!";
    EXPECT_MEXCEPTION(image.value(6), text);
    EXPECT_MEXCEPTION(image.value(2, 0), text);
    EXPECT_MEXCEPTION(image[-1], text);
    EXPECT_MEXCEPTION(constant[6], text);
    EXPECT_MEXCEPTION(image(0, 3), text);
    EXPECT_MEXCEPTION(constant(-1, 0), text);
    EXPECT_MEXCEPTION(image.setValue(6, 1.0), text);
    EXPECT_MEXCEPTION(image.setValue(0, -1, 1.0), text);
    EXPECT_MEXCEPTION(image.invalidate(7), text);
    EXPECT_MEXCEPTION(image.invalidate(2, 2), text);
    EXPECT_MEXCEPTION(image.isValid(6), text);
    EXPECT_MEXCEPTION(image.isValid(0, 3), text);
    EXPECT_MEXCEPTION(image.color(0), text); // no colours yet
    EXPECT_MEXCEPTION(image.color(0, 0), text);
    EXPECT_MEXCEPTION(image.setColor(0, MColor::Red), text);
    EXPECT_MEXCEPTION(image.setColor(0, 0, MColor::Red), text);
    EXPECT_MEXCEPTION(image.worldPoint(6), text);
    EXPECT_MEXCEPTION(image.imagePoint(-1), text);
}

TEST(MRangeImage, IndexFailuresFallBackQuietlyWithExceptionsOff)
{
    MRangeImage image(2, 3);
    image.init(1.0);
    EXPECT_EQ(image.value(6), MInvalid);
    EXPECT_EQ(image(5, 5), MInvalid);
    image[9] = 7.0; // writes the shared dummy, never the image
    EXPECT_EQ(image[9], MInvalid);
    EXPECT_FALSE(image.isValid(-1));
    EXPECT_FALSE(image.isValid(0, 3));
    EXPECT_EQ(image.color(0), MColor::Transparent);
    image.setValue(6, 5.0);
    image.setValue(2, 0, 5.0);
    image.invalidate(2, 0);
    image.setColor(1, MColor::Red);
    EXPECT_EQ(image.numValidPoints(), 6);
    EXPECT_FALSE(image.hasColors());
    EXPECT_EQ(image.worldPoint(6), MVector3d::Infinity);
    EXPECT_EQ(image.imagePoint(6), MVector3d::Infinity);
    // The grid forms answer Infinity out of range without a failure.
    test::ScopedExceptions on;
    EXPECT_EQ(image.worldPoint(2, 0), MVector3d::Infinity);
    EXPECT_EQ(image.imagePoint(0, -1), MVector3d::Infinity);
}

TEST(MRangeImage, ImageToWorldPairsTheRowWithTheColumnPixelSize)
{
    MRangeImage image(3, 3);
    image(1, 1) = 5.0;
    image.setPixelSize(2.0, 3.0);
    EXPECT_EQ(image.worldPoint(1, 1), MVector3d(3.0, 2.0, 5.0));
    EXPECT_EQ(image.worldPoint(4), MVector3d(3.0, 2.0, 5.0));
    EXPECT_EQ(image.imagePoint(4), MVector3d(1.0, 1.0, 5.0));
    EXPECT_EQ(image.worldPoint(0, 0), MVector3d::Infinity);
    EXPECT_EQ(image.imagePoint(0, 0), MVector3d::Infinity);
    EXPECT_EQ(image.averagePixelSize(), 2.5);
}

TEST(MRangeImage, WorldAndImageMappingRoundTripUnderRandomPoses)
{
    std::mt19937 rng(11);
    for (int trial = 0; trial < 50; ++trial) {
        const MRangeImage image = test::randomRangeImage(rng, 5, 7, false);
        const Eigen::Matrix4d pose = test::toEigen(image.pose());
        const Eigen::Matrix4d scale = Eigen::Vector4d(image.pixelSizeColumns(), image.pixelSizeRows(), 1.0, 1.0).asDiagonal();
        EXPECT_TRUE(test::toEigen(image.imageToWorldMatrix()).isApprox(pose * scale, 1e-14));
        EXPECT_TRUE((test::toEigen(image.worldToImageMatrix()) * pose * scale).isApprox(Eigen::Matrix4d::Identity(), 1e-12));
        for (int row = 0; row < image.height(); ++row) {
            for (int col = 0; col < image.width(); ++col) {
                const MVector3d world = image.worldPoint(row, col);
                if (!image.isValid(row, col)) {
                    EXPECT_FALSE(world.isValid());
                    continue;
                }
                const Eigen::Vector4d expected = pose * scale * Eigen::Vector4d(row, col, image(row, col), 1.0);
                EXPECT_TRUE(world.equals(MVector3d(expected.x(), expected.y(), expected.z()), 1e-12));
                EXPECT_TRUE((image.worldToImageMatrix() * world).equals(image.imagePoint(row, col), 1e-11));
            }
        }
    }
}

TEST(MRangeImage, PoseChangesRenewTheDerivedMatrices)
{
    std::mt19937 rng(5);
    MRangeImage image(2, 2);
    image.init(1.0);
    const MMatrix4 move = test::randomRigidPose(rng);
    const MVector3d before = image.worldPoint(1, 1);
    image.applyTransformation(move);
    EXPECT_EQ(image.pose(), move);
    EXPECT_TRUE(image.worldPoint(1, 1).equals(move * before, 1e-12));
    image.applyTransformation(move);
    EXPECT_TRUE(image.pose().equals(move * move, 1e-14));
    EXPECT_TRUE((image.worldToImageMatrix() * image.worldPoint(1, 0)).equals(MVector3d(1, 0, 1), 1e-12));
}

TEST(MRangeImage, WorldToImageTakesThePoseAsRigid)
{
    // The inverse is R^T after -t, so a pose that scales is not undone.
    MRangeImage image(2, 2);
    image.setPose(MMatrix4::Scaling(2.0, 2.0, 2.0));
    EXPECT_EQ(image.imageToWorldMatrix() * MVector3d(1, 1, 1), MVector3d(2, 2, 2));
    EXPECT_EQ(image.worldToImageMatrix() * MVector3d(2, 2, 2), MVector3d(4, 4, 4));
}

TEST(MRangeImage, ValidQuadsCompareEachEdgeStrictlyWithItsOwnLimit)
{
    // Rows 2, columns 3, slope 1: a change along a row (to the next column)
    // is limited by the column size, one down a column by the row size.
    EXPECT_TRUE(quad(0, 2.9, 0, 2.9, 2.0, 3.0).isValidQuad(0, 0, 1));
    EXPECT_FALSE(quad(0, 3.0, 0, 3.0, 2.0, 3.0).isValidQuad(0, 0, 1));
    EXPECT_FALSE(quad(0, 0, 0, 3.0, 2.0, 3.0).isValidQuad(0, 0, 1)); // d - c
    EXPECT_TRUE(quad(0, 0, 1.9, 1.9, 2.0, 3.0).isValidQuad(0, 0, 1));
    EXPECT_FALSE(quad(0, 0, 2.0, 2.0, 2.0, 3.0).isValidQuad(0, 0, 1));
    EXPECT_FALSE(quad(0, 0, 0, 2.0, 2.0, 3.0).isValidQuad(0, 0, 1)); // d - b
    EXPECT_FALSE(quad(0, 0, NaN, 0).isValidQuad(0, 0, 1));
    EXPECT_FALSE(quad(0, MInvalid, 0, 0).isValidQuad(0, 0, 1));
    EXPECT_FALSE(quad(5, 5, 5, 5, 1, 1, 0.0).isValidQuad(0, 0, 1));

    // The step widens every limit.
    MRangeImage wide(3, 3);
    wide.init(0.0);
    wide(2, 2) = 1.9;
    wide.setMaxZSlope(1.0);
    EXPECT_FALSE(wide.isValidQuad(1, 1, 1));
    EXPECT_TRUE(wide.isValidQuad(0, 0, 2));
    wide(2, 2) = 2.0;
    EXPECT_FALSE(wide.isValidQuad(0, 0, 2));
}

TEST(MRangeImage, ValidQuadsStayInsideTheGrid)
{
    MRangeImage image(3, 4);
    image.init(0.0);
    EXPECT_TRUE(image.isValidQuad(1, 2, 1));
    EXPECT_FALSE(image.isValidQuad(2, 0, 1));
    EXPECT_FALSE(image.isValidQuad(0, 3, 1));
    EXPECT_FALSE(image.isValidQuad(-1, 0, 1));
    EXPECT_FALSE(image.isValidQuad(0, -1, 1));
    EXPECT_FALSE(image.isValidQuad(1, 1, 0));
    EXPECT_FALSE(image.isValidQuad(2, 2, -1));
    EXPECT_FALSE(image.isValidQuad(0, 0, 2147483647));
    EXPECT_FALSE(image.isValidQuad(0, 0, 3));
    EXPECT_EQ(image.numValidQuads(), 6);
    EXPECT_EQ(image.numTriangles(), 12);
    image(1, 1) = MInvalid;
    EXPECT_EQ(image.numValidQuads(), 2);
}

TEST(MRangeImage, NegativeSlopeFallsBackOnTheGlobalLimit)
{
    ScopedMaxZSlope global(0.5);
    MRangeImage image = quad(0, 0.4, 0, 0.4);
    image.setMaxZSlope(-2.0);
    EXPECT_TRUE(image.isValidQuad(0, 0, 1));
    MRangeImage::MaxZSlope = 0.4;
    EXPECT_FALSE(image.isValidQuad(0, 0, 1));
    image.setMaxZSlope(0.41);
    EXPECT_TRUE(image.isValidQuad(0, 0, 1));
}

TEST(MRangeImage, DistanceTakesTheImageXAsTheColumn)
{
    // Unlike worldPoint, which puts the row into x, the height lookup of the
    // distance addresses the column with x: (2.5, 1.25) reads quad (row 1, col 2).
    MRangeImage image = imageOf(3, 5, [](int row, int col) { return 10.0 * col + row; });
    image.setMaxZSlope(100.0);
    EXPECT_DOUBLE_EQ(image.distance(MVector3d(2.5, 1.25, 100.0)), 100.0 - (21.0 + 0.25 * 10.0 + 0.25 * 11.0));
}

TEST(MRangeImage, DistanceNeedsAPointStrictlyInsideTheFirstRowAndColumn)
{
    MRangeImage image(3, 3);
    image.init(1.0);
    EXPECT_EQ(image.distance(MVector3d(0.0, 1.5, 4.0)), MInvalid);
    EXPECT_EQ(image.distance(MVector3d(1.5, 0.0, 4.0)), MInvalid);
    EXPECT_DOUBLE_EQ(image.distance(MVector3d(1e-12, 1.5, 4.0)), 3.0);
    EXPECT_EQ(image.distance(MVector3d(2.0, 1.0, 4.0)), MInvalid); // column 2 has no quad
    EXPECT_EQ(image.distance(MVector3d(NaN, 1.0, 4.0)), MInvalid);
    EXPECT_EQ(image.distance(MVector3d::Invalid), MInvalid);
    EXPECT_EQ(image.distance(MVector3d(1e300, 1.0, 4.0)), MInvalid);
    EXPECT_EQ(MRangeImage().distance(MVector3d(0.5, 0.5, 0.0)), MInvalid);
    double d = 0.0;
    EXPECT_EQ(image.projection(MVector3d(-1, 1, 1), &d), MVector3d::Infinity);
    EXPECT_EQ(d, MInvalid);
}

TEST(MRangeImage, DistanceAndProjectionToAPlanarImageMatchBruteForce)
{
    std::mt19937 rng(21);
    for (int trial = 0; trial < 5; ++trial) {
        MRangeImage image = test::randomRangeImage(rng, 6, 9, false, 0.0);
        std::uniform_real_distribution<double> slope(-0.5, 0.5);
        const double a = slope(rng), b = slope(rng);
        for (int row = 0; row < image.height(); ++row)
            for (int col = 0; col < image.width(); ++col)
                image(row, col) = a * row + b * col + 7.0;
        image(3, 4) = MInvalid;
        image.setMaxZSlope(100.0);
        expectDistancesMatchBruteForce(image, rng);
    }
}

TEST(MRangeImage, DistanceAndProjectionToACurvedImageMatchBruteForce)
{
    std::mt19937 rng(22);
    MRangeImage image = imageOf(12, 15, [](int row, int col) { return 4.0 * std::sin(0.4 * row) * std::cos(0.3 * col); });
    image(5, 5) = MInvalid;
    image(8, 2) = 40.0; // a jump: its quads are no surface
    image.setPixelSize(0.7, 1.3);
    image.setPose(test::randomRigidPose(rng));
    expectDistancesMatchBruteForce(image, rng);

    // The form with a matrix uses the one given.
    const MVector3d p = toWorld(image, 4.3, 6.1, 9.0);
    ASSERT_NE(image.distance(p), MInvalid);
    const MMatrix4 lifted = MMatrix4::Translation(0.0, 0.0, 2.0) * image.worldToImageMatrix();
    EXPECT_NEAR(image.distance(p, lifted), image.distance(p) + 2.0, 1e-12);
    double d = 0.0;
    const MVector3d onLifted = image.projection(p, lifted, &d);
    EXPECT_NEAR(d, image.distance(p) + 2.0, 1e-12);
    EXPECT_TRUE(onLifted.isValid());
}

TEST(MRangeImage, NormalsOfTiltedPlanesAreTheAnalyticNormal)
{
    std::mt19937 rng(31);
    std::uniform_real_distribution<double> gradient(-1.0, 1.0), size(0.2, 2.0);
    for (int trial = 0; trial < 20; ++trial) {
        const double gx = gradient(rng), gy = gradient(rng);
        const double rows = size(rng), columns = size(rng);
        MRangeImage image(4, 5);
        image.setPixelSize(rows, columns);
        image.setMaxZSlope(10.0);
        image.setPose(test::randomRigidPose(rng));
        // Heights over the local frame, where the row lies along x scaled by
        // the column size and the column along y scaled by the row size.
        for (int row = 0; row < 4; ++row)
            for (int col = 0; col < 5; ++col)
                image(row, col) = gx * row * columns + gy * col * rows + 3.0;
        const Eigen::Vector3d local = Eigen::Vector3d(-gx, -gy, 1.0).normalized();
        const Eigen::Vector3d world = test::toEigen(image.pose()).block<3, 3>(0, 0) * local;
        for (int i = 0; i < image.size(); ++i) {
            const MVector3f n = image.localNormal(i);
            const MVector3f w = image.worldNormal(i);
            EXPECT_TRUE(n.equals(MVector3f(float(local.x()), float(local.y()), float(local.z())), 1e-6)) << i;
            EXPECT_TRUE(w.equals(MVector3f(float(world.x()), float(world.y()), float(world.z())), 1e-6)) << i;
        }
        std::vector<MVector3f> locals(image.size()), worlds(image.size());
        image.getLocalNormals(locals.data());
        image.getWorldNormals(worlds.data());
        EXPECT_EQ(locals[7], image.localNormal(1, 2));
        EXPECT_EQ(worlds[19], image.worldNormal(3, 4));
    }
}

TEST(MRangeImage, NormalsNeedAValidQuadAndAPixelInRange)
{
    MRangeImage image(3, 3);
    image(1, 1) = 2.0;
    EXPECT_FALSE(image.localNormal(1, 1).isValid());
    EXPECT_FALSE(image.worldNormal(4).isValid());
    image(1, 2) = image(2, 1) = image(2, 2) = 2.0;
    EXPECT_EQ(image.localNormal(1, 1), MVector3f(0, 0, 1));
    EXPECT_EQ(image.localNormal(2, 2), MVector3f(0, 0, 1));
    EXPECT_FALSE(image.localNormal(0, 0).isValid());

    EXPECT_EQ(image.localNormal(3, 0), MVector3f::Infinity);
    test::ScopedExceptions on;
    const char *text = "MRangeImage::computeNormals(): parameter out of range!";
    EXPECT_MEXCEPTION(image.localNormal(-1, 0), text);
    EXPECT_MEXCEPTION(image.localNormal(9), text);
    EXPECT_MEXCEPTION(image.worldNormal(0, 3), text);
    EXPECT_MEXCEPTION(image.worldNormal(-1), text);
}

TEST(MRangeImage, PointGettersFillOneElementPerPixel)
{
    std::mt19937 rng(41);
    const MRangeImage image = test::randomRangeImage(rng, 3, 4, false);
    const int n = image.size();
    std::vector<MVector3d> local(n), world(n);
    std::vector<double> x(n), y(n), z(n);
    image.getLocalPoints(local.data());
    image.getWorldPoints(world.data());
    image.getXValues(x.data());
    image.getYValues(y.data());
    image.getZValues(z.data());
    for (int i = 0; i < n; ++i) {
        EXPECT_EQ(world[i], image.worldPoint(i));
        EXPECT_EQ(z[i], image[i]);
        if (!image.isValid(i)) {
            EXPECT_FALSE(local[i].isValid());
            EXPECT_EQ(x[i], MInvalid);
            EXPECT_EQ(y[i], MInvalid);
            continue;
        }
        EXPECT_TRUE((image.pose() * local[i]).equals(world[i], 1e-12));
        EXPECT_EQ(local[i], MVector3d(x[i], y[i], z[i]));
    }
}

TEST(MRangeImage, TransposeLeavesColoursPixelSizesAndPoseAsTheyWere)
{
    std::mt19937 rng(51);
    MRangeImage image = test::randomRangeImage(rng, 2, 3, true);
    const MRangeImage before = image;
    image.transpose();
    EXPECT_EQ(image.height(), 3);
    EXPECT_EQ(image.width(), 2);
    for (int row = 0; row < 2; ++row)
        for (int col = 0; col < 3; ++col)
            EXPECT_TRUE(sameBits(image(col, row), before(row, col)));
    // Only the values move: the colour of index i stays at index i.
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(image.color(i), before.color(i));
    EXPECT_EQ(image.pose(), before.pose());
    EXPECT_EQ(image.pixelSizeRows(), before.pixelSizeRows());
    image.transpose();
    EXPECT_EQ(image, before);
}

TEST(MRangeImage, RoiNormalisesItsRectangleAndKeepsWorldPositions)
{
    std::mt19937 rng(61);
    const MRangeImage image = test::randomRangeImage(rng, 5, 6, true, 0.1);
    const MRangeImage part = image.roi(3, 1, -2, 3); // rows 1 and 2, columns 1 to 3
    ASSERT_EQ(part.height(), 2);
    ASSERT_EQ(part.width(), 3);
    ASSERT_TRUE(part.hasColors());
    for (int row = 0; row < 2; ++row) {
        for (int col = 0; col < 3; ++col) {
            EXPECT_TRUE(sameBits(part(row, col), image(row + 1, col + 1)));
            EXPECT_EQ(part.color(row, col), image.color(row + 1, col + 1));
            if (image.isValid(row + 1, col + 1)) {
                EXPECT_TRUE(part.worldPoint(row, col).equals(image.worldPoint(row + 1, col + 1), 1e-11));
            }
        }
    }
    EXPECT_EQ(part.pixelSizeRows(), image.pixelSizeRows());

    EXPECT_EQ(image.roi(-1, 0, 3, 2).height(), 2); // clamped at the start
    EXPECT_EQ(image.roi(4, 5, 10, 10).size(), 1); // clamped at the end
    EXPECT_EQ(image.roi(9, 0, 2, 2).size(), 0);
    EXPECT_EQ(image.roi(-2147483647 - 1, -2147483647 - 1, -2147483647 - 1, 2147483647).size(), 0);
}

TEST(MRangeImage, CompressMemoryShrinksToTheValidPixels)
{
    std::mt19937 rng(71);
    MRangeImage image = test::randomRangeImage(rng, 6, 7, true, 0.0);
    image.invalidate();
    image(2, 5) = 1.0;
    image(4, 3) = 2.0;
    const MVector3d a = image.worldPoint(2, 5), b = image.worldPoint(4, 3);
    image.compressMemory();
    ASSERT_EQ(image.height(), 3);
    ASSERT_EQ(image.width(), 3);
    EXPECT_EQ(image.numValidPoints(), 2);
    EXPECT_TRUE(image.worldPoint(0, 2).equals(a, 1e-11));
    EXPECT_TRUE(image.worldPoint(2, 0).equals(b, 1e-11));
    EXPECT_TRUE(image.hasColors());

    MRangeImage hollow(3, 3);
    hollow.compressMemory();
    EXPECT_EQ(hollow.size(), 9);
}

TEST(MRangeImage, FromSixteenBitSamples)
{
    const unsigned short samples[] = {0, 10, 65535, 3, 0, 1};
    MRangeImage image;
    image.from(samples, 2, 3, 0.5, 0.25, 0.1);
    EXPECT_EQ(image.height(), 2);
    EXPECT_EQ(image.width(), 3);
    EXPECT_FALSE(image.isValid(0));
    EXPECT_FALSE(image.isValid(1, 1));
    EXPECT_EQ(image[1], 10 * 0.1);
    EXPECT_EQ(image[2], 65535 * 0.1);
    EXPECT_EQ(image.pixelSizeColumns(), 0.5);
    EXPECT_EQ(image.pixelSizeRows(), 0.25);
    EXPECT_EQ(image.worldPoint(0, 1), MVector3d(0.0, 0.25, 1.0));

    image.from(nullptr, 1, 1, 1, 1, 1);
    EXPECT_EQ(image.size(), 6);
    test::ScopedExceptions on;
    EXPECT_MEXCEPTION(image.from(nullptr, 1, 1, 1, 1, 1), "MRangeImage::from: nullpointer argument");
}

TEST(MRangeImage, CopiesAreDeepAndTransfersMoveEverything)
{
    std::mt19937 rng(81);
    MRangeImage image = test::randomRangeImage(rng, 3, 4, true);
    image.setMaxZSlope(2.5);
    MRangeImage copy = image;
    EXPECT_EQ(copy, image);
    EXPECT_NE(copy.values(), image.values());
    copy[0] = 123.0;
    EXPECT_NE(copy, image);
    copy = copy;
    copy = image;
    EXPECT_EQ(copy, image);

    MRangeImage dest(9, 9);
    const double *pixels = image.values();
    image.transferDataTo(dest);
    EXPECT_EQ(dest, copy);
    EXPECT_EQ(dest.values(), pixels);
    EXPECT_EQ(image.size(), 0);
    EXPECT_EQ(image.width(), 0);
    EXPECT_EQ(image.height(), 0);
    EXPECT_FALSE(image.isValidQuad(0, 0, 1));

    const MRangeImage moved(std::move(dest));
    EXPECT_EQ(moved, copy);
}

TEST(MRangeImageArray, ElementsAreCopiedOneByOne)
{
    std::mt19937 rng(91);
    MRangeImageArray images;
    for (int i = 0; i < 5; ++i)
        images.add(test::randomRangeImage(rng, 2 + i, 3, i % 2 == 0));
    const MRangeImage third = images[2];
    MRangeImageArray copy = images;
    copy[2][0] = 42.0;
    EXPECT_EQ(images[2], third);
    EXPECT_NE(copy[2].values(), images[2].values());
    images.resize(8);
    images.reserveCapacity(50);
    EXPECT_EQ(images[2], third);
    EXPECT_EQ(images[7].size(), 0);
}
